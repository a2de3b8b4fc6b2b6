#include "documents/DocumentFormat.h"

#include "base/FinderInfo.h"
#include "xml/XMLDocument.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace reelsweep {

namespace {

constexpr std::uint32_t finalCutProProjectType = 0x46435046;  // FCPF

bool hasExtension(const std::string& path, const char* wanted) {
    const std::size_t dot = path.rfind('.');
    const std::size_t slash = path.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return false;
    std::string extension = path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == wanted;
}

}  // namespace

const char* description(DocumentFormat format) {
    switch (format) {
        case DocumentFormat::fcpxml: return "fcpxml";
        case DocumentFormat::nativeProject: return "fcp";
        case DocumentFormat::xmeml: break;
    }
    return "xmeml";
}

bool isNativeProject(const std::string& path) {
    if (hasExtension(path, "fcp")) return true;
    const auto codes = readHFSCodes(path);
    return codes && codes->type == finalCutProProjectType;
}

bool isFCPXMLBundle(const std::string& path) {
    const std::size_t end = path.find_last_not_of('/');
    return end != std::string::npos && hasExtension(path.substr(0, end + 1), "fcpxmld");
}

std::string documentFile(const std::string& path) {
    std::error_code error;
    if (!isFCPXMLBundle(path) || !std::filesystem::is_directory(path, error)) return path;
    return (std::filesystem::path(path) / fcpxmlInBundle).string();
}

Result<DocumentFormat> documentFormat(const std::string& path) {
    std::error_code error;
    if (isNativeProject(path) && std::filesystem::exists(path, error))
        return DocumentFormat::nativeProject;
    const Result<std::string> root = rootElementName(documentFile(path));
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
