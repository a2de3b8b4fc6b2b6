// Ticks: the finest time that exports count in, 254016000000 in a second. A frame of every usual
// rate lasts a whole number of them.
//
// Thread rule: plain functions.
#pragma once

#include "time/Frames.h"
#include "time/Timecode.h"

#include <cstdint>
#include <optional>

namespace reelsweep {

/// The tick at which a frame of that rate starts, to the nearest tick. Nothing when the rate is not
/// known, or the tick does not fit into 64 bits.
std::optional<std::int64_t> ticksAt(Frames frame, FrameRate rate);

}  // namespace reelsweep
