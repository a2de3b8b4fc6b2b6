// Walking two lists of intervals at once.
#pragma once

#include "timeline/Picture.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace reelsweep {

/// Calls visit(range, a's contributors, b's contributors) for every stretch of frames in which
/// neither changes, in time order, as long as one of them shows something. O(intervals of both).
template <class Visit>
void forEachStretch(std::span<const Interval> a, std::span<const Interval> b, Visit visit) {
    std::size_t i = 0;
    std::size_t j = 0;
    Frames at{std::numeric_limits<std::int64_t>::min()};
    while (i < a.size() || j < b.size()) {
        FrameRange range{at, {std::numeric_limits<std::int64_t>::max()}};
        std::span<const Contributor> shown[2];
        // Ends the stretch where the list's interval begins or ends.
        const auto take = [&](std::span<const Interval> list, std::size_t index, int which) {
            if (index == list.size()) return;
            const Interval& interval = list[index];
            if (interval.range.start > at) {
                range.end = std::min(range.end, interval.range.start);
            } else {
                range.end = std::min(range.end, interval.range.end);
                shown[which] = interval.contributors;
            }
        };
        take(a, i, 0);
        take(b, j, 1);
        if (!shown[0].empty() || !shown[1].empty()) visit(range, shown[0], shown[1]);
        at = range.end;
        while (i < a.size() && a[i].range.end <= at) ++i;
        while (j < b.size() && b[j].range.end <= at) ++j;
    }
}

/// The intervals of a list that touch a range, cut to it.
template <class Visit>
void forEachWithin(std::span<const Interval> list, FrameRange range, Visit visit) {
    auto interval = std::partition_point(list.begin(), list.end(), [&](const Interval& candidate) {
        return candidate.range.end <= range.start;
    });
    Frames at = range.start;
    for (; interval != list.end() && interval->range.start < range.end; ++interval) {
        const FrameRange cut{std::max(at, interval->range.start),
                             std::min(range.end, interval->range.end)};
        // Before the first interval and after the last nothing is shown.
        if (at < cut.start) visit(FrameRange{at, cut.start}, std::span<const Contributor>());
        visit(cut, interval->contributors);
        at = cut.end;
    }
    if (at < range.end) visit(FrameRange{at, range.end}, std::span<const Contributor>());
}

}  // namespace reelsweep
