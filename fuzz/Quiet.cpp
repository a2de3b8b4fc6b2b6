#include "fuzz/Quiet.h"

#include "platform/posix/CommandLinePlatform.h"
#include "platform/posix/ConsoleAlertPresenter.h"
#include "services/QVLog.h"
#include "tests/platform/TemporaryFolder.h"

#include <unistd.h>
#include <cstdlib>

namespace reelsweep {

namespace {

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
        Platform platform = commandLinePlatform();
        platform.alertPresenter =
            std::make_unique<ConsoleAlertPresenter>([](std::string_view, AlertStyle) {});
        Platform::install(std::move(platform));
        QVLog::createNewLog("fuzz", true);
        return true;
    }();
    static_cast<void>(done);
}

std::string temporaryPath(const char* name) { return temporaryFolder() + "/" + name; }

}  // namespace reelsweep
