// Timecode: frame rates, and frames as hours, minutes, seconds and frames.
//
// Thread rule: plain values.
#pragma once

#include "time/Frames.h"

#include <cstdint>
#include <string>

namespace reelsweep {

/// How many frames a second a sequence has: `timebase`, or with `ntsc` 1000/1001 of it.
struct FrameRate {
    std::int64_t timebase = 0;
    bool ntsc = false;

    /// False when the file says none, or none that a time code can be counted in.
    bool known() const { return timebase > 0 && timebase <= 1'000'000; }
};

/// "25", "29.97", "23.976"; empty when it is not known.
std::string description(FrameRate rate);

/// A number of frames as hours, minutes, seconds and frames: "01:00:04:12". With `dropFrame`, which
/// only rates of 29.97 and 59.94 have, the frame numbers that keep the time code with the clock are
/// left out, and the frames follow a semicolon: "01:00:00;02". Empty when the rate is not known.
std::string timecode(Frames length, FrameRate rate, bool dropFrame);

}  // namespace reelsweep
