#include "timeline/NestedSequence.h"

#include "timeline/Picture.h"

namespace reelsweep {

namespace {

// Sequences nested in each other many times over could have holes without number.
constexpr std::size_t mostRanges = 10'000;

std::vector<FrameRange> fullRanges(const Timeline& timeline, bool ignoreFilters) {
    std::vector<FrameRange> ranges;
    const PictureOptions options{.ignoreFilters = ignoreFilters, .keepSlugs = true};
    for (const Interval& interval : picture(timeline, options)) {
        if (interval.contributors.empty() || !interval.contributors.back().covers) continue;
        if (!ranges.empty() && ranges.back().end == interval.range.start)
            ranges.back().end = interval.range.end;
        else if (ranges.size() < mostRanges)
            ranges.push_back(interval.range);
    }
    return ranges;
}

}  // namespace

NestedSequence NestedSequence::of(Timeline timeline) {
    std::vector<FrameRange> full = fullRanges(timeline, false);
    std::vector<FrameRange> fullWithoutFilters = fullRanges(timeline, true);
    return {std::move(timeline), std::move(full), std::move(fullWithoutFilters)};
}

}  // namespace reelsweep
