// Coverage: whether a clip certainly hides what is below it. Picture.h says when.
//
// Thread rule: any thread.
#pragma once

#include "timeline/Timeline.h"

namespace reelsweep {

/// Whether the clip covers wherever it is alone on its track and outside transitions; a nested
/// sequence only where its own picture is full, too. `sequence` is the one the clip stands in.
bool certainlyCovers(const Item& item, const Track& track, const Timeline& sequence,
                     bool ignoreFilters);

/// Whether the clip has an alpha channel, as far as the file says.
bool mayBeTransparent(const Item& item);

}  // namespace reelsweep
