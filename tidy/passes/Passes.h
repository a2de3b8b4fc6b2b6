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

// Those with a row of their own are described there.
#define PASS(option, ...) Outcome option(PassRun& run);
#define STEPS(option, ...)
#include "tidy/PassRows.inc"
#undef PASS
#undef STEPS

// The steps of collapsing

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

/// Whether a clip lets the track below show through: then it hides nothing.
bool isClipTransparent(const ItemFacts& clip, const std::vector<std::string>& ignoredEffects);
bool isClipTransparent(XMLNode clip, const std::vector<std::string>& ignoredEffects);

}  // namespace reelsweep::passes
