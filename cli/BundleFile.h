// Saving FCPXML as a bundle: a folder with the document and what belongs to it.
//
// Thread rule: any thread.
#pragma once

#include "base/Failure.h"
#include "cli/SaveResult.h"
#include "documents/Document.h"

#include <string>

namespace reelsweep {

/// Writes what a tidy has made as a bundle at the path. It appears whole or not at all. When
/// `source`, the path of what was tidied, is a bundle, whatever else that holds is copied. Fails
/// with outputFailed, or with cancelled when the user interrupted before it was in place.
Outcome saveBundle(const SavePlace& place, const std::string& source, const Tidied& tidied);

}  // namespace reelsweep
