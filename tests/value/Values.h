// Values as short texts, for tests.
//
//   a picture      "0-90 A@0#  90-110 A@90> B@0<  110-200 B@20#"
//
// Each interval with its contributors from the top down: name, source frame at its start, > for the
// outgoing and < for the incoming side of a transition, # for one that certainly covers.
#pragma once

#include "tests/timeline/Timeline.h"
#include "timeline/DifferenceText.h"
#include "timeline/MediaCatalogue.h"
#include "timeline/PictureDifference.h"

#include <string>
#include <string_view>
#include <vector>

namespace reelsweep::test {

/// The value of a sequence in the notation of tests/timeline.
reelsweep::Timeline valueOf(std::string_view notation);
reelsweep::Timeline valueOf(const Timeline& timeline);

std::string intervalsText(const Intervals& intervals);

/// Each difference as "changed lost [90,100)" or "asked ...".
std::string differencesText(const PictureDifference& difference, MediaType type);

/// One text a frame for the frames [first, end), as tests/plain/PlainPicture.h has them.
std::vector<std::string> frameTexts(const Intervals& intervals, XMLNode document, int first,
                                    int end);

}  // namespace reelsweep::test
