// DifferenceKinds: in which way two lists of contributors differ.
//
// Thread rule: plain functions.
#pragma once

#include "timeline/ContributorMatch.h"
#include "timeline/PictureDifference.h"

namespace reelsweep {

/// What a difference is judged by.
struct Judged {
    /// What should be there: the source's, or the expected picture with what it leaves out.
    std::span<const Contributor> expected;
    PictureOptions options;
    const Timeline& source;
    const Timeline& copy;
    ContributorMatch& match;
};

/// Sets `kind`, `was` and `is` of a difference from what should be there, what is there (`after`),
/// and what else stands in the two timelines at the start of the range.
void classify(Difference& difference, const Judged& judged);

}  // namespace reelsweep
