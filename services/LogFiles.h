// LogFiles: where the log's files are, and starting a fresh one.
//
// Owner: QVLog, which is the only user. Thread rule: any thread; processes that start a log of the
// same name at the same moment take turns.
#pragma once

#include <string>
#include <string_view>

namespace reelsweep {

class LogFiles {
public:
    /// The files that are kept; number 1 is the current one.
    static constexpr long count = 5;

    /// The files of the program with this name, as the folders are now.
    explicit LogFiles(std::string_view appName);

    /// The folder that is created and whose files are rotated. Empty when the user has no home.
    const std::string& folder() const { return folder_; }
    /// The file that entries are written to.
    const std::string& current() const { return current_; }
    /// The path of the file with a number from 1 (newest) to count, in the folder.
    std::string numbered(long number) const;

    /// What starting a fresh file came to: an open write descriptor, or what went wrong.
    struct Start {
        int descriptor = -1;  ///< the caller closes it; -1 when there is none
        std::string problem;  ///< a line with its line end, to be printed
    };
    /// Makes the folder, moves the existing files up one number and creates an empty current file.
    Start startFresh() const;

    /// Opens the existing current file for adding to its end; -1 when that cannot be done.
    int openExisting() const;

private:
    std::string rotate() const;

    std::string appName_;
    std::string folder_;
    std::string current_;
};

}  // namespace reelsweep
