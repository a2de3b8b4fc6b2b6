// Platform: the ports through which everything above touches the machine or a person.
//
// `main` makes one and installs it before anything else runs; a program that installs none gets
// commandLine() on first use, with the thread of that first use as its main thread. The log, alerts
// and preferences are process-wide, which is why this is too.
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

    /// The platform in use.
    static Platform& current();
    /// Replaces the platform in use, whose ports end here. Every port must be set.
    static void install(Platform platform);
    /// The platform of a program without windows: a queue as main thread (the calling thread),
    /// alerts on standard error, settings in the Preferences folder, other applications over the
    /// session bus. The setting "appleEventTimeout" (seconds), when there is one, is how long every
    /// event waits for its reply.
    static Platform commandLine();
};

}  // namespace reelsweep
