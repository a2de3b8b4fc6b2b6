#include "timeline/ContributorMatch.h"

#include "timeline/IntervalPairs.h"
#include "timeline/NestedSequence.h"

#include <algorithm>

namespace reelsweep {

namespace {

using List = ContributorMatch::List;

bool areBothSides(const Contributor& a, const Contributor& b) {
    return a.transition && a.transition == b.transition && a.side != b.side;
}

// The number of contributors at the front of the list that share one place: two sides of a
// transition, or one.
std::size_t sidesAtFront(List list, PictureOptions options) {
    return options.ignoreTransitions && list.size() > 1 && areBothSides(list[0], list[1]) ? 2 : 1;
}

bool hasNoFilters(const Contributor& contributor) {
    const FilterStack& own = *contributor.item->filters;
    const FilterStack& track = *contributor.track->filters;
    if (contributor.track->type == MediaType::video)
        return own.pictureKey.empty() && track.pictureKey.empty() &&
               own.speed.kind == Speed::Kind::plain;
    return own.soundKey.empty() && track.soundKey.empty() && own.speed.kind == Speed::Kind::plain;
}

// What a side of a dissolve is when the dissolve is gone.
Contributor withoutTransition(Contributor contributor) {
    contributor.side = TransitionSide::none;
    contributor.transition = nullptr;
    return contributor;
}

// Whether a list may show nothing but black once its transitions are closed.
bool mayBeBlack(List list, PictureOptions options) {
    while (!list.empty()) {
        const std::size_t sides = sidesAtFront(list, options);
        const auto isBlack = [&](const Contributor& contributor) {
            const Item& item = *contributor.item;
            return item.media->isBlack && item.compositeMode.empty() &&
                   (options.ignoreFilters || item.filters->pictureKey.empty());
        };
        const auto front = list.first(sides);
        const auto black = std::find_if(front.begin(), front.end(), isBlack);
        if (black == front.end() && !fadesToNothing(front[0])) return false;
        if (black != front.end() && black->covers) return true;
        list = list.subspan(sides);
    }
    return true;
}

// Adds a range to those before it.
void append(std::vector<FrameRange>& ranges, FrameRange range) {
    if (range.end <= range.start) return;
    if (!ranges.empty() && ranges.back().end >= range.start)
        ranges.back().end = std::max(ranges.back().end, range.end);
    else
        ranges.push_back(range);
}

std::vector<FrameRange> united(std::vector<FrameRange> ranges) {
    std::sort(ranges.begin(), ranges.end(),
              [](FrameRange a, FrameRange b) { return a.start < b.start; });
    std::vector<FrameRange> result;
    for (const FrameRange range : ranges) append(result, range);
    return result;
}

}  // namespace

bool ContributorMatch::matches(const Contributor& expected, const Contributor& after,
                               PictureOptions options, Pairs& pairs) {
    if (options.ignoreFilters && !hasNoFilters(after)) return false;
    const bool isClosed = options.ignoreTransitions && after.side == TransitionSide::none;
    if (!looksTheSame(isClosed ? withoutTransition(expected) : expected, after, options))
        return false;
    if (expected.media().nested != after.media().nested) pairs.emplace_back(&expected, &after);
    return true;
}

bool ContributorMatch::matchPicture(List expected, List after, PictureOptions options,
                                    Pairs& pairs) {
    while (!expected.empty()) {
        // Nothing is left in the copy: only black may still be expected.
        if (after.empty()) return options.ignoreTransitions && mayBeBlack(expected, options);
        const List front = expected.first(sidesAtFront(expected, options));
        const bool areBothThere =
            front.size() == 2 && after.size() > 1 && areBothSides(after[0], after[1]);
        const List candidates = areBothThere ? front.first(1) : front;
        const bool stands = std::any_of(candidates.begin(), candidates.end(), [&](const auto& c) {
            return matches(c, after[0], options, pairs);
        });
        // Where the other side is disabled, nothing may stand in its place.
        const bool mayBeGone = options.ignoreTransitions && fadesToNothing(front[0]);
        if (!stands && !mayBeGone) return false;
        expected = expected.subspan(candidates.size());
        if (!stands) continue;
        // The side that stands hides what shows below the other one.
        const bool isClosed = options.ignoreTransitions && after[0].side == TransitionSide::none;
        if (isClosed && after[0].covers) return after.size() == 1;
        after = after.subspan(1);
    }
    return after.empty();
}

// Of several that sound alike, the one of the same name is meant, and rather one that stood alone
// before than one that faded.
ContributorMatch::Missing::const_iterator ContributorMatch::counterpart(const Missing& missing,
                                                                        const Contributor& after,
                                                                        PictureOptions options,
                                                                        Pairs& pairs) {
    for (const bool isOfSameName : {true, false})
        for (const bool isOnSameSide : {true, false}) {
            const auto found = std::find_if(missing.begin(), missing.end(), [&](const auto* c) {
                return (!isOnSameSide || c->side == after.side) &&
                       (!isOfSameName || isSameMedia(c->media(), after.media())) &&
                       matches(*c, after, options, pairs);
            });
            if (found != missing.end()) return found;
        }
    return missing.end();
}

// Sounds have no layers: each must be found, whatever the order.
bool ContributorMatch::matchSound(List expected, List after, PictureOptions options, Pairs& pairs) {
    Missing missing;
    for (const Contributor& contributor : expected) missing.push_back(&contributor);
    std::vector<const Item*> closed;
    for (const Contributor& contributor : after) {
        const auto found = counterpart(missing, contributor, options, pairs);
        if (found == missing.end()) return false;
        if (const Item* const transition = (*found)->transition;
            transition && contributor.side == TransitionSide::none) {
            // Of a closed transition one side stands, never both at once.
            if (std::find(closed.begin(), closed.end(), transition) != closed.end()) return false;
            closed.push_back(transition);
        }
        missing.erase(found);
    }
    return std::all_of(missing.begin(), missing.end(), [&](const Contributor* contributor) {
        // A silent clip may go, whether its level does or not.
        if (options.ignoreFilters && contributor->item->filters->isSilent) return true;
        if (options.ignoreTransitions && fadesToNothing(*contributor)) return true;
        return std::find(closed.begin(), closed.end(), contributor->transition) != closed.end();
    });
}

std::vector<FrameRange> ContributorMatch::unlike(List before, List after, FrameRange range) {
    Pairs pairs;
    bool isSame = before.size() == after.size();
    for (std::size_t i = 0; isSame && i < before.size(); ++i)
        isSame = matches(before[i], after[i], {}, pairs);
    std::vector<FrameRange> unlike = isSame ? nestedUnlike(pairs, range, {}) : std::vector{range};
    const bool isSound = !before.empty() && before[0].track->type == MediaType::audio;
    if (unlike.empty() || !isSound) return unlike;
    // They may stand in another order.
    pairs.clear();
    return matchSound(before, after, {}, pairs) ? nestedUnlike(pairs, range, {}) : unlike;
}

std::vector<FrameRange> ContributorMatch::unlikeExpected(List expected, List after,
                                                         FrameRange range, PictureOptions options) {
    Pairs pairs;
    const List either = expected.empty() ? after : expected;
    if (either.empty()) return {};
    const bool isSame = either[0].track->type == MediaType::video
                            ? matchPicture(expected, after, options, pairs)
                            : matchSound(expected, after, options, pairs);
    return isSame ? nestedUnlike(pairs, range, options) : std::vector{range};
}

bool ContributorMatch::areSame(const Contributor& expected, const Contributor& after,
                               FrameRange range, PictureOptions options) {
    Pairs pairs;
    return matches(expected, after, options, pairs) && nestedUnlike(pairs, range, options).empty();
}

std::vector<FrameRange> ContributorMatch::nestedUnlike(const Pairs& pairs, FrameRange range,
                                                       PictureOptions options) {
    std::vector<FrameRange> ranges;
    for (const auto& [before, after] : pairs) {
        const NestedPair pair{before->media().nested, after->media().nested, before->track->type,
                              options.ignoreFilters};
        const std::vector<FrameRange>& differing = nestedDifference(pair);
        if (differing.empty()) continue;
        const bool isPlain = after->item->filters->speed.kind == Speed::Kind::plain;
        if (!isPlain) return {range};
        const auto places = after->item->line.onTimeline(differing, range);
        ranges.insert(ranges.end(), places.begin(), places.end());
    }
    return ranges.empty() ? ranges : united(std::move(ranges));
}

const std::vector<FrameRange>& ContributorMatch::nestedDifference(const NestedPair& pair) {
    if (const auto known = nested_.find(pair); known != nested_.end()) return known->second;
    std::vector<FrameRange> differing;
    const PictureOptions options{.ignoreFilters = pair.ignoreFilters, .keepSlugs = true};
    const Intervals before(pair.before->timeline, pair.type, allFrames, options);
    const Intervals after(pair.after->timeline, pair.type, allFrames, {.keepSlugs = true});
    forEachStretch(before.list(), after.list(), [&](FrameRange range, List a, List b) {
        const std::vector<FrameRange> found =
            pair.ignoreFilters ? unlikeExpected(a, b, range, options) : unlike(a, b, range);
        for (const FrameRange part : found) append(differing, part);
    });
    return nested_.emplace(pair, std::move(differing)).first->second;
}

}  // namespace reelsweep
