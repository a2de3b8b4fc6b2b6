// Coverage: whether a clip certainly hides what is below it. Picture.h says when.
//
// Thread rule: any thread.
#pragma once

#include "timeline/Timeline.h"

namespace reelsweep {

/// Whether the clip covers wherever it is alone on its track, outside transitions, and, for a nested
/// sequence, wherever that one's own picture is full. `sequence` is the one it stands in.
bool certainlyCovers(const Item& item, const Track& track, const Timeline& sequence,
                     bool ignoreFilters);

/// Whether the clip has an alpha channel, as far as the file says.
bool mayBeTransparent(const Item& item);

}  // namespace reelsweep
