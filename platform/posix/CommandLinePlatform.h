// CommandLinePlatform: all ports for a program without windows, and what a program with windows
// starts from.
//
// Owner: the caller, who installs it (see Platform.h). Thread rule: main thread.
#pragma once

#include "platform/Platform.h"

namespace reelsweep {

/// A queue as main thread (the calling thread), alerts on standard error, settings in the
/// Preferences folder below HOME, other applications over the session bus. The setting
/// "appleEventTimeout" (seconds), when there is one, is how long every event waits for its reply.
/// Throws std::system_error when the process has no file descriptor left.
Platform commandLinePlatform();

}  // namespace reelsweep
