#include "base/Log.h"

#include <utility>
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

std::vector<XMLNode> nodesOf(const TrackIndex& track, std::span<const TrackIndex::Id> ids) {
    std::vector<XMLNode> nodes;
    for (const TrackIndex::Id id : ids) nodes.push_back(track.entry(id).node);
    return nodes;
}

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

// What goes in a careful run: whole groups, none of them to be left alone.
std::vector<XMLNode> carefullyHidden(PassRun& run, const TrackIndex& lower, FrameRange range) {
    std::vector<XMLNode> hidden;
    if (range.start == range.end) return hidden;
    for (const TrackIndex::Id id : hiddenBelow(run, lower, range)) {
        const TrackIndex::Group group = lower.group(id);
        if (!run.keepsAny(nodesOf(lower, lower.entries(group.first, group.last))))
            hidden.push_back(lower.entry(id).node);
    }
    return hidden;
}

}  // namespace

Outcome removeObscuredClips(PassRun& run) {
    // The collapse pass follows at once, so the label is its label.
    run.showProgress("Collapsing tracks...");
    Log::append("Removing obscured clips...");
    return visitOpaqueClips(run, [&](const OpaqueClip& clip) -> Outcome {
        FrameRange range = clip.group.range;
        std::vector<XMLNode> hidden = nodesOf(clip.lower, hiddenBelow(run, clip.lower, range));
        if (run.isCareful() && !hidden.empty()) {
            range = clip.certainPart(*run.guard, range);
            std::vector<XMLNode> literal =
                std::exchange(hidden, carefullyHidden(run, clip.lower, range));
            std::erase_if(literal, [&](XMLNode node) {
                return std::find(hidden.begin(), hidden.end(), node) != hidden.end();
            });
            noteNotHidden(run, clip, literal);
        }
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
