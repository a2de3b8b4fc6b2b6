#include "timeline/ItemPlaces.h"

#include "timeline/ElementText.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace reelsweep {

namespace {

// One that ends before it starts says nothing about its neighbours.
bool isPlacedTransition(const Item& item) {
    return item.kind == ItemKind::transition && item.hasPlace() &&
           item.range.start <= item.range.end;
}

EdgePlace placeOf(const std::optional<Frames>& written) {
    if (!written) return EdgePlace::nowhere;
    return *written == edgeInTransition ? EdgePlace::inTransition : EdgePlace::own;
}

// How many of a clip's frames run in a frame of the sequence, as a fraction without common factor.
SourceLine lineOf(FrameRate clip, FrameRate sequence) {
    SourceLine line;
    const bool isSame = clip.timebase == sequence.timebase && clip.ntsc == sequence.ntsc;
    if (isSame || !clip.known() || !sequence.known()) return line;
    line.step = clip.timebase * (clip.ntsc ? 1000 : 1001);
    line.divisor = sequence.timebase * (sequence.ntsc ? 1000 : 1001);
    const std::int64_t common = std::gcd(line.step, line.divisor);
    line.step /= common;
    line.divisor /= common;
    return line;
}

// Files may hold any number: products wrap around instead of being undefined.
std::int64_t product(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

// How many frames of the sequence the source range lasts, rounded up.
Frames sourceLength(const Item& item) {
    const std::int64_t length = (item.source.end - item.source.start).count;
    if (length <= 0) return {};
    const std::int64_t scaled = product(length, item.line.divisor);
    return {scaled / item.line.step + (scaled % item.line.step > 0 ? 1 : 0)};
}

// The edge that `in` belongs to stands at its own place, or at the start of its transition.
void placeStart(Item& item, const Item* before) {
    const Item* const transition = before && isPlacedTransition(*before) ? before : nullptr;
    if (item.startPlace == EdgePlace::inTransition) {
        if (transition)
            item.range.start = transition->range.start;
        else
            item.startPlace = EdgePlace::nowhere;
        item.fadesIn = transition;
    } else if (item.startPlace == EdgePlace::own && transition &&
               transition->range.start <= item.range.start &&
               item.range.start < transition->range.end) {
        item.fadesIn = transition;
    }
}

void placeEnd(Item& item, const Item* after) {
    const Item* const transition = after && isPlacedTransition(*after) ? after : nullptr;
    if (item.endPlace == EdgePlace::inTransition) {
        if (transition)
            item.range.end = transition->range.end;
        else
            item.endPlace = EdgePlace::nowhere;
        item.fadesOut = transition;
    } else if (item.endPlace == EdgePlace::own && transition &&
               transition->range.start < item.range.end &&
               item.range.end <= transition->range.end) {
        item.fadesOut = transition;
    }
}

// Edges that nothing places lie as far from the other one as the source range is long.
void guessPlaces(Item& item) {
    const bool startIsKnown = item.startPlace != EdgePlace::nowhere;
    const bool endIsKnown = item.endPlace != EdgePlace::nowhere;
    if (!startIsKnown && !endIsKnown) item.range = {};
    if (!startIsKnown && endIsKnown) item.range.start = item.range.end - sourceLength(item);
    if (startIsKnown && !endIsKnown) item.range.end = item.range.start + sourceLength(item);
}

// Where the cut stands that a transition is about.
Frames cutOf(const Item& transition) {
    const FrameRange range = transition.range;
    switch (transition.transition->alignment) {
        case Alignment::start:
        case Alignment::startBlack: return range.start;
        case Alignment::end:
        case Alignment::endBlack: return range.end;
        case Alignment::center:
        case Alignment::unknown: break;
    }
    if (!transition.transition->outgoing) return range.start;
    if (!transition.transition->incoming) return range.end;
    return range.start + (range.end - range.start).half();
}

// `items` know their transitions; now the transitions get to know them.
void joinToTransitions(std::span<Item> items) {
    for (Item& item : items) {
        // The transitions stand among the items, which are the caller's.
        if (item.fadesIn) const_cast<Transition*>(item.fadesIn->transition)->incoming = &item;
        if (item.fadesOut) const_cast<Transition*>(item.fadesOut->transition)->outgoing = &item;
    }
    for (Item& item : items) {
        item.cut = item.range;
        const Item* const in = item.fadesIn;
        const Item* const out = item.fadesOut;
        if (in && item.startPlace == EdgePlace::inTransition) item.cut.start = cutOf(*in);
        if (out && item.endPlace == EdgePlace::inTransition) item.cut.end = cutOf(*out);
        // Between two clips with edges of their own, each is longer than it says: the transition
        // needs the rest.
        if (in && item.startPlace == EdgePlace::own && in->transition->outgoing)
            item.range.start = in->range.start;
        if (out && item.endPlace == EdgePlace::own && out->transition->incoming)
            item.range.end = out->range.end;
    }
}

}  // namespace

Alignment alignmentOf(std::string_view text) {
    if (text == "center") return Alignment::center;
    if (text == "start") return Alignment::start;
    if (text == "end") return Alignment::end;
    if (text == "start-black") return Alignment::startBlack;
    if (text == "end-black") return Alignment::endBlack;
    return Alignment::unknown;
}

void setWrittenEdges(Item& item, XMLNode start, XMLNode end) {
    const std::optional<Frames> first = framesIn(start);
    const std::optional<Frames> last = framesIn(end);
    item.startPlace = placeOf(first);
    item.endPlace = placeOf(last);
    item.range = {first.value_or(Frames{}), last.value_or(Frames{})};
    if (item.kind == ItemKind::transition) {
        // Nothing stands beside a transition that could place it.
        if (item.startPlace == EdgePlace::inTransition) item.startPlace = EdgePlace::nowhere;
        if (item.endPlace == EdgePlace::inTransition) item.endPlace = EdgePlace::nowhere;
    }
}

void placeItems(std::span<Item> items, FrameRate sequenceRate) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        Item& item = items[i];
        item.line = lineOf(item.rate, sequenceRate);
        if (item.kind != ItemKind::transition) {
            placeStart(item, i > 0 ? &items[i - 1] : nullptr);
            placeEnd(item, i + 1 < items.size() ? &items[i + 1] : nullptr);
        }
        guessPlaces(item);
        const Frames in = item.source.start + item.subclipStart;
        item.line.offset = (Frames{product(in.count, item.line.divisor)} -
                            Frames{product(item.range.start.count, item.line.step)})
                               .count;
    }
    joinToTransitions(items);
}

