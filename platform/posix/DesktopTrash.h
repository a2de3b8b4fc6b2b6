// moveToDesktopTrash: the Trash of freedesktop.org desktops, from which a file manager can restore.
#pragma once

#include "platform/Workspace.h"

#include <string>
#include <system_error>

namespace reelsweep {

/// Moves the item into the trash of the user with the home folder, or into that of the item's own
/// volume, with a note of where it was and when. A name that is taken there gets a number. Answers
/// the error, or none; the item is then where it was. Any thread.
std::error_code moveToDesktopTrash(const std::string& path, const std::string& homeFolder);

/// The same into the trash of that home only, under the name's choice of names, by the mover.
std::error_code moveToDesktopTrash(const std::string& path, const std::string& homeFolder,
                                   const Workspace::TrashName& name, const Workspace::Mover& move);

}  // namespace reelsweep
