// A comparison of two timelines as JSON: sums, and each stretch of frames that differs.
//
// Thread rule: plain functions.
#pragma once

#include "timeline/PictureDifference.h"

#include <nlohmann/json_fwd.hpp>

namespace reelsweep {

/// {"frames", "picture": {"same", "asked", "changed"}, "sound": {...}, "differences": [...]}; times
/// are frames of the source and its time codes, ends exclusive.
nlohmann::ordered_json pictureJson(const PictureDifference& difference);

}  // namespace reelsweep
