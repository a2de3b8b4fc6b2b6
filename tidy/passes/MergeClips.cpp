#include "base/Log.h"
#include "tidy/passes/ObscuredClips.h"

#include <algorithm>

namespace reelsweep::passes {

namespace {

using Id = TrackIndex::Id;

bool isTransition(const TrackEntry& entry) { return entry.kind == TrackEntry::Kind::transition; }

// The length of an entry with real edges; nothing else shortens a range.
Frames lengthOf(const TrackEntry& entry) {
    const auto [start, end] = entry.wholeTexts;
    const Frames zero{0};
    return start >= zero && end >= zero ? end - start : zero;
}

// The range without the transitions at its ends: only the fully opaque middle hides anything. Both
// ends are shortened by the length of the group's first node, as they always were. With a long
// transition before a short one the range ends before it starts. What is cut then overlaps.
FrameRange opaqueMiddle(const OpaqueClip& clip) {
    FrameRange range = clip.group.range;
    const TrackEntry& first = clip.upper.entry(clip.group.first);
    if (isTransition(first)) range.start = range.start + lengthOf(first);
    if (isTransition(clip.upper.entry(clip.group.last))) range.end = range.end - lengthOf(first);
    return range;
}

struct Found {
    bool any = false;      ///< something is hidden in part, if only a clip that is left as it is
    std::vector<Id> cuts;  ///< what must be cut
};

void addIfCut(const TrackIndex& lower, Id id, FrameRange range, Found& found) {
    if (overlapOf(lower.entry(id).wholeTexts, range) != Overlap::none) found.cuts.push_back(id);
}

// In a chain every clip but the first and the last has no edge of its own, and nothing to cut. Its
// middle clips are always candidates, so the chain is hidden as one or not at all.
void findInChain(const TrackIndex& lower, const TrackIndex::Stretch& chain, FrameRange range,
                 Found& found) {
    if (!conflict(chain.range, range)) return;
    found.any = true;
    const std::size_t end = lower.position(chain.last);
    const auto ownEdges = [&](Id id) {
        const TrackEntry& entry = lower.entry(id);
        return !entry.startInTransition && !entry.endInTransition;
    };
    if (!ownEdges(chain.first)) addIfCut(lower, chain.first, range, found);
    for (Id id = lower.firstOverlapping(range, chain.first);
         id != TrackIndex::none && lower.position(id) <= end;) {
        found.cuts.push_back(id);
        id = lower.next(id);
        if (id != TrackIndex::none) id = lower.firstOverlapping(range, id);
    }
    if (!ownEdges(chain.last)) addIfCut(lower, chain.last, range, found);
}

void findInStretch(const PassRun& run, const TrackIndex& lower, const TrackIndex::Stretch& stretch,
                   FrameRange range, Found& found) {
    const std::vector<Id> overlapped = hiddenInStretch(
        run, lower, stretch, [&](const TrackEntry& e) { return e.foundInTheWayOf(range); },
        [&](FrameRange group) { return conflict(group, range); });
    found.any = found.any || !overlapped.empty();
    for (const Id id : overlapped) addIfCut(lower, id, range, found);
}

Found findOverlapped(const PassRun& run, const TrackIndex& lower, FrameRange range) {
    Found found;
    Id hit = lower.firstInTheWay(range);
    while (hit != TrackIndex::none) {
        const TrackIndex::Stretch stretch = lower.stretch(hit);
        // A range that starts or ends at -1 reaches the edges inside transitions by themselves.
        if (stretch.isChain && std::min(range.start, range.end) > edgeInTransition)
            findInChain(lower, stretch, range, found);
        else
            findInStretch(run, lower, stretch, range, found);
        const Id after = lower.next(stretch.last);
        hit = after == TrackIndex::none ? after : lower.firstInTheWay(range, after);
    }
    return found;
}

// An editing system finds a clip's media by `in` and its place by `start` and `end`. `out` and
// `duration` tell how much of the media there is, and stay as they are. True when the clip was
// split.
bool cut(PassRun& run, const TrackIndex& lower, Id id, FrameRange range,
         const std::string& reason) {
    const TrackEntry& entry = lower.entry(id);
    const XMLNode clip = entry.node;
    const Frames in = run.edit.times(clip).in.value_or(Frames{0});
    const ItemTimes tail{
        .start = range.end, .end = {}, .in = in - entry.wholeTexts.start + range.end, .out = {}};
    switch (overlapOf(entry.wholeTexts, range)) {
        case Overlap::sticksOutOnBothSides: {
            const XMLNode left = run.edit.split(clip, range, tail);
            if (run.isCareful()) run.guard->addPiece(left, clip);
            return true;
        }
        case Overlap::tailHidden:
            run.edit.trim(clip, {.start = {}, .end = range.start, .in = {}, .out = {}});
            break;
        case Overlap::headHidden: run.edit.trim(clip, tail); break;
        case Overlap::inside: run.edit.detach(clip, reason); break;
        case Overlap::none: break;
    }
    return false;
}

// Drops the cuts in groups that are to be left alone.
void keepWhatIsToStay(PassRun& run, const TrackIndex& lower, std::vector<Id>& cuts) {
    if (!run.mayKeep()) return;
    std::erase_if(cuts, [&](Id id) { return run.keepsAny(lower.nodes(lower.group(id))); });
}

// What is cut in a careful run: what lies below a range that is hidden for certain.
Found carefullyOverlapped(PassRun& run, const OpaqueClip& clip, FrameRange range,
                          const std::vector<Id>& literalCuts) {
    Found found;
    if (range.start != range.end) found = findOverlapped(run, clip.lower, range);
    keepWhatIsToStay(run, clip.lower, found.cuts);
    found.any = !found.cuts.empty();
    std::vector<XMLNode> uncut;
    for (const Id id : literalCuts)
        if (std::find(found.cuts.begin(), found.cuts.end(), id) == found.cuts.end())
            uncut.push_back(clip.lower.entry(id).node);
    noteNotHidden(run, clip, uncut);
    return found;
}

// A clip can stick out on both sides of each other clip once. Far more splits mean that clips
// overlap or end before they start: each such clip may double what lies below it.
class SplitLimit {
public:
    explicit SplitLimit(const PassRun& run) : most_(run.edit.itemsBefore() + 10000) {}

