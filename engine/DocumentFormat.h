// DocumentFormat: which kind of document a file holds.
//
// Thread rule: any thread.
#pragma once

#include "support/Failure.h"

#include <string>

namespace reelsweep {

enum class DocumentFormat { xmeml, fcpxml };

/// Recognises a file by its root element. Fails with inputUnreadable, or with inputInvalid when it
/// is neither of the two.
Result<DocumentFormat> documentFormat(const std::string& path);

}  // namespace reelsweep
