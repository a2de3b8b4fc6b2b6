// DocumentFormat: which kind of document a file holds.
//
// Thread rule: any thread.
#pragma once

#include "support/Failure.h"

#include <string>

namespace reelsweep {

enum class DocumentFormat {
    xmeml,
    fcpxml,
    nativeProject,  ///< a project file that only Final Cut Pro reads
};

/// Recognises a native project by its name or type, any other file by its root element. Fails with
/// inputUnreadable, or with inputInvalid when it is none of the three.
Result<DocumentFormat> documentFormat(const std::string& path);

}  // namespace reelsweep
