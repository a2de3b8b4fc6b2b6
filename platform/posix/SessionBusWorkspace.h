// SessionBusWorkspace: the other applications, as the session bus and the applications folders know
// them.
//
// An application runs while its bundle identifier is an owned name of the bus. Without a session
// bus nothing runs. A file is opened over the bus where that knows the application, and else by
// starting the application's program with it. There is no desktop: nothing is known to open a file
// or a web address with.
#pragma once

#include "platform/Workspace.h"

namespace reelsweep {

class SessionBusWorkspace : public Workspace {
public:
    std::vector<std::string> runningApplicationIdentifiers() const override;
    std::optional<std::string> applicationPath(std::string_view identifier) const override;
    std::optional<std::string> runningExecutable(std::string_view identifier) const override;

    bool openURL(const std::string&) override { return false; }
    bool openFile(const std::string&) override { return false; }
    bool openFile(const std::string& path, const std::string& application) override;
    bool openFileWithIdentifier(const std::string& path, std::string_view identifier,
                                LaunchOption option) override;
    bool openApplication(const std::string& application) override;

    /// Also true for a folder with Contents/Info.plist, whatever its name.
    bool isFilePackage(const std::string& path) const override;
    /// The Trash of freedesktop.org (see DesktopTrash.h).
    std::error_code recycle(const std::string& path) override;
    std::error_code recycleBy(const std::string& path, const TrashName& name,
                              const Mover& move) override;
};

}  // namespace reelsweep
