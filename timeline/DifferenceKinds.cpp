#include "timeline/DifferenceKinds.h"

#include <algorithm>
#include <array>
#include <vector>

namespace reelsweep {

namespace {

using Contributors = std::vector<const Contributor*>;

// What only one of the two lists has.
struct Unmatched {
    Contributors before;
    Contributors after;
};

Unmatched unmatched(const Judged& judged, const Difference& difference) {
    Unmatched rest;
    std::vector<const Item*> closed;  // transitions of which one side stands
    for (const Contributor& contributor : difference.after) rest.after.push_back(&contributor);
    for (const Contributor& contributor : judged.expected) {
        const auto same =
            std::find_if(rest.after.begin(), rest.after.end(), [&](const Contributor* other) {
                return judged.match.areSame(contributor, *other, difference.range, judged.options);
            });
        if (same == rest.after.end()) {
            rest.before.push_back(&contributor);
        } else {
            if (judged.options.ignoreTransitions) closed.push_back(contributor.transition);
            rest.after.erase(same);
        }
    }
    std::erase_if(rest.before, [&](const Contributor* contributor) {
        return contributor->transition &&
               std::find(closed.begin(), closed.end(), contributor->transition) != closed.end();
    });
    return rest;
}

const Contributor* sameMediaIn(const Contributors& list, const Contributor& contributor) {
    const auto found = std::find_if(list.begin(), list.end(), [&](const Contributor* other) {
        return isSameMedia(other->media(), contributor.media());
    });
    return found == list.end() ? nullptr : *found;
}

bool isSameClip(const Item& a, const Item& b) {
    return a.media && b.media && isSameMedia(*a.media, *b.media) && a.line == b.line;
}

// Whether the timeline has this clip at that frame, shown or not. Tracks whose items are out of
// order may keep one from being found.
bool stands(const Item& item, const Timeline& timeline, MediaType type, Frames frame,
            bool onlyEnabled) {
    for (const Track& track : timeline.tracks(type)) {
        if (onlyEnabled && !track.enabled) continue;
        auto found = std::partition_point(
            track.items.begin(), track.items.end(),
            [&](const Item& candidate) { return candidate.range.end <= frame; });
        // Two sides of a transition overlap, with the transition between them.
        for (int looked = 0; found != track.items.end() && looked < 3; ++found, ++looked)
            if (found->range.start <= frame && frame < found->range.end &&
                (found->enabled || !onlyEnabled) && isSameClip(*found, item))
                return true;
    }
    return false;
}

bool runsInSync(const Contributor& a, const Contributor& b, PictureOptions options) {
    return a.item->line == b.item->line &&
           (options.ignoreFilters || a.item->filters->speed == b.item->filters->speed);
}

bool playsIn(const Item& transition, std::span<const Contributor> list) {
    return std::any_of(list.begin(), list.end(), [&](const Contributor& contributor) {
        return contributor.transition && contributor.transition->range == transition.range;
    });
}

const Contributor* otherSideOf(const Contributor& side, const Contributors& list) {
    const auto found = std::find_if(list.begin(), list.end(), [&](const Contributor* other) {
        return side.transition && other->transition == side.transition && other->side != side.side;
    });
    return found == list.end() ? nullptr : *found;
}

struct Verdict {
    DifferenceKind kind;
    const Contributor* was;
    const Contributor* is;
};

const Contributor* firstInTransition(std::span<const Contributor> list) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [](const Contributor& c) { return c.transition != nullptr; });
    return found == list.end() ? nullptr : &*found;
}

Contributors pointersTo(std::span<const Contributor> list) {
    Contributors pointers;
    for (const Contributor& contributor : list) pointers.push_back(&contributor);
    return pointers;
}

const Contributor* first(std::span<const Contributor> list) {
    return list.empty() ? nullptr : &list.front();
}

// A clip that should be there, and what there is of its media.
Verdict judgeSameMedia(const Contributor& was, const Contributor& is, PictureOptions options) {
    using Kind = DifferenceKind;
    if (!runsInSync(was, is, options)) return {Kind::otherSourceFrame, &was, &is};
    if (was.media().nested != is.media().nested) return {Kind::otherMedia, &was, &is};
    const bool isPlain = was.side == is.side && !was.transition && !is.transition;
    return {isPlain ? Kind::otherLook : Kind::transition, &was, &is};
}

Verdict judge(const Difference& difference, const Judged& judged) {
    using Kind = DifferenceKind;
    const Unmatched rest = unmatched(judged, difference);
    const auto nowhere = std::find_if(rest.after.begin(), rest.after.end(),
                                      [](const Contributor* c) { return !c->item->hasPlace(); });
    if (nowhere != rest.after.end())
        return {Kind::edgeWithoutPlace, sameMediaIn(rest.before, **nowhere), *nowhere};
    const Frames at = difference.range.start;
    const Contributor* const is = rest.after.empty() ? nullptr : rest.after.front();
    const bool wasThere = is && stands(*is->item, judged.source, difference.type, at, false);
    if (rest.before.empty()) {
        if (is) return {wasThere ? Kind::revealed : Kind::added, nullptr, is};
        // A dissolve whose both sides stand, but not as one.
        if (const Contributor* const side = firstInTransition(judged.expected))
            return {Kind::transition, side, sameMediaIn(pointersTo(difference.after), *side)};
        // The same clips: in another order, or all of them under another filter.
        const bool isSameOrder =
            std::equal(judged.expected.begin(), judged.expected.end(), difference.after.begin(),
                       difference.after.end(), [&](const Contributor& a, const Contributor& b) {
                           return judged.match.areSame(a, b, difference.range, {});
                       });
        return {isSameOrder ? Kind::otherLook : Kind::otherOrder, first(judged.expected),
                first(difference.after)};
    }
    const Contributor* const was = rest.before.front();
    if (const Contributor* const same = sameMediaIn(rest.after, *was))
        return judgeSameMedia(*was, *same, judged.options);
    if (was->transition && playsIn(*was->transition, difference.after))
        return {Kind::transition, was, is};
    if (const Contributor* const other = otherSideOf(*was, rest.before)) {
        const Contributor* const stands = sameMediaIn(rest.after, *other);
        if (stands && runsInSync(*other, *stands, judged.options))
            return {Kind::transition, other, stands};
    }
    // Sounds do not hide one another.
    if (difference.type == MediaType::audio) return {Kind::lost, was, nullptr};
    const bool isHidden = stands(*was->item, judged.copy, difference.type, at, true);
    if (is && isHidden) return {wasThere ? Kind::revealed : Kind::added, was, is};
    return {is && !wasThere ? Kind::otherMedia : Kind::lost, was, is};
}

}  // namespace

void classify(Difference& difference, const Judged& judged) {
    const Verdict verdict = judge(difference, judged);
    difference.kind = verdict.kind;
    if (verdict.was) difference.was = *verdict.was;
    if (verdict.is) difference.is = *verdict.is;
}

std::string_view description(DifferenceKind kind) {
    constexpr std::array<std::string_view, differenceKindCount> words = {
        "lost",       "revealed",    "added",      "other media",       "other source frame",
        "other look", "other order", "transition", "edge without place"};
    return words[static_cast<std::size_t>(kind)];
}

}  // namespace reelsweep
