#include "base/Log.h"
#include "tidy/passes/ObscuredClips.h"

namespace reelsweep::passes {

std::string hiddenReason(const PassRun& run, const OpaqueClip& clip, FrameRange range) {
    const XMLNode node = clip.upper.entry(clip.id).node;
    return "hidden under " + displayName(node) + " on " + description(run.edit.label(node)) +
           " from " + range.start.text() + " to " + range.end.text();
}

void noteNotHidden(PassRun& run, const OpaqueClip& clip, std::span<const XMLNode> nodes) {
    for (const XMLNode& node : nodes)
        if (isClip(node))
            run.edit.noteKept(node, displayName(clip.node()) + " on " +
                                        description(run.edit.label(clip.node())) +
                                        " may let it show through");
}

namespace {

// Everything on the lower track whose whole group lies inside the range.
std::vector<TrackIndex::Id> hiddenBelow(const PassRun& run, const TrackIndex& lower,
                                        FrameRange range) {
    std::vector<TrackIndex::Id> all;
    TrackIndex::Id hit = lower.firstInside(range);
    while (hit != TrackIndex::none) {
        const TrackIndex::Stretch stretch = lower.stretch(hit);
        const std::vector<TrackIndex::Id> hidden = hiddenInStretch(
            run, lower, stretch, [&](const TrackEntry& e) { return e.foundInside(range); },
            [&](FrameRange group) { return group.start >= range.start && group.end <= range.end; });
        all.insert(all.end(), hidden.begin(), hidden.end());
        const TrackIndex::Id after = lower.next(stretch.last);
        hit = after == TrackIndex::none ? after : lower.firstInside(range, after);
    }
    return all;
}

// The same without the groups that are to be left alone.
std::vector<XMLNode> goesBelow(PassRun& run, const TrackIndex& lower, FrameRange range) {
    std::vector<XMLNode> hidden;
    for (const TrackIndex::Id id : hiddenBelow(run, lower, range))
        if (!run.mayKeep() || !run.keepsAny(lower.nodes(lower.group(id))))
            hidden.push_back(lower.entry(id).node);
    return hidden;
}

// In a careful run only what lies below a range that is hidden for certain goes.
std::vector<XMLNode> goesCarefully(PassRun& run, const OpaqueClip& clip, FrameRange& range) {
    const std::vector<TrackIndex::Id> literal = hiddenBelow(run, clip.lower, range);
    if (literal.empty()) return {};
    range = clip.certainPart(*run.guard, range);
    std::vector<XMLNode> hidden;
    if (range.start != range.end) hidden = goesBelow(run, clip.lower, range);
    std::vector<XMLNode> staying;
    for (const TrackIndex::Id id : literal) {
        const XMLNode node = clip.lower.entry(id).node;
        if (std::find(hidden.begin(), hidden.end(), node) == hidden.end()) staying.push_back(node);
    }
    noteNotHidden(run, clip, staying);
    return hidden;
}

}  // namespace

Outcome removeObscuredClips(PassRun& run) {
    // The collapse pass follows at once, so the label is its label.
    run.showProgress("Collapsing tracks...");
    Log::append("Removing obscured clips...");
    return visitOpaqueClips(run, [&](const OpaqueClip& clip) -> Outcome {
        FrameRange range = clip.group.range;
        const std::vector<XMLNode> hidden =
            run.isCareful() ? goesCarefully(run, clip, range) : goesBelow(run, clip.lower, range);
        if (run.cancelled()) return PassRun::stopped();
        if (hidden.empty()) return Done{};
        Log::fastAppend("Lower track %i has fully obscured clip(s) %@-%@", clip.lowerNumber,
                        range.start, range.end);
        const std::string reason = hiddenReason(run, clip, range);
        for (const XMLNode& node : hidden) run.edit.detach(node, reason);
        return Done{};
    });
}

}  // namespace reelsweep::passes
