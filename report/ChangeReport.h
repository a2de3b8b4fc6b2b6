// ChangeReport: the ledgers of one or more documents as JSON, written as it goes.
//
// A report is one object; its members are listed in docs/report.schema.json. Every change stands on
// a line of its own, so that two reports can be compared by line. No second copy of the ledger is
// made, so that hundreds of thousands of changes need neither long nor much memory.
//
// Owner: the caller; the sink must outlive it. Thread rule: one thread; the documents that the
// ledgers belong to must be at rest during addDocument.
#pragma once

#include "base/AtomicFile.h"
#include "timeline/ChangeLedger.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// What a report says about a document beside its changes.
struct ReportedDocument {
    std::string input;   ///< file name as the user gave it
    std::string format;  ///< "xmeml", "fcpxml", "fcp"; empty when it was not recognised
    std::vector<std::string> passes;    ///< option names of the run, in run order
    std::string delivery;               ///< "project", "standalone", "host", "document", or empty
    std::optional<std::string> output;  ///< the file written, if any
    std::vector<std::string> errors;    ///< messages, in order
    std::vector<std::string> notes;     ///< what of the file was left alone
    /// How many frames of their media clips should have at each end; nothing when nobody asked.
    std::optional<Frames> handles;
};

class ChangeReport {
public:
    struct Program {
        std::string name;
        std::string version;
        bool dryRun = false;  ///< nothing was written
    };

    /// Begins the report.
    ChangeReport(ByteSink& sink, const Program& program);

    /// Adds a document and what was changed in it. The ledger may be null for a document that never
    /// got as far as a run.
    void addDocument(const ReportedDocument& document, const ChangeLedger* ledger);

    /// The same in parts: the text of a document that writeReportedDocument has made elsewhere
    /// comes next. The caller hands it to the sink.
    void beginDocument();

    /// Writes what is left. False when the sink refused anything.
    bool finish();

private:
    ByteSink& sink_;
    bool ok_ = true;
    bool firstDocument_ = true;
};

/// Writes what addDocument does for one document, for a report that is put together of parts. False
/// when the sink refused anything.
bool writeReportedDocument(ByteSink& sink, const ReportedDocument& document,
                           const ChangeLedger* ledger);

}  // namespace reelsweep
