// The passes one by one.
#include "shell/QVFCPDoc.h"
#include "tidy/PassRun.h"
#include "tidy/passes/Passes.h"

namespace reelsweep {

XMLNode QVFCPDoc::runAlone(PassFunction pass, XMLNode sequence) {
    if (!sequence) return {};
    TimelineEdit edit(sequence, ledger_.sequences.emplace_back());
    const TidyControls controls = this->controls(beginRun());
    const std::vector<std::string> ignored = ignoredEffects();
    PassRun run{edit, ignored, controls.stop, controls.progress};
    const Outcome done = pass(run);
    edit.finish();
    return done ? sequence : XMLNode();
}

XMLNode QVFCPDoc::removeDisabledClips(XMLNode sequence, std::string_view type) {
    return runAlone(
        type == "video" ? passes::removeDisabledVideoClips : passes::removeDisabledAudioClips,
        sequence);
}
XMLNode QVFCPDoc::removeSilentAudioClips(XMLNode sequence) {
    return runAlone(passes::removeSilentAudio, sequence);
}
XMLNode QVFCPDoc::removeObscuredClips(XMLNode sequence) {
    return runAlone(passes::removeObscuredClips, sequence);
}
XMLNode QVFCPDoc::collapseTracks(XMLNode sequence, bool reverse) {
    return runAlone(
        reverse ? passes::collapseTracksFromTheTop : passes::collapseTracksFromTheBottom, sequence);
}
XMLNode QVFCPDoc::mergeClips(XMLNode sequence) { return runAlone(passes::mergeClips, sequence); }
XMLNode QVFCPDoc::collapseMulticlips(XMLNode sequence) {
    return runAlone(passes::collapseMultiClips, sequence);
}
XMLNode QVFCPDoc::removeUnusedTracks(XMLNode sequence) {
    return runAlone(passes::removeUnusedTracks, sequence);
}
XMLNode QVFCPDoc::replaceGapsWithSlugs(XMLNode sequence) {
    return runAlone(passes::replaceGaps, sequence);
}
XMLNode QVFCPDoc::removeFilters(XMLNode sequence) {
    return runAlone(passes::removeFilters, sequence);
}
XMLNode QVFCPDoc::removeMarkers(XMLNode sequence) {
    return runAlone(passes::removeMarkers, sequence);
}
XMLNode QVFCPDoc::removeVideoTransitions(XMLNode sequence) {
    return removeTransitions(sequence, "video");
}
XMLNode QVFCPDoc::removeAudioTransitions(XMLNode sequence) {
    return removeTransitions(sequence, "audio");
}
XMLNode QVFCPDoc::removeTransitions(XMLNode sequence, std::string_view type) {
    return runAlone(
        type == "video" ? passes::removeVideoTransitions : passes::removeAudioTransitions,
        sequence);
}
bool QVFCPDoc::isClipTransparent(XMLNode clip) {
    return passes::isClipTransparent(clip, ignoredEffects());
}

}  // namespace reelsweep
