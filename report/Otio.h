// Otio: a timeline as an OpenTimelineIO document (.otio).
//
// The schemas are those of 0.15, which later versions read too: Timeline.1, Stack.1, Track.1,
// Clip.2, Gap.1, Transition.1, ExternalReference.1, GeneratorReference.1, MissingReference.1,
// LinearTimeWarp.1, FreezeFrame.1, Effect.1, Marker.2.
//
//   V1   A[0,100) x[90,110) B[-1,200)    ->    Clip A 100, Transition 10 and 10, Clip B 100
//
// Clips end at their cuts, and a transition says how far it reaches on both sides. Media times
// count as their time code does. Nested sequences become stacks. What has no word there (filters,
// labels, composite modes) stands in `metadata` under "reelsweep". A clip that lies over an earlier
// one of its track begins where that one ends; one that lies wholly under it is left out.
// Thread rule: plain functions over values.
#pragma once

#include "base/AtomicFile.h"
#include "timeline/Timeline.h"

#include <cstddef>
#include <string_view>

namespace reelsweep {

struct WrittenOtio {
    std::size_t leftOut = 0;  ///< clips that lie wholly under an earlier one of their track
    bool ok = true;           ///< false when the sink refused
};

WrittenOtio writeOtio(const Timeline& timeline, std::string_view name, ByteSink& sink);

}  // namespace reelsweep
