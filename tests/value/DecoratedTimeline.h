// Random timelines whose clips have media, speeds and modes.
#pragma once

#include <cstdint>
#include <string>

namespace reelsweep::test {

/// A timeline of RandomTimeline.h with what decides over the picture added: files with sizes and
/// alpha, stills, nested sequences, speeds, colour filters, keyframes, disabled tracks, channels.
std::string decoratedTimeline(std::uint64_t seed);

}  // namespace reelsweep::test
