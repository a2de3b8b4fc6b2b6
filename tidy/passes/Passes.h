// The clean-up passes. Each edits the sequence in place through the run's TimelineEdit and answers
// it, or null when the run was cancelled: what was done before the cancel stays done.
//
// Thread rule: the run's thread.
#pragma once

#include "tidy/PassRun.h"
#include "xml/XMLNode.h"

#include <string_view>

namespace reelsweep::passes {

/// Takes out every disabled clip of that type ("video" or "audio") with all that moves with it.
///   [aa]x[!b]   ->   (group gone)
XMLNode removeDisabledClips(PassRun& run, XMLNode sequence, std::string_view type);

/// Takes out every audio clip whose level is exactly "0", with all that moves with it.
XMLNode removeSilentAudioClips(PassRun& run, XMLNode sequence);

/// Takes out lower clips that lie wholly under one opaque clip of the track above.
///   V2   [######]         V2   [######]
///   V1  a [bb] cc    ->   V1  a        cc
XMLNode removeObscuredClips(PassRun& run, XMLNode sequence);

/// Moves clips down a track wherever the lower track is free for as long as their group lasts.
/// `reverse` visits the upper tracks from the top down, so a clip may fall through several.
///   V2      [##]              V2
///   V1 [aa]        ->         V1 [aa] [##]
XMLNode collapseTracks(PassRun& run, XMLNode sequence, bool reverse);

/// An opaque upper clip cuts what it hides below it.
///   V2        [####]              V2        [####]
///   V1   [aaaaaaaaaaaaa]    ->    V1   [aaa]      [aaa]
XMLNode mergeClips(PassRun& run, XMLNode sequence);

/// Flags every multiclip on video tracks as collapsed.
XMLNode collapseMulticlips(PassRun& run, XMLNode sequence);

/// Takes out video tracks without clips, but never the first.
XMLNode removeUnusedTracks(PassRun& run, XMLNode sequence);

/// Fills the holes before and between the clips of the first video track with slugs.
///   --[aa]---[bb]--   ->   [s][aa][s][bb]--
XMLNode replaceGapsWithSlugs(PassRun& run, XMLNode sequence);

/// Takes out every filter, at any depth.
XMLNode removeFilters(PassRun& run, XMLNode sequence);

/// Takes out every marker, at any depth.
XMLNode removeMarkers(PassRun& run, XMLNode sequence);

/// Takes out the transitions of that type's tracks; the clips that ran into one meet at a cut.
///   [aaaa(xx)bbbb]   ->   [aaaaa|bbbbb]
XMLNode removeTransitions(PassRun& run, XMLNode sequence, std::string_view type);

/// Whether a clip lets the track below show through: then it hides nothing.
bool isClipTransparent(XMLNode clip, const std::vector<std::string>& ignoredEffects);

}  // namespace reelsweep::passes
