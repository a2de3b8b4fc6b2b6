#include "timeline/SequencePlaces.h"

#include "timeline/ElementText.h"
#include "timeline/ItemPlaces.h"
#include "timeline/Vocabulary.h"

namespace reelsweep {

namespace {

bool hasTimeRemap(XMLNode item) {
    for (const XMLNode filter : childrenNamed(item, "filter"))
        if (equalInAnyCase(childText(filter.child("effect"), "effectid"), "timeremap")) return true;
    return false;
}

FrameRate readRate(XMLNode rate) {
    const auto [timebase, ntsc] = rate.firstChildren({"timebase", "ntsc"});
    return {leadingFrames(elementText(timebase)).count, isTrue(elementText(ntsc))};
}

// The leading integer of a text that has none is no time of the source.
ItemTimes timesOf(XMLNode start, XMLNode end, XMLNode in, XMLNode out) {
    const auto edge = [](XMLNode element) {
        return element ? std::optional(framesOf(element)) : std::nullopt;
    };
    const auto time = [&](XMLNode element) {
        return framesIn(element) ? edge(element) : std::nullopt;
    };
    return {edge(start), edge(end), time(in), time(out)};
}

}  // namespace

FrameRange PlacedItem::sourcePlace() const {
    return {item->startPlace == EdgePlace::own ? times.start.value_or(Frames{}) : item->range.start,
            item->endPlace == EdgePlace::own ? times.end.value_or(Frames{}) : item->range.end};
}

FrameRange PlacedItem::body() const {
    FrameRange body = sourcePlace();
    const Item* const in = item->fadesIn;
    const Item* const out = item->fadesOut;
    if (in && item->startPlace == EdgePlace::inTransition) body.start = in->range.end;
    if (out && item->endPlace == EdgePlace::inTransition) body.end = out->range.start;
    return body;
}

bool PlacedItem::lengthsAgree(FrameRate sequenceRate) const {
    const bool sameRate =
        item->rate.timebase == sequenceRate.timebase && item->rate.ntsc == sequenceRate.ntsc;
    if (item->kind == ItemKind::transition || !item->hasPlace() || !sameRate || !times.in ||
        !times.out)
        return true;
    const FrameRange place = sourcePlace();
    return *times.out - *times.in == place.end - place.start;
}

SequencePlaces SequencePlaces::of(XMLNode sequence) {
    SequencePlaces places;
    places.timecode_ = SequenceTimecode::of(sequence);
    places.timecode_.rate = readRate(sequence.child("rate"));
    for (const bool video : {true, false}) {
        int number = 0;
        for (const XMLNode media : childrenNamed(sequence, "media"))
            for (const XMLNode kind : childrenNamed(media, video ? "video" : "audio"))
                for (const XMLNode track : childrenNamed(kind, "track"))
                    places.readTrack(track, {video, ++number});
    }
    return places;
}

SequencePlaces SequencePlaces::again(const PlacedTrack& track) const {
    SequencePlaces places;
    places.timecode_ = timecode_;
    places.readTrack(track.node, track.label);
    return places;
}

void SequencePlaces::readTrack(XMLNode node, TrackLabel label) {
    PlacedTrack& track = tracks_.emplace_back();
    track.node = node;
    track.label = label;
    std::vector<Item>& items = items_.emplace_back();
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling()) {
        if (!isTimelineItem(child)) continue;
        Item& item = items.emplace_back();
        item.node = child;
        item.kind = child.isElement("clipitem")        ? ItemKind::clip
                    : child.isElement("generatoritem") ? ItemKind::generator
                                                       : ItemKind::transition;
        const auto [start, end, in, out, rateThere] =
            child.firstChildren({"start", "end", "in", "out", "rate"});
        setWrittenEdges(item, start, end);
        item.source = {framesOrZero(in), framesOrZero(out)};
        item.rate = readRate(rateThere);
        if (!item.rate.known()) item.rate = rate();
        if (item.kind == ItemKind::transition) {
            Transition& transition = transitions_.emplace_back();
            transition.alignment = alignmentOf(childText(child, "alignment"));
            item.transition = &transition;
        }
        PlacedItem placed{timesOf(start, end, in, out), nullptr, static_cast<int>(items.size()),
                          item.kind != ItemKind::transition && hasTimeRemap(child)};
        track.items.push_back(placed);
    }
    placeItems(items, rate());
    for (std::size_t i = 0; i < items.size(); ++i) track.items[i].item = &items[i];
}

}  // namespace reelsweep
