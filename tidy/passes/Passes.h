// The clean-up passes. Each edits the run's sequence in place through its TimelineEdit. It fails
// with cancelled when the run was stopped: what was done before stays done.
//
// Thread rule: the run's thread.
#pragma once

#include "base/Failure.h"
#include "tidy/PassRun.h"
#include "xml/XMLNode.h"

#include <string>
#include <vector>

namespace reelsweep::passes {

/// Takes out every disabled clip of the video or of the audio tracks with all that moves with it.
///   [aa]x[!b]   ->   (group gone)
Outcome removeDisabledVideoClips(PassRun& run);
Outcome removeDisabledAudioClips(PassRun& run);

/// Takes out every audio clip whose level is exactly "0", with all that moves with it.
Outcome removeSilentAudioClips(PassRun& run);

/// Takes out lower clips that lie wholly under one opaque clip of the track above.
///   V2   [######]         V2   [######]
///   V1  a [bb] cc    ->   V1  a        cc
Outcome removeObscuredClips(PassRun& run);

/// Moves clips down a track wherever the lower track is free for as long as their group lasts.
/// From the top down a clip may fall through several tracks, from the bottom up by one.
///   V2      [##]              V2
///   V1 [aa]        ->         V1 [aa] [##]
Outcome collapseTracksFromTheTop(PassRun& run);
Outcome collapseTracksFromTheBottom(PassRun& run);

/// An opaque upper clip cuts what it hides below it. Fails with processing when clips would be
/// split without end.
///   V2        [####]              V2        [####]
///   V1   [aaaaaaaaaaaaa]    ->    V1   [aaa]      [aaa]
Outcome mergeClips(PassRun& run);

/// Flags every multiclip on video tracks as collapsed.
Outcome collapseMulticlips(PassRun& run);

/// Takes out video tracks without clips, but never the first.
Outcome removeUnusedTracks(PassRun& run);

/// Fills the holes before and between the clips of the first video track with slugs.
///   --[aa]---[bb]--   ->   [s][aa][s][bb]--
Outcome replaceGapsWithSlugs(PassRun& run);

/// Takes out every filter, at any depth.
Outcome removeFilters(PassRun& run);

/// Takes out every marker, at any depth.
Outcome removeMarkers(PassRun& run);

/// Takes out the transitions of the video or of the audio tracks; the clips that ran into one meet at a cut.
///   [aaaa(xx)bbbb]   ->   [aaaaa|bbbbb]
Outcome removeVideoTransitions(PassRun& run);
Outcome removeAudioTransitions(PassRun& run);

/// Whether a clip lets the track below show through: then it hides nothing.
bool isClipTransparent(XMLNode clip, const std::vector<std::string>& ignoredEffects);

}  // namespace reelsweep::passes
