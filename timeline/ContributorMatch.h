// ContributorMatch: whether what two timelines show in a stretch of frames is the same.
//
// Thread rule: one thread at a time; it keeps what it found out about nested sequences.
#pragma once

#include "timeline/Picture.h"

#include <compare>
#include <map>
#include <span>
#include <utility>
#include <vector>

namespace reelsweep {

class ContributorMatch {
public:
    using List = std::span<const Contributor>;

    /// The frames of `range` in which the lists show different things, in time order: none, all, or
    /// those in which nested sequences differ.
    std::vector<FrameRange> unlike(List before, List after, FrameRange range);

    /// The same for what is expected: with `ignoreFilters` as if `expected` had no filters, with
    /// `ignoreTransitions` either of the two sides of a transition may stand.
    std::vector<FrameRange> unlikeExpected(List expected, List after, FrameRange range,
                                           PictureOptions options);

    /// Whether two contributors show the same in all of the range.
    bool areSame(const Contributor& expected, const Contributor& after, FrameRange range,
                 PictureOptions options);

private:
    struct NestedPair {
        const NestedSequence* before;
        const NestedSequence* after;
        MediaType type;
        bool ignoreFilters;
        auto operator<=>(const NestedPair&) const = default;
    };
    using Pairs = std::vector<std::pair<const Contributor*, const Contributor*>>;

    static bool matches(const Contributor& expected, const Contributor& after,
                        PictureOptions options, Pairs& pairs);
    static bool matchPicture(List expected, List after, PictureOptions options, Pairs& pairs);
    using Missing = std::vector<const Contributor*>;
    static Missing::const_iterator counterpart(const Missing& missing, const Contributor& after,
                                               PictureOptions options, Pairs& pairs);
    static bool matchSound(List expected, List after, PictureOptions options, Pairs& pairs);
    std::vector<FrameRange> nestedUnlike(const Pairs& pairs, FrameRange range,
                                         PictureOptions options);
    const std::vector<FrameRange>& nestedDifference(const NestedPair& pair);

    std::map<NestedPair, std::vector<FrameRange>> nested_;
};

}  // namespace reelsweep
