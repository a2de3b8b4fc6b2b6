// Native projects on the command line: their sequences are asked of the running Final Cut Pro.
//
// Thread rule: main thread.
#pragma once

#include "base/Failure.h"

#include <string>

namespace reelsweep {

/// Why the sequences of a native project cannot be asked for; succeeds when they can. With `launch`
/// Final Cut Pro may be started and the project be opened in it. Fails with inputUnreadable, saying
/// what would help.
Outcome checkProjectIsOpen(const std::string& path, bool launch);

/// Why Final Cut Pro cannot be asked for anything; succeeds when it runs.
Outcome checkFinalCutProRuns();

}  // namespace reelsweep
