// What the proof of a run says in a line.
//
// Thread rule: plain functions, after the run.
#pragma once

#include "timeline/ChangeLedger.h"
#include "timeline/PictureDifference.h"

#include <string>
#include <vector>

namespace reelsweep {

/// "40 of 16,518 frames show another picture", "... have another sound": what has changed unasked;
/// empty when nothing has, or nobody looked.
std::string pictureChangeText(const SequenceLedger& sequence);

/// What has changed unasked, stretch by stretch; the ledger owns it.
std::vector<const Difference*> unaskedDifferences(const SequenceLedger& sequence);

/// "108,000 of 108,000 frames show the same picture" over all sequences that were looked at, with
/// what was asked to change: "..., 120 another as asked". Empty when none was.
std::string pictureSumText(const ChangeLedger& ledger);

}  // namespace reelsweep
