#include "timeline/FilterStack.h"

#include <algorithm>
#include <cstdint>

namespace reelsweep {

namespace {

// Products of two times and amounts.
__extension__ using Wide = __int128;

// Parts of a whole in which decimal numbers are counted: as fine as editing systems write them.
constexpr std::int64_t parts = 1'000'000;
constexpr std::int64_t largest = INT64_MAX / parts / 1000;

// A decimal number in millionths, rounded toward zero and clamped.
std::int64_t millionths(std::string_view decimal) {
    const bool negative = decimal.substr(0, 1) == "-";
    const std::int64_t whole = std::clamp(leadingFrames(decimal).count, -largest, largest) * parts;
    std::int64_t fraction = 0;
    const std::size_t point = decimal.find('.');
    std::int64_t unit = parts / 10;
    for (std::size_t i = point; i < decimal.size() && ++i < decimal.size() && unit > 0;
         unit /= 10) {
        if (decimal[i] < '0' || decimal[i] > '9') break;
        fraction += (decimal[i] - '0') * unit;
    }
    return negative ? whole - fraction : whole + fraction;
}

// The value at `own` on the line between two keyframes, in frames, rounded down.
Frames between(const Keyframe& a, const Keyframe& b, Frames own) {
    const auto span = static_cast<Wide>(b.when.count) - a.when.count;
    const auto passed = static_cast<Wide>(own.count) - a.when.count;
    const Wide from = millionths(a.value);
    const Wide rise = millionths(b.value) - from;
    const Wide scaled = span == 0 ? from : from + rise * passed / span;
    const Wide frame = scaled / parts - (scaled % parts < 0 ? 1 : 0);
    return {static_cast<std::int64_t>(frame)};
}

}  // namespace

Frames Speed::mediaFrame(Frames own) const {
    if (kind == Kind::remapped) {
        const auto next = std::find_if(keyframes.begin(), keyframes.end(),
                                       [&](const Keyframe& key) { return own <= key.when; });
        if (next == keyframes.end()) return {millionths(keyframes.back().value) / parts};
        return between(next == keyframes.begin() ? *next : *(next - 1), *next, own);
    }
    if (kind == Kind::plain || reversed) return own;
    const Wide scaled = static_cast<Wide>(own.count) * millionths(percent);
    const Wide divisor = Wide{parts} * 100;
    return {static_cast<std::int64_t>(scaled / divisor - (scaled % divisor < 0 ? 1 : 0))};
}

}  // namespace reelsweep
