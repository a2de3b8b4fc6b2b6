#include "base/Log.h"
#include "tidy/passes/Passes.h"
#include "timeline/QVXMLParser.h"
#include "timeline/Vocabulary.h"

#include <algorithm>

namespace reelsweep::passes {

namespace {

bool isDisabled(const ItemFacts& clip) { return clip.isDisabled; }

// The level must be written exactly "0": "0.0" is left alone, as an editor may have drawn it so.
bool isSilent(const ItemFacts& clip) {
    for (XMLNode filter = clip.firstFilter; filter; filter = filter.nextSibling("filter")) {
        const XMLNode effect = filter.child("effect");
        bool isLevels = false;
        for (const XMLNode effectid : childrenNamed(effect, "effectid"))
            isLevels = isLevels || hasText(effectid, "audiolevels");
        if (!isLevels) continue;
        for (const XMLNode value : childrenNamed(effect.child("parameter"), "value"))
            if (hasText(value, "0")) return true;
    }
    return false;
}

using Wanted = bool (*)(const ItemFacts& clip);

bool is(Wanted wanted, const TimelineEdit& edit, XMLNode node) {
    const ItemFacts* const known = edit.factsWithFilter(node);
    return known && known->isClip() && wanted(*known);
}

std::vector<XMLNode> clipsInMainTracks(const TimelineEdit& edit, MediaType type, Wanted wanted) {
    std::vector<XMLNode> clips;
    for (const XMLNode track : mainTracks(edit.sequence(), type))
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            if (is(wanted, edit, node)) clips.push_back(node);
    return clips;
}

// The same as affectedNodesForClip, which most clips need not be asked for.
std::vector<XMLNode> groupOf(const TimelineEdit& edit, XMLNode clip) {
    const ItemFacts* const known = edit.facts(clip);
    if (known && known->standsAlone()) return {clip};
    return QVXMLParser::affectedNodesForClip(clip);
}

bool runsInto(XMLNode clip, const char* edge) {
    return isClip(clip) && clip.child(edge).firstText().value() == edgeInTransitionText;
}

// Which nodes of a clip's group go with it in a careful run: itself, and the transitions beside it
// that no other clip runs into. A clip that stays keeps its transition, a fade from now on.
//   [aa]x[!b]   ->   [aa]x
std::vector<XMLNode> itselfAndItsOwnTransitions(XMLNode clip) {
    std::vector<XMLNode> nodes{clip};
    const XMLNode before = clip.previousSibling();
    const XMLNode after = clip.nextSibling();
    if (runsInto(clip, "start") && before.isElement("transitionitem") &&
        !runsInto(before.previousSibling(), "end"))
        nodes.push_back(before);
    if (runsInto(clip, "end") && after.isElement("transitionitem") &&
        !runsInto(after.nextSibling(), "start"))
        nodes.push_back(after);
    return nodes;
}

void noteThoseThatStay(PassRun& run, XMLNode clip, const std::vector<XMLNode>& group,
                       const std::string& reason) {
    for (const XMLNode& node : group)
        if (isClip(node) && node != clip && node.parent())
            run.edit.noteKept(node, "joined to " + displayName(clip) + ", which is " + reason +
                                        ", and itself not");
}

Outcome removeWithGroups(PassRun& run, const std::vector<XMLNode>& clips, const std::string& reason,
                         Wanted wanted) {
    Log::fastAppend("Clips to disable: %@", description(clips));
    for (const XMLNode& clip : clips) {
        if (run.cancelled()) return PassRun::stopped();
        const std::vector<XMLNode> group = groupOf(run.edit, clip);
        const bool goesWhole =
            !run.isCareful() || std::all_of(group.begin(), group.end(), [&](XMLNode node) {
                return !isClip(node) || is(wanted, run.edit, node);
            });
        if (run.keepsAny(group)) continue;
        for (const XMLNode& node : goesWhole ? group : itselfAndItsOwnTransitions(clip))
            run.edit.detach(
                node, node == clip ? reason : "joined to " + displayName(clip) + ", " + reason);
        if (!goesWhole) noteThoseThatStay(run, clip, group, reason);
    }
    return Done{};
}

Outcome removeDisabledClips(PassRun& run, MediaType type) {
    run.showProgress("Removing disabled " + std::string(description(type)) + " clips...");
    const auto clips = clipsInMainTracks(run.edit, type, isDisabled);
    return removeWithGroups(run, clips, "disabled", isDisabled);
}

}  // namespace

Outcome removeDisabledVideoClips(PassRun& run) {
    return removeDisabledClips(run, MediaType::video);
}

Outcome removeDisabledAudioClips(PassRun& run) {
    return removeDisabledClips(run, MediaType::audio);
}

Outcome removeSilentAudio(PassRun& run) {
    run.showProgress("Removing silent audio clips...");
    // Logs the words of the disabled-clip pass on purpose: people who read logs search for them.
    const auto clips = clipsInMainTracks(run.edit, MediaType::audio, isSilent);
    return removeWithGroups(run, clips, "level 0", isSilent);
}

Outcome collapseMultiClips(PassRun& run) {
    run.showProgress("Collapsing multiclips...");
    std::vector<XMLNode> flags;
    for (const XMLNode& collapsed : run.edit.elementsNamed("collapsed")) {
        const XMLNode multiclip = collapsed.parent();
        const XMLNode clip = multiclip.parent();
        const XMLNode track = clip.parent();
        if (multiclip.isElement("multiclip") && clip.isElement("clipitem") &&
            track.isElement("track") && track.parent().isElement("video") &&
            !run.keepsWhatHolds(collapsed))
            flags.push_back(collapsed);
    }
    for (const XMLNode& flag : flags) {
        if (run.cancelled()) return PassRun::stopped();
        run.edit.setText(flag, "TRUE");
    }
    return Done{};
}

Outcome removeUnusedTracks(PassRun& run) {
    run.showProgress("Removing empty tracks...");
    std::vector<XMLNode> upperTracks;
    for (const XMLNode& track : run.edit.elementsNamed("track")) {
        const XMLNode parent = track.parent();
        if (parent.isElement("video") && parent.child("track") != track)
            upperTracks.push_back(track);
    }
    for (const XMLNode& track : upperTracks) {
        if (run.cancelled()) return PassRun::stopped();
        if (track.hasDescendant("clipitem") || track.hasDescendant("generatoritem")) continue;
        if (run.excludesTrack(track) || run.excludesEverything()) continue;
        Log::fastAppend("Empty track at index: %i", track.index());
        run.edit.detachTrack(track, "no clips on it");
    }
    return Done{};
}

}  // namespace reelsweep::passes
