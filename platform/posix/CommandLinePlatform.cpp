#include "platform/posix/CommandLinePlatform.h"

#include "platform/posix/BuildBundle.h"
#include "platform/posix/ConsoleAlertPresenter.h"
#include "platform/posix/CurlHttpClient.h"
#include "platform/posix/HomeFolders.h"
#include "platform/posix/LibArchiver.h"
#include "platform/posix/PolkitPrivileges.h"
#include "platform/posix/PosixProcessLauncher.h"
#include "platform/posix/PropertyListDefaults.h"
#include "platform/posix/QueueMainThread.h"
#include "platform/posix/SessionBusTransport.h"
#include "platform/posix/SessionBusWorkspace.h"
#include "platform/posix/StandardConsole.h"

namespace reelsweep {

Platform commandLinePlatform() {
    Platform platform;
    platform.mainThread = std::make_unique<QueueMainThread>();
    platform.alertPresenter = std::make_unique<ConsoleAlertPresenter>();
    platform.bundle = std::make_unique<BuildBundle>();
    platform.workspace = std::make_unique<SessionBusWorkspace>();
    platform.folders = std::make_unique<HomeFolders>();
    platform.console = std::make_unique<StandardConsole>();
    platform.httpClient = std::make_unique<CurlHttpClient>();
    platform.processLauncher = std::make_unique<PosixProcessLauncher>();
    platform.archiver = std::make_unique<LibArchiver>();
    platform.privileges =
        std::make_unique<PolkitPrivileges>(std::make_unique<PosixProcessLauncher>());
    const auto library = platform.folders->path(StandardDirectory::library, FolderDomain::user);
    platform.userDefaults = std::make_unique<PropertyListDefaults>(
        platform.bundle->identifier().value_or(""), library ? *library + "/Preferences" : "");
    SessionBusTransport::Settings events;
    // Asked for when an event goes out: a program that sends none never looks at its settings.
    events.everyTimeout = [] {
        const auto seconds = Platform::current().userDefaults->integerForKey("appleEventTimeout");
        return seconds > 0 ? std::optional<std::chrono::milliseconds>(std::chrono::seconds(seconds))
                           : std::nullopt;
    };
    platform.appleEvents = std::make_unique<SessionBusTransport>(std::move(events));
    return platform;
}

}  // namespace reelsweep
