// Platform: the ports through which everything above touches the machine or a person.
//
// Which implementations there are is the program's choice: its main() makes a platform and installs
// it, after whatever the ports look at when they are made (HOME, an application object of the
// toolkit), and before anything uses one. commandLinePlatform() in platform/posix/ makes all of
// them for a program without windows. Nothing is installed by itself: to use a port before that is
// a mistake of the program, and ends it with a message.
// The log, alerts and preferences are process-wide, which is why this is too.
// Owner: the process; the platform is never destroyed, since the log still writes at the end.
// Thread rule: install while no other thread uses the platform (for the log: after
// QVLog::finishWriting); the ports have their own rules.
#pragma once

#include "platform/AlertPresenter.h"
#include "platform/AppleEventTransport.h"
#include "platform/Archiver.h"
#include "platform/Bundle.h"
#include "platform/Console.h"
#include "platform/HttpClient.h"
#include "platform/MainThread.h"
#include "platform/Privileges.h"
#include "platform/ProcessLauncher.h"
#include "platform/StandardFolders.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"

#include <memory>

namespace reelsweep {

struct Platform {
    std::unique_ptr<MainThread> mainThread;
    std::unique_ptr<AlertPresenter> alertPresenter;
    std::unique_ptr<UserDefaults> userDefaults;
    std::unique_ptr<Bundle> bundle;
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<StandardFolders> folders;
    std::unique_ptr<Console> console;
    std::unique_ptr<HttpClient> httpClient;
    std::unique_ptr<ProcessLauncher> processLauncher;
    std::unique_ptr<Privileges> privileges;
    std::unique_ptr<Archiver> archiver;
    std::unique_ptr<AppleEventTransport> appleEvents;

    /// The platform in use. Ends the process when none was installed.
    static Platform& current();
    /// Makes this the platform in use; the ports of the one before end here. Ends the process when
    /// a port is missing.
    static void install(Platform platform);
};

}  // namespace reelsweep
