#include "python/Values.h"

#include "timeline/DifferenceText.h"
#include "timeline/MediaUse.h"

namespace reelsweep::python {

namespace {

const char* kindOf(const reelsweep::Item& item) {
    switch (item.kind) {
        case ItemKind::generator: return "generator";
        case ItemKind::transition: return "transition";
        case ItemKind::clip: break;
    }
    return "clip";
}

std::optional<std::int64_t> countOf(const std::optional<Frames>& time) {
    return time ? std::optional(time->count) : std::nullopt;
}

Place placeOf(TrackLabel track, const ItemTimes& times) {
    Place place{
        {}, countOf(times.start), countOf(times.end), countOf(times.in), countOf(times.out)};
    if (track.number > 0) place.track = description(track);
    return place;
}

}  // namespace

Item Item::of(const reelsweep::Item& item) {
    const bool isTransition = item.kind == ItemKind::transition;
    const FrameRange place = isTransition ? item.range : item.cut;
    Item value{kindOf(item),
               std::string(isTransition ? item.transition->effect : item.name),
               std::string(item.id),
               place.start.count,
               place.end.count,
               0,
               0,
               {},
               item.enabled,
               {},
               {},
               {}};
    if (!item.media || isTransition) return value;
    const Frames first = mediaFrame(item, item.line.at(place.start));
    value.sourceStart = first.count;
    value.sourceEnd = mediaFrame(item, item.line.at(place.end)).count;
    value.sourceTimecode = mediaTimecode(item, first);
    value.media = item.media->name;
    value.path = item.media->path;
    value.reel = item.media->reel;
    return value;
}

Timeline Timeline::of(const reelsweep::Timeline& timeline) {
    const SequenceTimecode& timecode = timeline.timecode();
    Timeline value{std::string(timeline.name()), description(timecode.rate),
                   timecode.rate.timebase,       timecode.rate.ntsc,
                   timecode.dropFrame,           timecode.start.count,
                   timeline.end().count,         {}};
    for (const reelsweep::Track& track : timeline.tracks()) {
        Track& copy = value.tracks.emplace_back();
        copy.label = description(track);
        copy.name = track.name;
        copy.enabled = track.enabled;
        for (const reelsweep::Item& item : track.items) copy.items.push_back(Item::of(item));
    }
    return value;
}

std::string Timeline::timecode(std::int64_t frame) const {
    const SequenceTimecode timecode{{timebase, ntsc}, dropFrame, Frames{start}};
    return timecode.text(Frames{frame});
}

Comparison Comparison::of(const PictureDifference& difference) {
    Comparison value;
    value.before = difference.source().name();
    value.after = difference.copy().name();
    value.same = difference.isSame();
    value.asAsked = difference.isAsAsked();
    value.frames = difference.frames().count;
    value.samePicture = difference.same(MediaType::video).count;
    value.sameSound = difference.same(MediaType::audio).count;
    value.changedPicture = difference.changed(MediaType::video).count;
    value.changedSound = difference.changed(MediaType::audio).count;
    for (const MediaType type : {MediaType::video, MediaType::audio})
        for (const Difference& each : difference.differences(type))
            value.differences.push_back(differenceText(each, difference.source().timecode()));
    return value;
}

SequenceLedger SequenceLedger::of(const reelsweep::SequenceLedger& ledger) {
    SequenceLedger value;
    value.title = ledger.title;
    value.uuid = ledger.uuid;
    value.itemsBefore = ledger.itemsBefore;
    value.itemsAfter = ledger.itemsAfter;
    value.balances = ledger.balances();
    value.changes.reserve(ledger.changes.size());
    for (const reelsweep::Change& change : ledger.changes)
        value.changes.push_back({std::string(change.pass), std::string(description(change.kind)),
                                 std::string(change.node.name()), change.name(), change.id(),
                                 placeOf(change.trackBefore, change.before),
                                 placeOf(change.trackAfter, change.after),
                                 ledger.reasonText(change)});
    for (const KeptItem& item : ledger.kept)
        value.kept.push_back({std::string(item.pass), item.name(), item.id(),
                              placeOf(item.track, item.times), item.reason});
    if (ledger.picture) value.picture = Comparison::of(*ledger.picture);
    return value;
}

}  // namespace reelsweep::python
