#include "fuzz/Quiet.h"

#include "platform/Platform.h"
#include "support/QVLog.h"

#include <cstdlib>
#include <filesystem>

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
    static const std::string folder = [] {
        std::string name =
            (std::filesystem::temp_directory_path() / "reelsweep-fuzz-XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr);
        return name;
    }();
    return folder;
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
