// QtWorkspace: the other applications, and files and web addresses opened with those that the
// desktop has for them.
#pragma once

#include "platform/posix/SessionBusWorkspace.h"

namespace reelsweep {

class QtWorkspace final : public SessionBusWorkspace {
public:
    /// Only addresses of the web.
    bool openURL(const std::string& address) override;
    using SessionBusWorkspace::openFile;
    bool openFile(const std::string& path) override;
};

}  // namespace reelsweep
