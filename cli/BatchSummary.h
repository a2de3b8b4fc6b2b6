// What became of one file of many, and the sum over all of them.
//
// Thread rule: plain values.
#pragma once

#include "cli/ExitCode.h"
#include "cli/ReportFile.h"
#include "timeline/ChangeLedger.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace reelsweep {

class TidyFile;

struct FileResult {
    ExitCode code = ExitCode::done;
    bool isPassedOver = false;
    std::string said = {};    ///< to the user, on standard error
    std::string errors = {};  ///< of that the errors alone, a line each
    std::map<std::string, SequenceLedger::Totals> totals = {};  ///< for each pass that changed any
    std::int64_t frames = 0;                                    ///< that were looked at
    std::int64_t same = 0;                                      ///< that show the same picture
    std::int64_t asked = 0;  ///< that show another, as it was asked for
    ReportPart report = {};  ///< nothing where no report was asked for, or the process has ended

    /// Of a file that is done with.
    static FileResult of(const TidyFile& file, ExitCode code);
    /// For the way from one process to another.
    std::string text() const;
    static FileResult fromText(const std::string& text);
};

class BatchSummary {
public:
    void add(const FileResult& result);
    /// Of the first file that failed.
    ExitCode code() const { return code_; }
    std::size_t failed() const { return failed_; }
    bool allPassedOver() const { return passedOver_ > 0 && tidied_ + failed_ == 0; }
    /// A row for every pass that changed something, and a line of what became of the files.
    std::string text() const;

private:
    FileResult sum_;
    ExitCode code_ = ExitCode::done;
    std::size_t tidied_ = 0;
    std::size_t failed_ = 0;
    std::size_t passedOver_ = 0;
};

}  // namespace reelsweep
