#include "documents/SequenceDocument.h"

#include "base/Log.h"

#include <algorithm>
#include <numeric>

namespace reelsweep {

namespace {

std::vector<std::size_t> rowsOf(const DocumentRequest& request, std::size_t count) {
    if (request.sequences) return *request.sequences;
    std::vector<std::size_t> all(count);
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

}  // namespace

Result<Tidied> SequenceDocument::tidy(const DocumentRequest& request,
                                      const TidyControls& controls) {
    Tidied tidied;
    tidied.delivery_ = request.delivery == Delivery::automatic ? ownDelivery() : request.delivery;
    DocumentRequest settled = request;
    settled.delivery = tidied.delivery_;
    std::vector<XMLNode> results;
    std::vector<std::unique_ptr<CopyInWork>> copies;
    const std::vector<std::size_t> rows = rowsOf(request, sequences_.size());
    if (!rows.empty() && *std::max_element(rows.begin(), rows.end()) >= sequences_.size())
        return Failure{FailureCode::usage, "has no such sequence", path_};
    for (const std::size_t row : rows) {
        if (controls.stop.stop_requested()) return Failure{FailureCode::cancelled, "cancelled"};
        const Result<SourceSequence> source = wholeSequence(row, controls);
        if (!source) {
            // Its short form goes into the bin: there the editor sees which sequence is missing.
            tidied.failures_.push_back(source.failure());
            results.push_back(sequences_[row].node);
            continue;
        }
        auto copy = CopyInWork::begin(*source, tidyRequest(request), controls);
        // The source would take the result's place in the bin and pass for tidied.
        if (!copy) return copy.failure();
        results.push_back((*copy)->sequence());
        copies.push_back(std::move(*copy));
    }
    if (request.importSafe) {
        const XMLDocument* const document =
            settled.delivery == Delivery::project ? tree() : nullptr;
        if (Outcome done = makeImportSafe(copies, document, controls.stop); !done)
            return done.failure();
    }
    std::vector<std::string> uuids;
    for (const auto& copy : copies) {
        TidiedCopy finished = copy->finish();
        if (finished.uuid) uuids.push_back(*finished.uuid);
        tidied.ledger_.sequences.push_back(std::move(finished.ledger));
    }
    if (Outcome verified = verify(); !verified) {
        Log::append("Unable to load XML data - %@", verified.failure().description());
        return verified.failure();
    }
    auto delivered = deliver(results, settled, controls);
    if (!delivered) return delivered.failure();
    if (settled.delivery != Delivery::none) showDelivered(uuids);
    tidied.document_ = std::move(*delivered);
    if (tidied.delivery_ == Delivery::project) {
        tidied.addition_ = onlyAddition();
        tidied.source_ = path_;
    }
    tidied.fileCodes_ = finalCutProXMLCodes;
    return tidied;
}

}  // namespace reelsweep
