#include "engine/DocumentFormat.h"

#include "engine/QVFCPDoc.h"
#include "xml/XMLDocument.h"

#include <filesystem>

namespace reelsweep {

Result<DocumentFormat> documentFormat(const std::string& path) {
    std::error_code error;
    if (QVFCPDoc::isNativeProject(path) && std::filesystem::exists(path, error))
        return DocumentFormat::nativeProject;
    const Result<std::string> root = rootElementName(path);
    if (!root) return root.failure();
    if (*root == "fcpxml") return DocumentFormat::fcpxml;
    if (*root == "xmeml") return DocumentFormat::xmeml;
    return Failure{FailureCode::inputInvalid,
                   "is neither XMEML nor FCPXML: its root element is \"" + *root + "\"",
                   path,
                   0,
                   0,
                   ""};
}

}  // namespace reelsweep
