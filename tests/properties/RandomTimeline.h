// Random timelines in the notation of tests/timeline: ordinary ones and malformed ones.
#pragma once

#include <cstdint>
#include <string>

namespace reelsweep::test {

/// The same seed gives the same timeline, on every machine. Every third or so is malformed: times
/// that are missing, are no numbers or run backwards, items out of order or twice, comments and
/// settings between items, edges of -1 without a transition.
std::string randomTimeline(std::uint64_t seed);

}  // namespace reelsweep::test
