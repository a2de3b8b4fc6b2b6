#include "documents/SequenceDocument.h"

#include "base/Log.h"
#include "timeline/MediaCatalogue.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>

namespace reelsweep {

namespace {

std::vector<std::size_t> rowsOf(const DocumentRequest& request, std::size_t count) {
    if (request.sequences) return *request.sequences;
    std::vector<std::size_t> all(count);
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

}  // namespace

// The copies of one run, in the order of its rows.
class SequenceDocument::Copies {
public:
    Copies(SequenceDocument& document, const DocumentRequest& request, const TidyControls& controls,
           Tidied& tidied)
        : document_(document),
          request_(request),
          controls_(controls),
          tidied_(tidied),
          rows_(rowsOf(request, document.sequences_.size())),
          results_(rows_.size()),
          works_(rows_.size()),
          finished_(rows_.size()) {}

    Outcome run() {
        if (std::any_of(rows_.begin(), rows_.end(),
                        [&](std::size_t row) { return row >= document_.sequences_.size(); }))
            return Failure{FailureCode::usage, "has no such sequence", document_.path_};
        if (document_.isUsedUp_)
            return Failure{FailureCode::usage, "was used up by an earlier run", document_.path_};
        if (const XMLDocument* const tree = document_.tree())
            catalogue_ = MediaCatalogue::of(tree->node());
        const std::size_t withoutCopy = placeWithoutCopy();
        for (std::size_t place = 0; place < rows_.size(); ++place)
            if (place != withoutCopy)
                if (Outcome done = work(place, CopyInWork::begin); !done) return done;
        // The others have been copied by now, and read what they refer to.
        if (withoutCopy < rows_.size())
            if (Outcome done = work(withoutCopy, CopyInWork::beginWithoutCopy); !done) return done;
        return request_.importSafe ? makeImportSafe() : Outcome(Done{});
    }

    /// Gives the ledgers to the run, and answers what goes into the bin.
    std::vector<XMLNode> finish() {
        for (std::size_t place = 0; place < rows_.size(); ++place) {
            finish(place);
            if (!finished_[place]) continue;
            if (finished_[place]->uuid) uuids_.push_back(*finished_[place]->uuid);
            tidied_.ledger_.sequences.push_back(std::move(finished_[place]->ledger));
        }
        // A sequence that has a parent would be copied into the bin.
        if (document_.isUsedUp_)
            for (XMLNode& result : results_) result.detach();
        return results_;
    }

    const std::vector<std::string>& uuids() const { return uuids_; }

private:
    using Begin = Result<std::unique_ptr<CopyInWork>>(const SourceSequence&, const TidyRequest&,
                                                      const TidyControls&);

    // What makes a copy import is looked up in the source, which must still be there.
    std::size_t placeWithoutCopy() {
        if (!request_.usesUpDocument || request_.delivery != Delivery::project ||
            request_.importSafe || rows_.empty())
            return rows_.size();
        tidied_.splice_ = document_.splice();
        document_.isUsedUp_ = tidied_.splice_ != nullptr;
        if (tidied_.splice_ && request_.onSplice) request_.onSplice(tidied_.splice_);
        return document_.isUsedUp_ ? document_.largest(rows_) : rows_.size();
    }

    Outcome work(std::size_t place, Begin* begin) {
        if (controls_.stop.stop_requested()) return Failure{FailureCode::cancelled, "cancelled"};
        const std::size_t row = rows_[place];
        const Result<SourceSequence> source = document_.wholeSequence(row, controls_);
        if (!source && source.failure().code == FailureCode::cancelled) return source.failure();
        if (!source) {
            // Its short form goes into the bin: there the editor sees which sequence is missing.
            tidied_.failures_.push_back(source.failure());
            results_[place] = document_.sequences_[row].node;
            return Done{};
        }
        TidyRequest request = tidyRequest(request_);
        if (!source->owner) request.catalogue = catalogue_;
        auto started = begin(*source, request, controls_);
        // The source would take the result's place in the bin and pass for tidied.
        if (!started) return started.failure();
        results_[place] = (*started)->sequence();
        works_[place] = std::move(*started);
        if (!request_.importSafe) finish(place);
        return Done{};
    }

    // Together: what one copy defines the next one refers to.
    Outcome makeImportSafe() {
        std::vector<std::unique_ptr<CopyInWork>> works;
        for (auto& each : works_)
            if (each) works.push_back(std::exchange(each, nullptr));
        const XMLDocument* const document =
            request_.delivery == Delivery::project ? document_.tree() : nullptr;
        const Outcome done = reelsweep::makeImportSafe(works, document, controls_.stop);
        auto next = works.begin();
        for (std::size_t place = 0; place < rows_.size(); ++place)
            if (next != works.end() && (*next)->sequence() == results_[place])
                works_[place] = std::move(*next++);
        return done;
    }

    void finish(std::size_t place) {
        if (!works_[place]) return;
        finished_[place] = works_[place]->finish();
        works_[place].reset();
    }

    SequenceDocument& document_;
    const DocumentRequest& request_;
    const TidyControls& controls_;
    Tidied& tidied_;
    const std::vector<std::size_t> rows_;
    // For each row
    std::vector<XMLNode> results_;
    std::vector<std::unique_ptr<CopyInWork>> works_;  // null when it failed or is finished
    std::vector<std::optional<TidiedCopy>> finished_;
    std::shared_ptr<MediaCatalogue> catalogue_;
    std::vector<std::string> uuids_;
};

Result<Tidied> SequenceDocument::tidy(const DocumentRequest& request,
                                      const TidyControls& controls) {
    Tidied tidied;
    tidied.delivery_ = request.delivery == Delivery::automatic ? ownDelivery() : request.delivery;
    DocumentRequest settled = request;
    settled.delivery = tidied.delivery_;
    Copies copies(*this, settled, controls, tidied);
    if (Outcome done = copies.run(); !done) return done.failure();
    const std::vector<XMLNode> results = copies.finish();
    if (Outcome verified = verify(); !verified) {
        Log::append("Unable to load XML data - %@", verified.failure().description());
        return verified.failure();
    }
    auto delivered = deliver(results, settled, controls);
    if (!delivered) return delivered.failure();
    if (settled.delivery != Delivery::none) showDelivered(copies.uuids(), controls.stop);
    tidied.document_ = std::move(*delivered);
    if (tidied.delivery_ == Delivery::project) {
        tidied.addition_ = onlyAddition();
        tidied.source_ = path_;
    }
    tidied.fileCodes_ = finalCutProXMLCodes;
    return tidied;
}

}  // namespace reelsweep
