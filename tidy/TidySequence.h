// tidySequence: the clean-up of one sequence as a function. It knows no thread, window, alert or
// platform.
//
// Thread rule: the thread that owns the tree; the stop may be requested from any thread.
#pragma once

#include "base/Failure.h"
#include "tidy/PassTable.h"
#include "tidy/TidyRules.h"
#include "timeline/ChangeLedger.h"
#include "timeline/MediaCatalogue.h"
#include "timeline/TimelineEdit.h"
#include "xml/XMLNode.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace reelsweep {

/// What is to be done.
struct TidyRequest {
    OptionList passes = defaultPasses();
    /// Effects that count as transparent beside the built-in ones.
    std::vector<std::string> ignoredEffects = {};
    /// Edits that would change the picture or the sound unasked are kept back. Off, the passes are
    /// literal.
    bool keepPicture = false;
    /// The picture before and after is compared: the ledger's `picture`. Always with keepPicture.
    bool provesPicture = false;
    /// Clips that no pass may touch: ids, or patterns for names as a ClipVeto takes them.
    std::vector<std::string> keep = {};
    /// What else is left alone.
    TidyRules rules = {};
    /// The copy is to import, see tidy/ImportStep.h: a careful run then looks at what the places of
    /// its items are mended to.
    bool importSafe = false;
    /// Of the source's document, for when several of its sequences are tidied. Without one a
    /// sequence has its own.
    std::shared_ptr<MediaCatalogue> catalogue = {};
};

/// Looks on while a sequence is tidied, and changes nothing. Proofs and traces are observers.
class StepObserver {
public:
    virtual ~StepObserver() = default;
    virtual void before(const PassStep&, const TimelineEdit&) {}
    virtual void after(const PassStep&, const TimelineEdit&) {}
};

/// How a tidy is watched and stopped.
struct TidyControls {
    std::stop_token stop = {};
    /// Takes a text that says what is being done; the tidy goes on when it returns.
    std::function<void(const std::string&)> progress = {};
    StepObserver* observer = nullptr;  ///< owned by the caller; may be null
};

/// Applies the passes to a sequence in place and answers what was changed.
///
/// `source` is the sequence that `copy` is a copy of, or null. Clips that were loose there are not
/// reported as loose, and what the copy refers to is searched in the source's document. Fails with
/// cancelled after a stop, and with processing when a pass could not go on. The copy is then half
/// tidied and of no use.
Result<SequenceLedger> tidySequence(XMLNode copy, XMLNode source, const TidyRequest& request,
                                    const TidyControls& controls = {});

}  // namespace reelsweep
