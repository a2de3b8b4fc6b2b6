// PolkitPrivileges: the administrator's rights through polkit's pkexec.
//
// polkit decides for each run of a tool and asks the person in the desktop's own dialog (or on the
// terminal), so nothing is held between two runs.
#pragma once

#include "platform/Privileges.h"
#include "platform/ProcessLauncher.h"

namespace reelsweep {

class PolkitPrivileges final : public Privileges {
public:
    /// The launcher starts pkexec, the program at the path.
    explicit PolkitPrivileges(std::unique_ptr<ProcessLauncher> launcher,
                              std::string pkexec = "/usr/bin/pkexec")
        : launcher_(std::move(launcher)), pkexec_(std::move(pkexec)) {}

    Answer obtain() override;
    /// Always unavailable: polkit takes passwords from its own dialogs only.
    Answer obtain(std::string_view user, std::string_view password) override;
    void release() override {}
    Execution execute(const std::string& tool, const std::vector<std::string>& arguments) override;

private:
    const std::unique_ptr<ProcessLauncher> launcher_;
    const std::string pkexec_;
};

}  // namespace reelsweep
