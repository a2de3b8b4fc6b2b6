#include "tidy/TidySequence.h"

#include "tidy/PassRun.h"
#include "timeline/QVXMLParser.h"

namespace reelsweep {

namespace {

bool isOn(const PassStep& step, const OptionList& passes) {
    return hasOption(passes, step.option) &&
           (step.onlyWith.empty() || hasOption(passes, step.onlyWith));
}

void expectElements(TimelineEdit& edit, const OptionList& passes) {
    for (const PassRow& row : passTable())
        if (!row.element.empty() && hasOption(passes, row.option))
            edit.expectElements({&row.element, 1});
}

}  // namespace

Result<SequenceLedger> tidySequence(XMLNode copy, XMLNode source, const TidyRequest& request,
                                    const TidyControls& controls) {
    SequenceLedger ledger;
    ledger.timecode = SequenceTimecode::of(copy);
    TimelineEdit edit(copy, ledger);
    expectElements(edit, request.passes);
    PassRun run{edit, request.ignoredEffects, controls.stop, controls.progress};
    for (const PassStep& step : passSteps()) {
        if (run.cancelled()) return PassRun::stopped();
        if (!isOn(step, request.passes)) continue;
        if (controls.observer) controls.observer->before(step, edit);
        edit.beginStep(step.option);
        if (Outcome done = step.run(run); !done) return done.failure();
        if (controls.observer) controls.observer->after(step, edit);
    }
    edit.finish(source);
    return ledger;
}

}  // namespace reelsweep
