// ReportFile: what `tidy --report` writes, in the form that the file's name asks for.
//
// Where several processes tidy files, each writes the part of its file into a spool that it shares
// with the process that puts the report together.
// Owner: the command. Thread rule: main thread.
#pragma once

#include "base/Failure.h"
#include "cli/StandardStreams.h"
#include "report/ChangeReport.h"
#include "report/HtmlReport.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace reelsweep {

enum class ReportForm { json, csv, html };

/// By the extension, in any letter case: csv, html or htm; every other name is JSON.
ReportForm reportFormOf(const std::string& path);

/// What a report says about one file, somewhere in a spool.
struct ReportPart {
    std::shared_ptr<const SpoolFile> spool = nullptr;
    std::uint64_t start = 0;  ///< bytes
    std::uint64_t size = 0;
    int error = 0;  ///< of a write that failed; the part is not whole then
};

/// Writes the part of a document; the ledger may be null. False when the sink refused anything.
bool writeReportPart(ReportForm form, const ReportedDocument& document, const ChangeLedger* ledger,
                     ByteSink& sink);

class ReportFile {
public:
    /// Begins a report. It is kept back until save(): an interrupted call must leave none behind.
    /// Fails with outputFailed when the temporary folder cannot be written.
    static Result<std::unique_ptr<ReportFile>> begin(const std::string& path,
                                                     const ChangeReport::Program& program);

    /// Adds a document and what was changed in it; the ledger may be null.
    void addDocument(const ReportedDocument& document, const ChangeLedger* ledger);
    /// Adds a document that was written elsewhere. It stays in its spool until save().
    void addPart(ReportPart part);
    /// Writes the file, or to standard output for "-". Fails with outputFailed or cancelled.
    Outcome save(bool mayReplace);

private:
    /// Comma-separated values have no end to write.
    struct Csv {};

    ReportFile(std::string path, SpoolFile spool)
        : path_(std::move(path)), spool_(std::make_shared<SpoolFile>(std::move(spool))) {}
    void beginDocument();
    void takeOwnPart();
    static Outcome copy(const ReportPart& part, ByteSink& sink);

    std::string path_;
    std::shared_ptr<SpoolFile> spool_;  ///< of what is written here
    std::uint64_t taken_ = 0;           ///< bytes of it that stand in the parts
    std::vector<ReportPart> parts_;     ///< in the order of the report
    std::variant<std::monostate, ChangeReport, HtmlReport, Csv> report_;
};

}  // namespace reelsweep
