// Applications over the session bus: started, asked to open files, and looked up.
//
// Thread rule: any thread.
#pragma once

#include "platform/Workspace.h"

#include <optional>
#include <string>
#include <string_view>

namespace reelsweep {

/// Sends org.freedesktop.Application.Open to the application, which the bus starts when it does not
/// run; does not wait for it. False when the bus does not know the application, or there is no bus.
bool openFileOverSessionBus(const std::string& path, std::string_view identifier,
                            LaunchOption option);

/// The executable of the process that owns the name; nothing when nobody does.
std::optional<std::string> executableOnSessionBus(std::string_view identifier);

}  // namespace reelsweep
