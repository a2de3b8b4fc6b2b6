// SessionBusWorkspace: the other applications, as the session bus and the applications folders know
// them.
//
// An application runs while its bundle identifier is an owned name of the bus. Without a session
// bus nothing runs.
#pragma once

#include "platform/Workspace.h"

namespace reelsweep {

class SessionBusWorkspace : public Workspace {
public:
    std::vector<std::string> runningApplicationIdentifiers() const override;
    std::optional<std::string> applicationPath(std::string_view identifier) const override;
};

}  // namespace reelsweep
