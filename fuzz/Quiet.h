// The surroundings of a fuzz target: no log, no alerts, no home folder.
//
// Thread rule: main thread.
#pragma once

#include "shell/SilentView.h"

#include <string>

namespace reelsweep {

/// Installs a platform that says nothing and keeps its files in a temporary folder, which goes when
/// the process ends. Only the first call does something.
void installQuietPlatform();

/// A file in that folder.
std::string temporaryPath(const char* name);

/// Ends the process as a finding when a promise does not hold.
inline void require(bool holds) {
    if (!holds) __builtin_trap();
}

}  // namespace reelsweep
