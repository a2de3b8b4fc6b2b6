#include "engine/DocumentFormat.h"

#include "xml/XMLDocument.h"

namespace reelsweep {

Result<DocumentFormat> documentFormat(const std::string& path) {
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