    Outcome count(const std::string& reason) {
        if (++splits_ <= most_) return Done{};
        return Failure{FailureCode::processing, "Clips were split again and again, " +
                                                    std::to_string(splits_) +
                                                    " times; the last was " + reason};
    }

private:
    std::size_t most_;
    std::size_t splits_ = 0;
};

// Cuts what lies below one opaque clip.
Outcome cutBelow(PassRun& run, const OpaqueClip& clip, const std::vector<Id>& cuts,
                 FrameRange range, SplitLimit& limit) {
    const std::string reason = hiddenReason(run, clip, range);
    for (const Id id : cuts) {
        if (run.cancelled()) return PassRun::stopped();
        if (!cut(run, clip.lower, id, range, reason)) continue;
        if (Outcome counted = limit.count(reason); !counted) return counted;
    }
    return Done{};
}

}  // namespace

Outcome mergeClips(PassRun& run) {
    run.showProgress("Merging clips...");
    Log::append("Merging clips...");
    SplitLimit limit(run);
    return visitOpaqueClips(run, [&](const OpaqueClip& clip) -> Outcome {
        FrameRange range = opaqueMiddle(clip);
        Found found = findOverlapped(run, clip.lower, range);
        if (run.isCareful() && found.any) {
            range = clip.certainPart(*run.guard, range);
            found = carefullyOverlapped(run, clip, range, found.cuts);
        } else {
            keepWhatIsToStay(run, clip.lower, found.cuts);
        }
        if (run.cancelled()) return PassRun::stopped();
        if (!found.any) return Done{};
        Log::fastAppend("Lower track %i has partially obscured clip(s) below %@,%@",
                        clip.lowerNumber, range.start, range.end);
        return cutBelow(run, clip, found.cuts, range, limit);
    });
}

}  // namespace reelsweep::passes
