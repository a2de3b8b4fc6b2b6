#include "cli/InputFile.h"

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

    const Result<DocumentFormat> format = documentFormat(file.path());
    if (!format) return file.named(format.failure());
    file.kind_ = *format;
    return file;
}

}  // namespace reelsweep
