// Reasons as a person reads them.
//
// Thread rule: plain functions.
#pragma once

#include "timeline/SequenceTimecode.h"

#include <string>

namespace reelsweep {

/// The reason of a change, where passes speak of frames ("hidden from 120 to 512"), with the time
/// codes of those frames.
std::string reasonWithTimecode(const std::string& reason, const SequenceTimecode& timecode);

}  // namespace reelsweep
