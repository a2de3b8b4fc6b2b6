// DifferenceText: what differs, in words that an editor finds again in the timeline.
//
// Thread rule: plain functions.
#pragma once

#include "timeline/CutDifference.h"
#include "timeline/PictureDifference.h"

#include <string>

namespace reelsweep {

/// "108,000 of 108,000 frames show the same picture", "... have the same sound".
std::string sumText(const PictureDifference& difference, MediaType type);

/// One line. The second time code is that of the first frame after the range, as in an edit list:
///   "01:00:21:07 to 01:00:22:19, V1: 203_04_shot_39a.mov, source 00:00:03:10, was visible; now
///    black"
std::string differenceText(const Difference& difference, const SequenceTimecode& timecode);

/// "V1: 203_04_shot_39a.mov, source 00:00:03:10": a contributor at a frame of the timeline.
std::string contributorText(const Contributor& contributor, Frames frame);

/// The time code of an item's media at one of the clip's own frames.
std::string sourceTimecode(const Item& item, Frames own);

/// One line for a change between two cuts, with the record time codes of the clip:
///   "01:00:04:12 to 01:00:05:22, V1: A.mov, source 00:00:03:10, trimmed: starts 12 frames later"
std::string cutChangeText(const CutDifference& difference, const CutChange& change);

/// A number with its thousands parted: "108,000".
std::string groupedNumber(Frames number);

}  // namespace reelsweep
