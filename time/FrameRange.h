// FrameRange: a stretch of time on a timeline.
#pragma once

#include "time/Frames.h"

namespace reelsweep {

/// Frames [start, end), end exclusive; -1 where a group runs off its track.
struct FrameRange {
    Frames start;
    Frames end;

    bool operator==(const FrameRange&) const = default;
};

}  // namespace reelsweep
