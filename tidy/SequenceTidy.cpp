#include "tidy/SequenceTidy.h"

#include "tidy/PassRun.h"
#include "tidy/passes/Passes.h"
#include "timeline/Vocabulary.h"

#include <set>
#include <unordered_set>
#include <utility>

namespace reelsweep {

namespace {

bool isOn(const PassStep& step, const OptionList& passes) {
    return hasOption(passes, step.option) &&
           (step.onlyWith.empty() || hasOption(passes, step.onlyWith));
}

Asked askedOf(const OptionList& passes) {
    return {.filters = hasOption(passes, "removeFilters"),
            .videoTransitions = hasOption(passes, "removeVideoTransitions"),
            .audioTransitions = hasOption(passes, "removeAudioTransitions")};
}

bool hasManyItems(XMLNode sequence) {
    constexpr std::size_t few = 2000;
    std::size_t count = 0;
    for (const XMLNode& track : allTracks(sequence))
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            if (++count > few) return true;
    return false;
}

// A clip that one step left alone and a later one did change, or took out, was not kept.
void dropOutdated(SequenceLedger& ledger) {
    if (ledger.kept.empty()) return;
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

// What the rules exclude was kept, also when no pass had anything to do there.
void noteExcluded(SequenceLedger& ledger, const ClipVeto& veto, const TimelineEdit& edit) {
    std::unordered_set<XMLNode> noted;
    for (const KeptItem& item : ledger.kept) noted.insert(item.node);
    for (const XMLNode& clip : veto.excluded())
        if (!noted.contains(clip))
            ledger.kept.push_back(
                {rulesName, clip, edit.label(clip), ItemTimes::of(clip), veto.reason(clip), true});
}

}  // namespace

SequenceTidy::SequenceTidy(XMLNode copy, XMLNode source, TidyRequest request)
    : source_(source),
      request_(std::move(request)),
      copy_(copy),
      reading_(beginReading()),
      edit_(copy, ledger_) {
    ledger_.timecode = SequenceTimecode::of(copy);
    for (const PassRow& row : passTable())
        if (!row.element.empty() && hasOption(request_.passes, row.option))
            edit_.expectElements({&row.element, 1});
}

XMLNode SequenceTidy::document() const { return (source_ ? source_ : copy_).top(); }

Timeline SequenceTidy::read() const {
    return Timeline::ofEdited(edit_.sequence(), before_->timeline(), TimelineDetail::picture);
}

Outcome SequenceTidy::runSteps(const TidyControls& controls, PictureGuard* guard) {
    PassRun run{edit_, request_.ignoredEffects,   controls.stop,   controls.progress,
                guard, veto_ ? &*veto_ : nullptr, &request_.rules, transparentClips_};
    for (const PassStep& step : passSteps()) {
        if (!isOn(step, request_.passes)) continue;
        if (run.cancelled()) return PassRun::stopped();
        if (controls.observer) controls.observer->before(step, edit_);
        edit_.beginStep(step.option);
        if (Outcome done = step.run(run); !done) return done;
        if (controls.observer) controls.observer->after(step, edit_);
    }
    return Done{};
}

// What the proof reads of the sequence, and what the passes will ask for: each is a walk over the
// tree, and nothing edits it yet.
std::future<Timeline> SequenceTidy::beginReading() const {
    if (!looksAtPicture()) return {};
    // Here, and not when the other walk comes to it.
    for (XMLNode track : allTracks(copy_)) track.separateText();
    // A thread takes as long to start as it takes to read some hundred items.
    const auto policy = hasManyItems(copy_) ? std::launch::async : std::launch::deferred;
    const auto catalogue = request_.catalogue ? request_.catalogue : MediaCatalogue::of(document());
    return std::async(policy, [sequence = copy_, catalogue] {
        return Timeline::of(sequence, catalogue, TimelineDetail::picture);
    });
}

void SequenceTidy::readSource() {
    // What an item's filters tell is read while they are at hand.
    const bool asksTransparency = hasOption(request_.passes, "collapseTracks") &&
                                  hasOption(request_.passes, "collapseUncompositedClips");
    edit_.readItems([&](const ItemFacts& item) {
        if (asksTransparency && item.isClip() && edit_.label(item.node).video)
            transparentClips_.hold(item.node, edit_, [&] {
                return passes::isClipTransparent(item, request_.ignoredEffects);
            });
    });
    if (edit_.sequence() == source_) edit_.noteLooseClips();
    if (reading_.valid()) before_.emplace(reading_.get());
}

Outcome SequenceTidy::applyPasses(const TidyControls& controls) {
    readSource();
    if (!request_.keep.empty() || request_.rules.excludesAnything()) {
        veto_.emplace(edit_.sequence(), request_.keep, request_.rules);
        ledger_.unusedKeeps = veto_->takeUnused();
        ledger_.unusedRules = veto_->takeUnusedRules();
    }
    const bool choosesFilters = !request_.rules.filters.isEmpty() || (veto_ && !veto_->isEmpty());
    if (looksAtPicture() && choosesFilters && hasOption(request_.passes, "removeFilters"))
        without_ = withoutChosenFilters();
    Outcome done = request_.keepPicture ? applyCarefully(controls) : runSteps(controls, nullptr);
    dropOutdated(ledger_);
    if (veto_) noteExcluded(ledger_, *veto_, edit_);
    return done;
}

// The pass itself takes them out of a copy that is read and let go.
Timeline SequenceTidy::withoutChosenFilters() const {
    SequenceLedger ledger;
    TimelineEdit edit(edit_.sequence().copy(), ledger);
    const ClipVeto veto(edit.sequence(), request_.keep, request_.rules);
    const std::function<void(const std::string&)> noProgress;
    PassRun run{edit, request_.ignoredEffects, {}, noProgress, nullptr, &veto, &request_.rules};
    // It fails when it is stopped, and nobody can stop it.
    [[maybe_unused]] const Outcome done = passes::removeFilters(run);
    return Timeline::ofEdited(edit.sequence(), before_->timeline(), TimelineDetail::picture);
}

void SequenceTidy::compare() {
    Asked asked = askedOf(request_.passes);
    if (without_) asked.filters = false;
    ledger_.picture = std::make_shared<PictureDifference>(*before_, read(), asked, without_);
    comparedChanges_ = ledger_.changes.size();
}

// A careful run begins again from the start, with the edits kept back that changed the picture,
// until nothing has changed unasked.
Outcome SequenceTidy::applyCarefully(const TidyControls& controls) {
    PictureGuard guard(before_->timeline());
    const TimelineEdit::Checkpoint start = edit_.checkpoint();
    for (;;) {
        if (Outcome done = runSteps(controls, &guard); !done) return done;
        if (request_.importSafe && !excludesEverything()) {
            mendImportPlaces(edit_, importSource());
            mendedChanges_ = ledger_.changes.size();
        }
        compare();
        if (ledger_.picture->isAsAsked() || !guard.learnFrom(*ledger_.picture, ledger_)) break;
        edit_.rollback(start);
    }
    for (KeptItem& item : guard.kept()) ledger_.kept.push_back(std::move(item));
    return Done{};
}

Outcome SequenceTidy::makeImportSafe(ImportDelivery& delivery, std::stop_token stop) {
    if (excludesEverything()) return Done{};
    const bool placesAreMended = mendedChanges_ == ledger_.changes.size();
    return reelsweep::makeImportSafe(
        edit_, {importSource(), document(), delivery, std::move(stop), placesAreMended});
}

const ImportSource& SequenceTidy::importSource() {
    if (!importSource_) importSource_.emplace(edit_, source_);
    return *importSource_;
}

SequenceLedger SequenceTidy::finish() {
    edit_.finish(source_);
    if (looksAtPicture() && comparedChanges_ != ledger_.changes.size()) compare();
    return std::move(ledger_);
}

}  // namespace reelsweep
