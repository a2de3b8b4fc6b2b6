#include "tidy/TidySequence.h"

#include "tidy/PassRun.h"
#include "tidy/PictureGuard.h"
#include "timeline/MediaCatalogue.h"
#include "timeline/PictureDifference.h"

#include <optional>
#include <set>
#include <unordered_set>

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

XMLNode topOf(XMLNode node) {
    while (const XMLNode parent = node.parent()) node = parent;
    return node;
}

Asked askedOf(const OptionList& passes) {
    return {.filters = hasOption(passes, "removeFilters"),
            .videoTransitions = hasOption(passes, "removeVideoTransitions"),
            .audioTransitions = hasOption(passes, "removeAudioTransitions")};
}

Outcome runSteps(TimelineEdit& edit, const TidyRequest& request, const TidyControls& controls,
                 PictureGuard* guard) {
    PassRun run{edit, request.ignoredEffects, controls.stop, controls.progress, guard};
    for (const PassStep& step : passSteps()) {
        if (!isOn(step, request.passes)) continue;
        if (run.cancelled()) return PassRun::stopped();
        if (controls.observer) controls.observer->before(step, edit);
        edit.beginStep(step.option);
        if (Outcome done = step.run(run); !done) return done;
        if (controls.observer) controls.observer->after(step, edit);
    }
    return Done{};
}

// A clip that one step left alone and a later one did change, or took out, was not kept.
void dropOutdated(SequenceLedger& ledger) {
    std::set<std::pair<std::string_view, const void*>> changed;
    std::unordered_set<XMLNode> removed;
    for (const Change& change : ledger.changes) {
        changed.emplace(change.pass, change.node.identity());
        if (change.kind == ChangeKind::removed) removed.insert(change.node);
    }
    std::erase_if(ledger.kept, [&](const KeptItem& item) {
        return removed.contains(item.node) ||
               !changed.emplace(item.pass, item.node.identity()).second;
    });
}

// A copy is read before and after the steps, and compared. A careful run begins again from the
// start, with the edits kept back that changed the picture, until nothing has changed unasked.
Outcome runProved(TimelineEdit& edit, SequenceLedger& ledger, XMLNode document,
                  const TidyRequest& request, const TidyControls& controls) {
    const auto catalogue = MediaCatalogue::of(document);
    const auto read = [&] {
        return Timeline::of(edit.sequence(), catalogue, TimelineDetail::picture);
    };
    const Timeline before = read();
    std::optional<PictureGuard> guard;
    if (request.keepPicture) guard.emplace(before);
    const Asked asked = askedOf(request.passes);
    std::optional<TimelineEdit::Checkpoint> start;
    if (guard) start.emplace(edit);
    for (;;) {
        if (Outcome done = runSteps(edit, request, controls, guard ? &*guard : nullptr); !done)
            return done;
        auto difference = std::make_shared<PictureDifference>(before, read(), asked);
        const bool isGood = !guard || difference->isAsAsked();
        if (isGood || !guard->learnFrom(*difference, ledger)) {
            ledger.picture = std::move(difference);
            break;
        }
        edit.rollback(*start);
    }
    if (guard) {
        for (KeptItem& item : guard->kept()) ledger.kept.push_back(std::move(item));
        dropOutdated(ledger);
    }
    return Done{};
}

}  // namespace

Result<SequenceLedger> tidySequence(XMLNode copy, XMLNode source, const TidyRequest& request,
                                    const TidyControls& controls) {
    SequenceLedger ledger;
    ledger.timecode = SequenceTimecode::of(copy);
    TimelineEdit edit(copy, ledger);
    expectElements(edit, request.passes);
    const Outcome done =
        request.keepPicture || request.provesPicture
            ? runProved(edit, ledger, topOf(source ? source : copy), request, controls)
            : runSteps(edit, request, controls, nullptr);
    if (!done) return done.failure();
    edit.finish(source);
    return ledger;
}

}  // namespace reelsweep
