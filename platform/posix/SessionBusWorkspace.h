// SessionBusWorkspace: the other applications, as the session bus knows them.
//
// An application runs while its bundle identifier is an owned name of the bus, and is started by
// the bus when something is sent to it (org.freedesktop.Application). Where applications are
// installed is looked up in the applications folders. Without a session bus nothing runs.
#pragma once

#include "platform/Workspace.h"

#include <memory>
#include <mutex>

namespace reelsweep {

class SessionBus;

class SessionBusWorkspace : public Workspace {
public:
    SessionBusWorkspace();
    ~SessionBusWorkspace() override;

    std::vector<std::string> runningApplicationIdentifiers() const override;
    std::optional<std::string> applicationPath(std::string_view identifier) const override;
    std::optional<std::string> runningExecutable(std::string_view identifier) const override;
    /// Asks over the bus where that knows the application.
    bool openFileWithIdentifier(const std::string& path, std::string_view identifier,
                                LaunchOption option = LaunchOption::async) override;

private:
    std::mutex mutex_;
    /// Stays open: the bus drops a message that waits for an application to start when its sender
    /// is gone.
    std::unique_ptr<SessionBus> launching_;
};

}  // namespace reelsweep
