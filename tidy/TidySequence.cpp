#include "tidy/TidySequence.h"

#include "tidy/SequenceTidy.h"

namespace reelsweep {

Result<SequenceLedger> tidySequence(XMLNode copy, XMLNode source, const TidyRequest& request,
                                    const TidyControls& controls) {
    SequenceTidy tidy(copy, source, request);
    if (Outcome done = tidy.applyPasses(controls); !done) return done.failure();
    return tidy.finish();
}

}  // namespace reelsweep
