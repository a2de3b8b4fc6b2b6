#include "cli/InputFile.h"

#include <filesystem>
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
    const bool isStandardInput = argument == standardStreamPath;
    // What comes through a pipe can be read once, and a file is read more often.
    std::error_code none;
    if (isStandardInput || std::filesystem::is_fifo(argument, none)) {
        Result<SpoolFile> created = SpoolFile::create();
        if (!created) return created.failure();
        spool.emplace(std::move(*created));
        const Outcome read =
            isStandardInput ? spool->appendStandardInput() : spool->appendPipe(argument);
        if (!read) return read.failure();
        path = spool->path();
    }
    InputFile file(std::move(path), displayNameOf(argument), std::move(spool));

    const Result<DocumentFormat> format = documentFormat(file.path());
    if (!format) return file.named(format.failure());
    file.kind_ = *format;
    return file;
}

}  // namespace reelsweep
