// Frames: a time on a timeline, in frames of the sequence's timebase. An integer, never a float.
//
// Ranges of frames are half-open: the start is in the range, the end is not. An edge that lies
// inside a transition is written as -1 in the files; `edgeInTransition` names it.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace reelsweep {

struct Frames {
    std::int64_t count = 0;

    constexpr auto operator<=>(const Frames&) const = default;

    // Files may hold any number; sums wrap around instead of being undefined.
    constexpr Frames operator+(Frames other) const {
        return {static_cast<std::int64_t>(static_cast<std::uint64_t>(count) +
                                          static_cast<std::uint64_t>(other.count))};
    }
    constexpr Frames operator-(Frames other) const {
        return {static_cast<std::int64_t>(static_cast<std::uint64_t>(count) -
                                          static_cast<std::uint64_t>(other.count))};
    }
    /// Half the length, rounded down; for lengths of 0 or more.
    constexpr Frames half() const { return {count / 2}; }

    std::string text() const { return std::to_string(count); }
};

inline constexpr Frames edgeInTransition{-1};
/// How files write an edge inside a transition.
inline constexpr std::string_view edgeInTransitionText = "-1";

inline std::string description(Frames frames) { return frames.text(); }

/// The integer at the front of a text, after white space and with an optional sign, clamped to 64
/// bits; 0 when there is none. "1055.0" reads as 1055.
Frames leadingFrames(std::string_view text);

/// A text as XPath's number() reads it: "+5", "12x" and an empty text are not a number (NaN).
double xpathNumber(std::string_view text);

}  // namespace reelsweep
