#include "shell/DryRun.h"

#include "base/Log.h"
#include "documents/TidiedCopy.h"
#include "tidy/SequenceTidy.h"
#include "timeline/MediaCatalogue.h"
#include "xml/XMLDocument.h"

#include <optional>
#include <utility>

namespace reelsweep {

namespace {

XMLNode topOf(XMLNode node) {
    while (const XMLNode parent = node.parent()) node = parent;
    return node;
}

// One sequence on its way.
class Trial {
public:
    Trial(XMLNode source, const TidyRequest& request)
        : document_(std::make_shared<XMLDocument>()),
          copy_(copyOf(source)),
          catalogue_(MediaCatalogue::of(topOf(source))),
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
    std::vector<std::unique_ptr<Trial>> trials;
    for (const XMLNode source : sources) {
        if (stop.stop_requested()) return cancelled;
        TidyRequest tidy = request.tidy;
        tidy.importSafe = request.importSafe;
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
