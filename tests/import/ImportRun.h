// ImportRun: copies of a document's sequences, tidied, made safe to import and delivered.
#pragma once

#include "tests/timeline/Timeline.h"
#include "tidy/ImportStep.h"
#include "tidy/PassTable.h"
#include "timeline/ImportFaults.h"
#include "xml/XMLDocument.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep::test {

class ImportRun {
public:
    /// Copies each sequence and lets the passes work on the copies.
    ImportRun(const XMLDocument& document, const std::vector<XMLNode>& sources,
              const OptionList& passes);

    /// The step on every copy, for copies that go into the document or stand alone.
    void makeSafe(bool intoDocument);
    /// Finishes the ledgers and delivers the copies: the whole document with their bin, which needs
    /// a project, or one that stands alone.
    XMLDocument deliver(bool intoDocument);

    XMLNode copy(std::size_t i = 0) const { return copies_[i]->edit->sequence(); }
    TimelineEdit& edit(std::size_t i = 0) { return *copies_[i]->edit; }
    const SequenceLedger& ledger(std::size_t i = 0) const { return copies_[i]->ledger; }

private:
    struct Copy {
        XMLNode source;
        SequenceLedger ledger;
        std::unique_ptr<TimelineEdit> edit;
    };
    const XMLDocument& document_;
    std::vector<std::unique_ptr<Copy>> copies_;
};

/// How many faults of each kind there are, as "2 overlap, 1 ticks".
std::string faultCounts(const std::vector<ImportFault>& faults);
/// Those of a copy, or of what it was delivered in, that its source does not have for the same
/// item: kind, item and text, a line each.
std::string newFaults(const std::vector<ImportFault>& before,
                      const std::vector<ImportFault>& after);
/// Every sequence of a document with a name, nested ones too.
std::vector<XMLNode> namedSequences(const XMLDocument& document);

}  // namespace reelsweep::test
