// SequenceTidy: one sequence on its way through a tidy, step by step.
//
//   passes  ->  make it import, once the passes of all copies are done  ->  proof
//
// tidySequence (TidySequence.h) is all of it for a sequence that is delivered alone.
// Owner: the run. Thread rule: the thread that owns the tree.
#pragma once

#include "tidy/ClipVeto.h"
#include "tidy/ImportStep.h"
#include "tidy/PassRun.h"
#include "tidy/PictureGuard.h"
#include "tidy/TidySequence.h"
#include "timeline/PictureDifference.h"

#include <future>
#include <memory>
#include <optional>

namespace reelsweep {

class SequenceTidy {
public:
    /// Over a sequence that is edited in place; `source` as in tidySequence, or the same sequence
    /// when there is no copy. Then it cannot be made to import. The tree must not be edited between
    /// this and the passes: from here on it is read.
    SequenceTidy(XMLNode copy, XMLNode source, TidyRequest request);
    SequenceTidy(const SequenceTidy&) = delete;
    SequenceTidy& operator=(const SequenceTidy&) = delete;

    /// Applies the passes. Fails as tidySequence does.
    Outcome applyPasses(const TidyControls& controls);
    /// Mends what an importer would stumble over, unless the rules exclude all that the sequence
    /// holds. Fails with cancelled.
    Outcome makeImportSafe(ImportDelivery& delivery, std::stop_token stop);
    /// Compares the result with what it was, where that was asked for, and gives the ledger away.
    SequenceLedger finish();

private:
    Outcome applyCarefully(const TidyControls& controls);
    Outcome runSteps(const TidyControls& controls, PictureGuard* guard);
    bool excludesEverything() const { return veto_ && veto_->excludesEverything(); }
    bool looksAtPicture() const { return request_.keepPicture || request_.provesPicture; }
    std::future<Timeline> beginReading() const;
    void readSource();
    Timeline read() const;
    void compare();
    Timeline withoutChosenFilters() const;
    XMLNode document() const;
    /// Read when first asked for.
    const ImportSource& importSource();

    XMLNode source_;
    TidyRequest request_;
    SequenceLedger ledger_;
    XMLNode copy_;
    std::future<Timeline> reading_;  ///< of the sequence as it came
    TimelineEdit edit_;
    std::optional<ClipVeto> veto_;
    TransparentClips transparentClips_;  ///< as they came
    std::optional<ShownAndPlayed> before_;
    /// The same without the filters that are to go, when some are to stay.
    std::optional<Timeline> without_;
    std::optional<ImportSource> importSource_;
    std::optional<std::size_t> comparedChanges_;  ///< of the ledger, when the picture was compared
    std::optional<std::size_t> mendedChanges_;    ///< of the ledger, when places had been mended
};

}  // namespace reelsweep