Frames SourceLine::at(Frames frame) const {
    const std::int64_t scaled = (Frames{offset} + Frames{product(frame.count, step)}).count;
    const std::int64_t whole = scaled / divisor;
    return {scaled % divisor < 0 ? whole - 1 : whole};
}

FrameRange SourceLine::placeOf(FrameRange own) const {
    const SourceLine back{(Frames{} - Frames{offset}).count, divisor, step};
    const auto firstAt = [&](Frames frame) {
        const Frames roundedDown = back.at(frame);
        return roundedDown + Frames{at(roundedDown) < frame ? 1 : 0};
    };
    return {firstAt(own.start), firstAt(own.end)};
}

std::vector<FrameRange> SourceLine::onTimeline(std::span<const FrameRange> own,
                                               FrameRange range) const {
    if (range.end <= range.start) return {};
    const Frames first = at(range.start);
    const Frames last = at(range.end - Frames{1});
    constexpr Frames largest{std::numeric_limits<std::int64_t>::max()};
    if (last < first) {
        // Times at the ends of what numbers hold: the clip's own frames wrap around on the way.
        const Frames wrap = placeOf({largest, largest}).start + Frames{1};
        if (wrap <= range.start || range.end <= wrap) return {range};
        std::vector<FrameRange> places = onTimeline(own, {range.start, wrap});
        const std::vector<FrameRange> after = onTimeline(own, {wrap, range.end});
        places.insert(places.end(), after.begin(), after.end());
        return places;
    }
    std::vector<FrameRange> places;
    auto next = std::partition_point(own.begin(), own.end(),
                                     [&](const FrameRange& r) { return r.end <= first; });
    for (; next != own.end() && next->start <= last; ++next) {
        // Only what the clip reaches: the rest may lie beyond all numbers on the timeline.
        const FrameRange place = placeOf(
            {std::max(next->start, first), next->end <= last ? next->end : last + Frames{1}});
        const FrameRange here{std::max(range.start, place.start), std::min(range.end, place.end)};
        if (here.start < here.end) places.push_back(here);
    }
    return places;
}

}  // namespace reelsweep
