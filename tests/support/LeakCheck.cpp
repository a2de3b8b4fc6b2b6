#include "tests/platform/LeakCheck.h"

#include "services/QVLog.h"

namespace reelsweep::test {
namespace {

/// The log keeps its file open and its thread running until the process ends.
class LeakCheckWithLog : public LeakCheck {
    void finish() override {
        QVLog::sharedController().setLoggingDisabled(true);
        QVLog::willTerminate();
    }
};

[[maybe_unused]] const auto* const registered =
    testing::AddGlobalTestEnvironment(new LeakCheckWithLog);

}  // namespace
}  // namespace reelsweep::test
