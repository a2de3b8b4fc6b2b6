// DocumentFormat: which kind of document a file holds.
//
// Thread rule: any thread.
#pragma once

#include "base/Failure.h"

#include <string>

namespace reelsweep {

enum class DocumentFormat {
    xmeml,
    fcpxml,
    nativeProject,  ///< a project file that only Final Cut Pro reads
};

/// "xmeml", "fcpxml", "fcp": the word of reports.
const char* description(DocumentFormat format);

/// True for the path of a native Final Cut Pro project: extension "fcp" in any case, or HFS type
/// FCPF.
bool isNativeProject(const std::string& path);

/// A bundle of FCPXML is a folder of that extension (fcpxmld); this file in it is the document.
inline constexpr const char* fcpxmlInBundle = "Info.fcpxml";
bool isFCPXMLBundle(const std::string& path);
/// The file to read for a document's path: of a bundle the one in it, else the path itself.
std::string documentFile(const std::string& path);

/// Recognises a native project by its name or type, any other file by its root element. Fails with
/// inputUnreadable, or with inputInvalid when it is none of the three.
Result<DocumentFormat> documentFormat(const std::string& path);

}  // namespace reelsweep
