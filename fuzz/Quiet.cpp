#include "fuzz/Quiet.h"

#include "platform/Platform.h"
#include "support/QVLog.h"
#include "tests/platform/TemporaryFolder.h"

#include <unistd.h>
#include <cstdlib>

namespace reelsweep {

namespace {

class AnsweredAlerts final : public AlertPresenter {
    class Alert final : public PresentedAlert {
        bool isVisible() const override { return false; }
        void orderOut() override {}
    };

public:
    bool hasAttachedSheet(WindowRef) const override { return false; }
    void makeKeyAndOrderFront(WindowRef) override {}
    std::unique_ptr<PresentedAlert> begin(const AlertRequest&, WindowRef,
                                          std::function<void(long)> didEnd) override {
        didEnd(alertDefaultReturn);
        return std::make_unique<Alert>();
    }
};

const std::string& temporaryFolder() {
    // In memory where that is possible: saving waits for the disk, a hundred times a second.
    static const test::EnvironmentVariable place(
        "TMPDIR", access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp");
    static const test::TemporaryFolder folder;
    return folder.path();
}

}  // namespace

void installQuietPlatform() {
    static const bool done = [] {
        setenv("HOME", temporaryFolder().c_str(), 1);
        const std::string preferences = temporaryFolder() + "/Library/Preferences";
        std::filesystem::create_directories(preferences);
        PropertyList::Dictionary global;
        global.emplace("disable-logging", "1");
        writePropertyList(preferences + "/com.quorvane.global.plist", PropertyList(global));
        Platform platform = Platform::commandLine();
        platform.alertPresenter = std::make_unique<AnsweredAlerts>();
        Platform::install(std::move(platform));
        QVLog::createNewLog("fuzz", true);
        return true;
    }();
    static_cast<void>(done);
}

std::string temporaryPath(const char* name) { return temporaryFolder() + "/" + name; }

}  // namespace reelsweep
