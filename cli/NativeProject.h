// Native projects on the command line: their sequences are asked of the running Final Cut Pro.
//
// Thread rule: main thread.
#pragma once

#include "base/Failure.h"
#include "shell/QVFCPDoc.h"

#include <string>

namespace reelsweep {

/// Opens a native project and lists its sequences. With `launch` Final Cut Pro may be started and
/// the project be opened in it. Fails with inputUnreadable, saying what would help.
Outcome openNativeProject(QVFCPDoc& document, const std::string& path, bool launch);

/// Why Final Cut Pro cannot be asked for anything; succeeds when it runs.
Outcome checkFinalCutProRuns();

}  // namespace reelsweep
