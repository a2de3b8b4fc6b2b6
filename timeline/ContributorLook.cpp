// Whether two contributors look and sound the same.
#include "timeline/Coverage.h"
#include "timeline/ElementText.h"
#include "timeline/Picture.h"

namespace reelsweep {

namespace {

template <class Key>
bool haveSameFilters(const Contributor& a, const Contributor& b, Key key) {
    const auto areSame = [&](const FilterStack* x, const FilterStack* y) {
        return x == y || key(*x) == key(*y);
    };
    return areSame(a.item->filters, b.item->filters) && areSame(a.track->filters, b.track->filters);
}

// Nested sequences show what they hold, whatever they are called; that is compared elsewhere.
bool mayShowTheSame(const Media& a, const Media& b) {
    return isSameMedia(a, b) || (a.nested && b.nested);
}

// One that stands still shows the same at any source frame, unless its filters move.
bool isMoving(const Contributor& contributor, PictureOptions options) {
    if (contributor.track->type == MediaType::audio) return true;
    const Media& media = contributor.media();
    const bool filtersMove = !options.ignoreFilters && contributor.item->filters->pictureMoves;
    return filtersMove || !(media.isStill || media.isBlack);
}

bool isSameTransition(const Item* a, const Item* b) {
    if (a == b) return true;
    return a && b && a->range == b->range && a->transition->alignment == b->transition->alignment &&
           a->transition->key == b->transition->key;
}

}  // namespace

bool fadesToNothing(const Contributor& contributor) {
    if (!contributor.transition) return false;
    const Transition& transition = *contributor.transition->transition;
    const Item* const other =
        contributor.side == TransitionSide::outgoing ? transition.incoming : transition.outgoing;
    const bool isSound = contributor.track->type == MediaType::audio;
    return other && (!other->enabled || (isSound && other->filters->isSilent));
}

bool showsTheSame(const Contributor& a, const Contributor& b, PictureOptions options) {
    return looksTheSame(a, b, options) && a.media().nested == b.media().nested;
}

bool looksTheSame(const Contributor& a, const Contributor& b, PictureOptions options) {
    if (a.side != b.side || !isSameTransition(a.transition, b.transition)) return false;
    if (a.item == b.item) return true;
    const Item& x = *a.item;
    const Item& y = *b.item;
    if (!mayShowTheSame(*x.media, *y.media) || x.hasPlace() != y.hasPlace()) return false;
    if (isMoving(a, options)) {
        if (x.line != y.line) return false;
        if (!options.ignoreFilters && x.filters != y.filters &&
            x.filters->speed != y.filters->speed)
            return false;
    }
    if (a.track->type == MediaType::audio) {
        return x.sourceChannel == y.sourceChannel &&
               a.track->outputChannel == b.track->outputChannel &&
               (options.ignoreFilters ||
                haveSameFilters(a, b, [](const FilterStack& f) { return f.soundKey; }));
    }
    return equalInAnyCase(x.compositeMode, y.compositeMode) &&
           mayBeTransparent(x) == mayBeTransparent(y) &&
           (options.ignoreFilters ||
            haveSameFilters(a, b, [](const FilterStack& f) { return f.pictureKey; }));
}

}  // namespace reelsweep
