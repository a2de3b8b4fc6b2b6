// InputFile: a file named on the command line, or standard input.
//
// Owner: the command. Thread rule: main thread.
#pragma once

#include "base/Failure.h"
#include "cli/StandardStreams.h"
#include "documents/DocumentFormat.h"

#include <optional>
#include <string>

namespace reelsweep {

class InputFile {
public:
    using Kind = DocumentFormat;

    /// Recognises what the file is. "-" is standard input, read to its end here. Fails
    /// with inputUnreadable, or inputInvalid when it is of no known kind.
    static Result<InputFile> open(const std::string& argument);

    Kind kind() const { return kind_; }
    /// For opening; a spooled standard input has one too.
    const std::string& path() const { return path_; }
    /// For messages and reports.
    const std::string& displayName() const { return displayName_; }
    /// The failure with the file named as the user knows it.
    Failure named(Failure failure) const;

    static std::string displayNameOf(const std::string& argument);

private:
    InputFile(std::string path, std::string displayName, std::optional<SpoolFile> spool)
        : path_(std::move(path)), displayName_(std::move(displayName)), spool_(std::move(spool)) {}

    std::string path_;
    std::string displayName_;
    std::optional<SpoolFile> spool_;
    Kind kind_ = Kind::xmeml;
};

}  // namespace reelsweep
