#include "base/Log.h"
#include "tidy/passes/Passes.h"
#include "timeline/QVXMLParser.h"
#include "timeline/Vocabulary.h"

namespace reelsweep::passes {

namespace {

// Only the item's own child counts: filters and tracks have an `enabled` too.
bool isDisabled(XMLNode clip) {
    for (const XMLNode enabled : childrenNamed(clip, "enabled"))
        if (hasText(enabled, "FALSE")) return true;
    return false;
}

// The level must be written exactly "0": "0.0" is left alone, as an editor may have drawn it so.
bool isSilent(XMLNode clip) {
    for (const XMLNode filter : childrenNamed(clip, "filter")) {
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

template <class Wanted>
std::vector<XMLNode> clipsInMainTracks(XMLNode sequence, MediaType type, Wanted wanted) {
    std::vector<XMLNode> clips;
    for (const XMLNode track : mainTracks(sequence, type))
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            if (isClip(node) && wanted(node)) clips.push_back(node);
    return clips;
}

Outcome removeWithGroups(PassRun& run, const std::vector<XMLNode>& clips,
                         const std::string& reason) {
    Log::fastAppend("Clips to disable: %@", description(clips));
    for (const XMLNode& clip : clips) {
        if (run.cancelled()) return PassRun::stopped();
        for (const XMLNode& node : QVXMLParser::affectedNodesForClip(clip))
            run.edit.detach(
                node, node == clip ? reason : "joined to " + displayName(clip) + ", " + reason);
    }
    return Done{};
}

Outcome removeDisabledClips(PassRun& run, MediaType type) {
    run.showProgress("Removing disabled " + std::string(description(type)) + " clips...");
    const auto clips = clipsInMainTracks(run.sequence(), type, isDisabled);
    return removeWithGroups(run, clips, "disabled");
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
    const auto clips = clipsInMainTracks(run.sequence(), MediaType::audio, isSilent);
    return removeWithGroups(run, clips, "level 0");
}

Outcome collapseMultiClips(PassRun& run) {
    run.showProgress("Collapsing multiclips...");
    std::vector<XMLNode> flags;
    for (const XMLNode& collapsed : run.edit.elementsNamed("collapsed")) {
        const XMLNode multiclip = collapsed.parent();
        const XMLNode clip = multiclip.parent();
        const XMLNode track = clip.parent();
        if (multiclip.isElement("multiclip") && clip.isElement("clipitem") &&
            track.isElement("track") && track.parent().isElement("video"))
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
        Log::fastAppend("Empty track at index: %i", track.index());
        run.edit.detachTrack(track, "no clips on it");
    }
    return Done{};
}

}  // namespace reelsweep::passes
