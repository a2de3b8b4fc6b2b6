#include "tidy/ChangesByTime.h"

#include <algorithm>
#include <utility>

namespace reelsweep {

namespace {

std::size_t middleOf(std::size_t first, std::size_t last) { return first + (last - first) / 2; }

}  // namespace

ChangesByTime::ChangesByTime(std::vector<Touched> touched) : touched_(std::move(touched)) {
    std::sort(touched_.begin(), touched_.end(),
              [](const Touched& a, const Touched& b) { return a.range.start < b.range.start; });
    reach_.resize(touched_.size());
    if (!touched_.empty()) measure(0, touched_.size());
}

Frames ChangesByTime::measure(std::size_t first, std::size_t last) {
    const std::size_t root = middleOf(first, last);
    Frames& reach = reach_[root];
    reach = touched_[root].range.end;
    if (first < root) reach = std::max(reach, measure(first, root));
    if (root + 1 < last) reach = std::max(reach, measure(root + 1, last));
    return reach;
}

std::vector<std::size_t> ChangesByTime::in(FrameRange range) const {
    std::vector<std::size_t> found;
    collect(0, touched_.size(), range, found);
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

void ChangesByTime::collect(std::size_t first, std::size_t last, FrameRange range,
                            std::vector<std::size_t>& found) const {
    if (first >= last) return;
    const std::size_t root = middleOf(first, last);
    if (reach_[root] <= range.start) return;
    collect(first, root, range, found);
    const Touched& touched = touched_[root];
    if (touched.range.start >= range.end) return;
    if (touched.range.end > range.start) found.push_back(touched.change);
    collect(root + 1, last, range, found);
}

}  // namespace reelsweep
