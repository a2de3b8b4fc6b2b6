// HtmlReport: what a tidy did, as one page to hand over with the turnover.
//
// It says what needs attention first, then what is proved, and for each sequence: the timeline
// before and after, what became of each clip, what was kept and why, and the media that it uses.
// Nothing in the page refers to anything outside: no scripts, no fonts, no pictures. It follows the
// reader's choice of light or dark, and prints on white.
//
// Owner: the caller; the sink must outlive it. Thread rule: one thread; the documents that the
// ledgers belong to must be at rest during addDocument.
#pragma once

#include "report/ChangeReport.h"

#include <string>
#include <string_view>

namespace reelsweep {

class HtmlReport {
public:
    /// Begins the page.
    HtmlReport(ByteSink& sink, const ChangeReport::Program& program);

    /// Adds a document and what was changed in it. The ledger may be null for a document that never
    /// got as far as a run.
    void addDocument(const ReportedDocument& document, const ChangeLedger* ledger);

    /// Ends the page. False when the sink refused anything.
    bool finish();

private:
    void put(std::string_view text);

    ByteSink& sink_;
    ChangeReport::Program program_;
    bool ok_ = true;
};

/// Writes what addDocument does, for a page that is put together of parts. False when the sink
/// refused anything.
bool writeHtmlDocument(ByteSink& sink, const ReportedDocument& document,
                       const ChangeLedger* ledger);

}  // namespace reelsweep
