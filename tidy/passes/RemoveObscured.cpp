#include "base/Log.h"
#include "tidy/passes/ObscuredClips.h"

namespace reelsweep::passes {

std::string hiddenReason(const PassRun& run, const OpaqueClip& clip, FrameRange range) {
    const XMLNode node = clip.upper.entry(clip.id).node;
    return "hidden under " + displayName(node) + " on " + description(run.edit.label(node)) +
           " from " + range.start.text() + " to " + range.end.text();
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

}  // namespace

Outcome removeObscuredClips(PassRun& run) {
    // The collapse pass follows at once, so the label is its label.
    run.showProgress("Collapsing tracks...");
    Log::append("Removing obscured clips...");
    return visitOpaqueClips(run, [&](const OpaqueClip& clip) -> Outcome {
        const FrameRange range = clip.group.range;
        const std::vector<TrackIndex::Id> hidden = hiddenBelow(run, clip.lower, range);
        if (run.cancelled()) return PassRun::stopped();
        if (hidden.empty()) return Done{};
        Log::fastAppend("Lower track %i has fully obscured clip(s) %@-%@", clip.lowerNumber,
                        range.start, range.end);
        const std::string reason = hiddenReason(run, clip, range);
        for (const TrackIndex::Id id : hidden) run.edit.detach(clip.lower.entry(id).node, reason);
        return Done{};
    });
}

}  // namespace reelsweep::passes
