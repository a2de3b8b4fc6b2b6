// Saving FCPXML as a bundle: a folder with the document and what belongs to it.
//
// Thread rule: any thread.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"

#include <functional>
#include <string>

namespace reelsweep {

/// Writes a bundle at the path; `write` puts the document at the path that it is given. The bundle
/// appears whole or not at all. When `source`, the path of what was tidied, is a bundle, whatever
/// else that holds is copied. Fails with outputFailed, or as `write` does.
Outcome saveBundle(const std::string& path, Overwrite overwrite, const std::string& source,
                   const std::function<Outcome(const std::string& file)>& write);

}  // namespace reelsweep
