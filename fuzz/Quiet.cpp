#include "fuzz/Quiet.h"

#include "platform/Platform.h"
#include "support/QVLog.h"

#include <unistd.h>
#include <cstdlib>
#include <filesystem>
#include <system_error>

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

struct TemporaryFolder {
    std::string path = (parent() / "reelsweep-fuzz-XXXXXX").string();

    TemporaryFolder() { require(mkdtemp(path.data()) != nullptr); }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    // In memory where that is possible: saving waits for the disk, a hundred times a second.
    static std::filesystem::path parent() {
        const std::filesystem::path memory = "/dev/shm";
        return access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
};

const std::string& temporaryFolder() {
    static const TemporaryFolder folder;
    return folder.path;
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
