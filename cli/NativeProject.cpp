#include "cli/NativeProject.h"

#include "hosts/QVAppleEvents.h"
#include "platform/Platform.h"

namespace reelsweep {

namespace {

Failure unreachable(const char* reason) { return {FailureCode::inputUnreadable, reason}; }

}  // namespace

Outcome checkFinalCutProRuns() {
    if (!Platform::current().appleEvents->isAvailable())
        return unreachable("there is no session bus over which Final Cut Pro could be asked");
    if (!QVAppleEvents::isFCPRunning()) return unreachable("Final Cut Pro is not running");
    return Done{};
}

Outcome checkProjectIsOpen(const std::string& path, bool launch) {
    const Outcome runs = checkFinalCutProRuns();
    if (!runs && !launch) {
        Failure failure = runs.failure();
        failure.message +=
            "; the sequences of a native project are asked of it, and --launch may "
            "start it";
        return failure;
    }
    if (!launch) {
        const auto open = QVAppleEvents::openFCPProjects();
        if (!open) return open.failure();
        if (!QVAppleEvents::isAmong(*open, path))
            return unreachable("is not open in Final Cut Pro; --launch may open it there");
    }
    return Done{};
}

}  // namespace reelsweep
