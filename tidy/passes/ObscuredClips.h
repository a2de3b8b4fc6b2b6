// What the two passes share that look for clips under opaque ones.
#pragma once

#include "base/Log.h"
#include "tidy/passes/Passes.h"
#include "timeline/Vocabulary.h"

#include <algorithm>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace reelsweep::passes {

/// An opaque clip with the indexes of its track and of the track below.
struct OpaqueClip {
    const TrackIndex& upper;
    const TrackIndex& lower;
    int lowerNumber;  ///< from 0
    TrackIndex::Id id;
    TrackIndex::Group group;

    XMLNode node() const { return upper.entry(id).node; }
    /// The part of a range that it certainly hides, as far as it reaches now; an empty one when it
    /// may let something through.
    FrameRange certainPart(const PictureGuard& guard, FrameRange range) const {
        const auto hidden = guard.hiddenBelow(node());
        if (!hidden) return {range.start, range.start};
        const Frames start = std::max(range.start, hidden->start);
        return {start, std::max(start, std::min(range.end, hidden->end))};
    }
};

/// Visits every opaque clip above another video track that is not excluded, top track first, until
/// the run is stopped or a visit fails.
template <class Visit>
Outcome visitOpaqueClips(PassRun& run, Visit visit) {
    const std::vector<XMLNode> tracks = mainTracks(run.sequence(), MediaType::video);
    if (!tracks.empty() && run.cancelled()) return PassRun::stopped();
    Log::fastAppend("Total tracks to process: %i", tracks.size());
    for (std::size_t u = tracks.size(); u-- > 1;) {
        if (run.cancelled()) return PassRun::stopped();
        const TrackIndex& upper = run.edit.index(tracks[u]);
        const TrackIndex& lower = run.edit.index(tracks[u - 1]);
        for (const TrackIndex::Id id : upper.items()) {
            if (run.cancelled()) return PassRun::stopped();
            const XMLNode node = upper.entry(id).node;
            const bool showsThrough = run.transparentClips.hold(node, run.edit, [&] {
                return isClipTransparent(*run.edit.factsWithFilter(node), run.ignoredEffects);
            });
            if (showsThrough) continue;
            const OpaqueClip clip{upper, lower, static_cast<int>(u) - 1, id, upper.group(id)};
            if (run.veto && !run.veto->excluded().empty() &&
                run.veto->excludesAny(upper.nodes(clip.group)))
                continue;
            if (Outcome visited = visit(clip); !visited) return visited;
        }
    }
    return Done{};
}

/// A list of entries in the order in which they were first put in, without duplicates.
class EntrySet {
public:
    void add(TrackIndex::Id id) {
        if (places_.try_emplace(id, order_.size()).second) order_.push_back(id);
    }
    void remove(TrackIndex::Id id) { places_.erase(id); }
    /// What is in it now.
    std::vector<TrackIndex::Id> entries() const {
        std::vector<TrackIndex::Id> present;
        for (std::size_t place = 0; place < order_.size(); ++place) {
            const auto found = places_.find(order_[place]);
            if (found != places_.end() && found->second == place) present.push_back(found->first);
        }
        return present;
    }

private:
    std::vector<TrackIndex::Id> order_;  ///< those taken out since too
    std::unordered_map<TrackIndex::Id, std::size_t> places_;
};

/// Works out which entries of one stretch of a track a clip above hides. After a stop the answer is
/// incomplete.
///
/// `search` tells by which search an entry is found. The set begins with all that is found, in the
/// order of the searches. Each of these entries then brings its whole group into the set when
/// `keeps` holds for the group's range, and takes its whole group out when it does not.
template <class Search, class Keeps>
std::vector<TrackIndex::Id> hiddenInStretch(const PassRun& run, const TrackIndex& track,
                                            const TrackIndex::Stretch& stretch, Search search,
                                            Keeps keeps) {
    const std::vector<TrackIndex::Id> entries = track.entries(stretch.first, stretch.last);
    std::vector<TrackIndex::Id> found;
    for (const FoundBy by : {FoundBy::startInRange, FoundBy::endInRange, FoundBy::coveringRange,
                             FoundBy::ownRange, FoundBy::groupOnly})
        for (const TrackIndex::Id id : entries)
            if (search(track.entry(id)) == by) found.push_back(id);

    EntrySet hidden;
    for (const TrackIndex::Id id : found) hidden.add(id);
    TrackIndex::Group last;
    for (const TrackIndex::Id id : found) {
        if (run.cancelled()) break;
        const TrackIndex::Group group = track.group(id);
        // All clips of a long chain have one group, and once is enough for it.
        if (group.first == last.first && group.last == last.last) continue;
        last = group;
        const bool kept = keeps(group.range);
        for (const TrackIndex::Id member : track.entries(group.first, group.last)) {
            if (kept)
                hidden.add(member);
            else
                hidden.remove(member);
        }
    }
    return hidden.entries();
}

/// Notes the clips among these that stay because the clip above may let them through, or because
/// they are to be left alone.
void noteNotHidden(PassRun& run, const OpaqueClip& clip, std::span<const XMLNode> nodes);

/// "hidden under NAME on V3 from 100 to 200".
std::string hiddenReason(const PassRun& run, const OpaqueClip& clip, FrameRange range);

}  // namespace reelsweep::passes
