// dryRun: what a tidy would do to sequences, and how they would look, without touching anything.
//
// It works on copies in a document of their own, says nothing to the log and delivers nothing.
// Owner: the caller. Thread rule: any thread, as long as nobody edits the tree of the sources;
// others may read it meanwhile. The stop may be requested from any thread.
#pragma once

#include "base/Failure.h"
#include "report/TimelinePicture.h"
#include "tidy/TidySequence.h"

#include <memory>
#include <span>
#include <stop_token>
#include <vector>

namespace reelsweep {

struct DryRunRequest {
    TidyRequest tidy;
    /// The copies are made to import, as a delivery would make them.
    bool importSafe = false;
    /// The document that they would be added to; null when they would stand alone.
    XMLNode document = {};
};

struct DryRun {
    SequenceLedger ledger;  ///< keeps the copy alive that it speaks of
    std::shared_ptr<const TimelinePicture> picture;
};

/// Tidies a copy of each sequence; one for each source, in their order. Fails with cancelled after
/// a stop, and with processing as tidySequence does.
Result<std::vector<DryRun>> dryRun(std::span<const XMLNode> sources, const DryRunRequest& request,
                                   const std::stop_token& stop = {});

}  // namespace reelsweep
