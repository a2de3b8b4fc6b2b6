// ReportFile: what `tidy --report` writes, in the form that the file's name asks for.
//
// Owner: the command. Thread rule: main thread.
#pragma once

#include "base/Failure.h"
#include "cli/StandardStreams.h"
#include "report/ChangeReport.h"
#include "report/HtmlReport.h"

#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace reelsweep {

enum class ReportForm { json, csv, html };

/// By the extension, in any letter case: csv, html or htm; every other name is JSON.
ReportForm reportFormOf(const std::string& path);

class ReportFile {
public:
    /// Begins a report. It is kept back until save(): an interrupted call must leave none behind.
    /// Fails with outputFailed when the temporary folder cannot be written.
    static Result<std::unique_ptr<ReportFile>> begin(const std::string& path,
                                                     const ChangeReport::Program& program);

    /// Adds a document and what was changed in it; the ledger may be null.
    void addDocument(const ReportedDocument& document, const ChangeLedger* ledger);
    /// Writes the file, or to standard output for "-". Fails with outputFailed or cancelled.
    Outcome save(bool mayReplace);

private:
    /// Comma-separated values have no end to write.
    struct Csv {};

    ReportFile(std::string path, SpoolFile spool)
        : path_(std::move(path)), spool_(std::move(spool)) {}

    std::string path_;
    SpoolFile spool_;
    std::variant<std::monostate, ChangeReport, HtmlReport, Csv> report_;
};

}  // namespace reelsweep
