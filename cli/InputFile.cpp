#include "cli/InputFile.h"

#include "xml/XMLDocument.h"

#include <utility>

namespace reelsweep {

std::string InputFile::displayNameOf(const std::string& argument) {
    return argument == standardStreamPath ? "standard input" : argument;
}

Failure InputFile::named(Failure failure) const {
    if (failure.file.empty() || failure.file == path_) failure.file = displayName_;
    return failure;
}

Result<InputFile> InputFile::open(const std::string& argument) {
    std::optional<SpoolFile> spool;
    std::string path = argument;
    if (argument == standardStreamPath) {
        Result<SpoolFile> created = SpoolFile::create();
        if (!created) return created.failure();
        spool.emplace(std::move(*created));
        if (const Outcome read = spool->appendStandardInput(); !read) return read.failure();
        path = spool->path();
    }
    InputFile file(std::move(path), displayNameOf(argument), std::move(spool));

    const Result<std::string> root = rootElementName(file.path());
    if (!root) return file.named(root.failure());
    if (*root == "fcpxml")
        file.kind_ = Kind::fcpxml;
    else if (*root != "xmeml")
        return file.named({FailureCode::inputInvalid,
                           "is neither XMEML nor FCPXML: its root element is \"" + *root + "\"", "",
                           0, 0, ""});
    return file;
}

}  // namespace reelsweep
