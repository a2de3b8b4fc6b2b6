// QtWorkspace: files and web addresses opened with the applications that the desktop has for them.
//
// What it knows of other applications it asks another workspace.
#pragma once

#include "platform/Workspace.h"

#include <memory>

namespace reelsweep {

class QtWorkspace final : public Workspace {
public:
    /// Takes over the workspace that knows the applications.
    explicit QtWorkspace(std::unique_ptr<Workspace> applications);

    std::vector<std::string> runningApplicationIdentifiers() const override;
    std::optional<std::string> applicationPath(std::string_view identifier) const override;
    bool openURL(const std::string& address) override;
    using Workspace::openFile;
    bool openFile(const std::string& path) override;

private:
    const std::unique_ptr<Workspace> applications_;
};

}  // namespace reelsweep
