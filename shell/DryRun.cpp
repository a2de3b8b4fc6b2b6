#include "shell/DryRun.h"

#include "base/Log.h"
#include "documents/TidiedCopy.h"
#include "tidy/SequenceTidy.h"
#include "timeline/MediaCatalogue.h"
#include "xml/XMLDocument.h"

#include <unordered_map>
#include <utility>

namespace reelsweep {

namespace {

// The catalogues of the documents that sequences come from: mostly one for all.
class Catalogues {
public:
    const std::shared_ptr<MediaCatalogue>& of(XMLNode sequence) {
        const XMLNode document = sequence.top();
        std::shared_ptr<MediaCatalogue>& catalogue = made_[document];
        if (!catalogue) catalogue = MediaCatalogue::of(document);
        return catalogue;
    }

private:
    std::unordered_map<XMLNode, std::shared_ptr<MediaCatalogue>> made_;
};

// One sequence on its way.
class Trial {
public:
    /// The request has the catalogue of the source's document.
    Trial(XMLNode source, const TidyRequest& request)
        : document_(std::make_shared<XMLDocument>()),
          copy_(copyOf(source)),
          catalogue_(request.catalogue),
          before_(Timeline::of(copy_, catalogue_, TimelineDetail::picture)),
          tidy_(copy_, source, request) {}

    SequenceTidy& tidy() { return tidy_; }

    DryRun finish() {
        SequenceLedger ledger = tidy_.finish();
        const Timeline after = Timeline::of(copy_, catalogue_, TimelineDetail::picture);
        auto picture = std::make_shared<const TimelinePicture>(before_, after, ledger);
        ledger.document = std::move(document_);
        return {std::move(ledger), std::move(picture)};
    }

private:
    XMLNode copyOf(XMLNode source) const {
        XMLNode copy = document_->node().appendCopy(source);
        copy.detach();
        // Under the name that a run would give it.
        renameCopy(copy);
        return copy;
    }

    std::shared_ptr<XMLDocument> document_;
    XMLNode copy_;
    std::shared_ptr<MediaCatalogue> catalogue_;
    Timeline before_;
    SequenceTidy tidy_;
};

}  // namespace

Result<std::vector<DryRun>> dryRun(std::span<const XMLNode> sources, const DryRunRequest& request,
                                   const std::stop_token& stop) {
    const Failure cancelled{FailureCode::cancelled, "cancelled"};
    const Log::Quiet quiet;
    Catalogues catalogues;
    std::vector<std::unique_ptr<Trial>> trials;
    for (const XMLNode source : sources) {
        if (stop.stop_requested()) return cancelled;
        TidyRequest tidy = request.tidy;
        tidy.importSafe = request.importSafe;
        tidy.catalogue = catalogues.of(source);
        trials.push_back(std::make_unique<Trial>(source, std::move(tidy)));
        if (Outcome done = trials.back()->tidy().applyPasses({.stop = stop}); !done)
            return done.failure();
    }
    if (request.importSafe) {
        ImportDelivery delivery = request.document ? ImportDelivery::afterSource(request.document)
                                                   : ImportDelivery::alone();
        for (const auto& trial : trials)
            if (Outcome done = trial->tidy().makeImportSafe(delivery, stop); !done)
                return done.failure();
    }
    std::vector<DryRun> runs;
    for (const auto& trial : trials) {
        if (stop.stop_requested()) return cancelled;
        runs.push_back(trial->finish());
    }
    return runs;
}

}  // namespace reelsweep
