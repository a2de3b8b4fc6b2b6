// NestedSequence: what a clip shows that plays another sequence.
//
// Owner: the Timeline that holds its definition, or the catalogue. Thread rule: any thread.
#pragma once

#include "timeline/Timeline.h"

#include <vector>

namespace reelsweep {

struct NestedSequence {
    /// Lives as long as the Timeline that it was reached from.
    Timeline timeline;
    /// The frames at which its own picture is certainly full, in time order, parted by frames at
    /// which it may not be. Without filters it is another list.
    std::vector<FrameRange> full;
    std::vector<FrameRange> fullWithoutFilters;

    static NestedSequence of(Timeline timeline);
};

}  // namespace reelsweep
