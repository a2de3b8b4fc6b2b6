// MediaUse: which frames of its media an item uses.
//
// The times of a clip count its own frames; its media may run at another rate, and a time remap may
// lie in between. Frames of media count from 0 at its first frame.
// Thread rule: plain functions over values.
#pragma once

#include "time/FrameRange.h"
#include "timeline/Timeline.h"

#include <string>

namespace reelsweep {

/// The rate that an item's media counts in: its own, else that of the item.
FrameRate mediaRate(const Item& item);

/// The frame of an item's media at one of the clip's own frames, rounded down.
Frames mediaFrame(const Item& item, Frames own);

/// The frames [first, end) of an item's media that show in the frames [start, end) of the timeline,
/// from the earliest to the latest, whatever its speed and direction. Empty for an empty range.
FrameRange mediaRange(const Item& item, FrameRange onTimeline);

/// What the time code of a frame of an item's media reads; the bare number when its rate is not
/// known.
std::string mediaTimecode(const Item& item, Frames frame);

}  // namespace reelsweep
