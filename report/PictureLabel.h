// What stands on a clip of a drawn timeline.
//
// Thread rule: plain functions.
#pragma once

#include "report/TimelinePicture.h"

#include <string>

namespace reelsweep {

/// The clip's name, and for one that has moved where to or from: "Insert → V1".
std::string clipLabel(const TimelinePicture& picture, ClipPlace place);

/// "9 removed, 3 moved", "nothing changes": what became of the clips.
std::string fateSummary(const TimelinePicture& picture);

}  // namespace reelsweep
