#include "base/Log.h"
#include "tidy/passes/Passes.h"
#include "timeline/Vocabulary.h"

#include <algorithm>
#include <span>
#include <unordered_map>

namespace reelsweep::passes {

namespace {

using Id = TrackIndex::Id;

// Moves one group down. False when cancelled in the middle.
bool moveGroup(PassRun& run, const TrackIndex& from, const TrackIndex::Group& group,
               const TrackIndex& lower) {
    const Id before = lower.lastEndingBy(from.entry(group.first).wholeTexts.start);
    std::size_t place = before == TrackIndex::none ? 0 : lower.position(before) + 1;
    for (const Id id : from.entries(group.first, group.last)) {
        if (run.cancelled()) return false;
        run.edit.move(from.entry(id).node, lower, place++);
    }
    return true;
}

// In a careful run nothing moves between a track that is on and one that is off: it would show, or
// be gone.
bool wouldBeSwitched(PassRun& run, const TrackIndex& own, const TrackIndex& lower,
                     std::span<const XMLNode> nodes) {
    const bool lowerIsOn = run.guard->isOn(lower.track());
    if (run.guard->isOn(own.track()) == lowerIsOn) return false;
    for (const XMLNode& node : nodes)
        if (isClip(node))
            run.edit.noteKept(node, description(run.edit.label(lower.track())) +
                                        (lowerIsOn ? " is on" : " is switched off"));
    return true;
}

bool stays(PassRun& run, const TrackIndex& own, const TrackIndex::Group& group,
           const TrackIndex& lower) {
    if (!run.mayKeep()) return false;
    const std::vector<XMLNode> nodes = own.nodes(group);
    return run.keepsAny(nodes) || (run.isCareful() && wouldBeSwitched(run, own, lower, nodes));
}

// Moves down whatever of the upper track finds room on the lower one. False when cancelled.
bool collapseOnto(PassRun& run, const TrackIndex& upper, const TrackIndex& lower, int lowerNumber) {
    const std::vector<Id> upperClips = upper.items();
    std::unordered_map<Id, std::size_t> places;
    for (std::size_t j = 0; j < upperClips.size(); ++j) places[upperClips[j]] = j;

    for (std::size_t j = 0; j < upperClips.size(); ++j) {
        if (run.cancelled()) return false;
        // A clip that moved down with an earlier one has its group there.
        const TrackIndex& own = upper.holds(upperClips[j]) ? upper : lower;
        const TrackIndex::Group group = own.group(upperClips[j]);
        if (lower.firstInTheWay(group.range) != TrackIndex::none) continue;
        if (stays(run, own, group, lower)) continue;

        Log::fastAppend("Lower track %i is empty at: %@ to %@", lowerNumber, group.range.start,
                        group.range.end);
        Log::fastAppend("upper clip count1: %i", upper.childCount());
        Log::fastAppend("lower clip count1: %i", lower.childCount());
        if (!moveGroup(run, own, group, lower)) return false;
        Log::fastAppend("upper clip count2: %i", upper.childCount());
        Log::fastAppend("lower clip count2: %i", lower.childCount());

        // The clips that moved along need no visit of their own.
        if (const auto last = places.find(group.last); last != places.end())
            j = std::max(j, last->second);
    }
    return true;
}

Outcome collapseTracks(PassRun& run, bool reverse) {
    run.showProgress("Collapsing tracks...");
    Log::fastAppend("Collapsing tracks...");
    if (reverse) Log::fastAppend("Reversed");
    const std::vector<XMLNode> tracks = mainTracks(run.sequence(), MediaType::video);
    if (!tracks.empty() && run.cancelled()) return PassRun::stopped();
    Log::fastAppend("Total tracks to process: %i", tracks.size());

    // A clip falls one track at each visit of its track. From the top down the next visit finds it
    // again; from the bottom up no visit does.
    for (std::size_t step = 1; step < tracks.size(); ++step) {
        const std::size_t upper = reverse ? tracks.size() - step : step;
        if (run.cancelled()) return PassRun::stopped();
        if (run.excludesTrack(tracks[upper - 1])) continue;
        if (!collapseOnto(run, run.edit.index(tracks[upper]), run.edit.index(tracks[upper - 1]),
                          static_cast<int>(upper - 1)))
            return PassRun::stopped();
    }
    return Done{};
}

}  // namespace

Outcome collapseTracksFromTheTop(PassRun& run) { return collapseTracks(run, true); }
Outcome collapseTracksFromTheBottom(PassRun& run) { return collapseTracks(run, false); }

}  // namespace reelsweep::passes
