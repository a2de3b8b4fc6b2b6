// Handles: the media beyond the two ends of a clip, which a grade, a mix or a new dissolve needs.
//
//   media    [======[ clip ]===]        head 6, tail 3
//
// Only for clips whose media says how long it is; stills, slugs, generators and nested sequences
// have all the handles one wants. Clips that are switched off need none.
// Thread rule: plain functions over values.
#pragma once

#include "timeline/Timeline.h"

#include <string>
#include <vector>

namespace reelsweep {

struct ShortHandle {
    const Track* track = nullptr;
    const Item* item = nullptr;
    Frames head;  ///< frames of the media before the clip's first one; below 0 when it lacks some
    Frames tail;  ///< frames of the media after its last one
};

/// The clips of which one end has fewer than `wanted` frames of its media, track after track.
std::vector<ShortHandle> shortHandles(const Timeline& timeline, Frames wanted);

/// "V1 01:00:04:00 Wide: 3 frames before, 250 after".
std::string shortHandleText(const Timeline& timeline, const ShortHandle& handle);

}  // namespace reelsweep
