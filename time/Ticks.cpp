#include "time/Ticks.h"

#include <limits>

namespace reelsweep {

namespace {

// Products of a time and a number of ticks.
__extension__ using Wide = __int128;

constexpr Wide ticksInASecond = 254'016'000'000;

}  // namespace

std::optional<std::int64_t> ticksAt(Frames frame, FrameRate rate) {
    if (!rate.known()) return std::nullopt;
    // With `ntsc`, timebase frames last 1.001 seconds.
    const Wide scaled = ticksInASecond * frame.count * (rate.ntsc ? 1001 : 1000);
    const Wide divisor = Wide{rate.timebase} * 1000;
    const Wide half = divisor / 2;
    const Wide ticks = (scaled < 0 ? scaled - half : scaled + half) / divisor;
    using Limits = std::numeric_limits<std::int64_t>;
    if (ticks > Limits::max() || ticks < Limits::min()) return std::nullopt;
    return static_cast<std::int64_t>(ticks);
}

}  // namespace reelsweep
