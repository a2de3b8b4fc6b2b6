#include "report/ChangeReport.h"

#include "report/Handles.h"
#include "report/PictureJson.h"
#include "tidy/PassTable.h"
#include "timeline/PictureDifference.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace reelsweep {

namespace {

using Json = nlohmann::ordered_json;

// Names in files may decode to bytes that are no UTF-8; a report must be valid all the same.
std::string dumped(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json timeValue(const std::optional<Frames>& time) {
    return time ? Json(time->count) : Json(nullptr);
}

Json timecodeValue(const SequenceTimecode& timecode, const std::optional<Frames>& time) {
    const bool isSaid = time && *time != edgeInTransition && timecode.rate.known();
    return isSaid ? Json(timecode.text(time)) : Json(nullptr);
}

// Where an item stands; null for what has no place, such as an item not yet there.
Json placeValue(const SequenceTimecode& timecode, TrackLabel track, const ItemTimes& times) {
    if (track.number == 0 && times == ItemTimes{}) return nullptr;
    Json place;
    place["track"] = track.number > 0 ? Json(description(track)) : Json(nullptr);
    place["start"] = timeValue(times.start);
    place["end"] = timeValue(times.end);
    place["in"] = timeValue(times.in);
    place["out"] = timeValue(times.out);
    place["startTimecode"] = timecodeValue(timecode, times.start);
    place["endTimecode"] = timecodeValue(timecode, times.end);
    return place;
}

// How the time codes of a sequence count.
Json timecodeValue(const SequenceTimecode& timecode) {
    Json value;
    const bool isKnown = timecode.rate.known();
    value["rate"] = isKnown ? Json(description(timecode.rate)) : Json(nullptr);
    value["timebase"] = isKnown ? Json(timecode.rate.timebase) : Json(nullptr);
    value["ntsc"] = timecode.rate.ntsc;
    value["dropFrame"] = timecode.dropFrame;
    value["start"] = isKnown ? Json(timecode.text(Frames{})) : Json(nullptr);
    return value;
}

// The clip that a filter or a marker belongs to.
Json holderValue(const Change& change) {
    if (!change.holder) return nullptr;
    Json holder;
    holder["element"] = change.holder.name();
    holder["name"] = change.holderName();
    holder["id"] = change.holderId();
    return holder;
}

Json changeValue(const SequenceLedger& sequence, const Change& change) {
    const std::string& reason = sequence.reasonText(change);
    Json value;
    value["pass"] = change.pass;
    value["kind"] = description(change.kind);
    value["element"] = change.node.name();
    value["name"] = change.name();
    value["id"] = change.id();
    value["item"] = change.countsAsItem;
    value["holder"] = holderValue(change);
    value["before"] = placeValue(sequence.timecode, change.trackBefore, change.before);
    value["after"] = placeValue(sequence.timecode, change.trackAfter, change.after);
    value["reason"] = reason.empty() ? Json(nullptr) : Json(reason);
    return value;
}

Json looseClipsValue(const SequenceLedger& sequence) {
    Json list = Json::array();
    for (const LooseClip& clip : sequence.looseClips) {
        Json value;
        value["element"] = clip.node.name();
        value["name"] = clip.name();
        value["id"] = clip.id();
        value["place"] = placeValue(sequence.timecode, clip.track, clip.times);
        list.push_back(std::move(value));
    }
    return list;
}

Json keptValue(const SequenceLedger& sequence) {
    Json list = Json::array();
    for (const KeptItem& item : sequence.kept) {
        Json value;
        value["pass"] = item.pass;
        value["element"] = item.node.name();
        value["name"] = item.name();
        value["id"] = item.id();
        value["place"] = placeValue(sequence.timecode, item.track, item.times);
        value["reason"] = item.reason;
        list.push_back(std::move(value));
    }
    return list;
}

// The passes that changed something, in run order, with their changes of each kind.
Json totalsValue(const SequenceLedger& sequence) {
    Json list = Json::array();
    for (const PassRow& pass : reportedRows()) {
        const SequenceLedger::Totals totals = sequence.totals(pass.option);
        if (std::all_of(totals.begin(), totals.end(), [](std::size_t n) { return n == 0; }))
            continue;
        Json row;
        row["pass"] = pass.option;
        for (std::size_t kind = 0; kind < changeKindCount; ++kind)
            row[std::string(description(static_cast<ChangeKind>(kind)))] = totals[kind];
        list.push_back(std::move(row));
    }
    return list;
}

Json itemsValue(const SequenceLedger& sequence) {
    Json items;
    items["before"] = sequence.itemsBefore;
    items["after"] = sequence.itemsAfter;
    items["removed"] = sequence.items(ChangeKind::removed);
    items["inserted"] = sequence.items(ChangeKind::inserted);
    items["split"] = sequence.items(ChangeKind::split);
    return items;
}

// Null when nobody asked, or the timeline was not looked at.
Json shortHandlesValue(const ReportedDocument& document, const SequenceLedger& sequence) {
    if (!document.handles || !sequence.picture) return nullptr;
    const Timeline& timeline = sequence.picture->copy();
    Json list = Json::array();
    for (const ShortHandle& handle : shortHandles(timeline, *document.handles)) {
        Json value;
        value["name"] = handle.item->name;
        value["id"] = handle.item->id;
        value["track"] = description(*handle.track);
        value["start"] = handle.item->cut.start.count;
        value["startTimecode"] = timecodeValue(timeline.timecode(), handle.item->cut.start);
        value["before"] = handle.head.count;
        value["after"] = handle.tail.count;
        list.push_back(std::move(value));
    }
    return list;
}

// Hands a text to a sink in large pieces.
class Writer {
public:
    explicit Writer(ByteSink& sink) : sink_(sink) {}

    void put(std::string_view text) {
        constexpr std::size_t pieceSize = 1 << 16;
        buffer_ += text;
        if (buffer_.size() >= pieceSize) flush();
    }
    /// False when the sink refused anything.
    bool flush() {
        if (ok_) ok_ = sink_.write(buffer_);
        buffer_.clear();
        return ok_;
    }

private:
    ByteSink& sink_;
    std::string buffer_;
    bool ok_ = true;
};

void putSequence(Writer& to, const ReportedDocument& document, const SequenceLedger& sequence) {
    to.put("    {\"title\": " + dumped(sequence.title));
    to.put(",\n     \"uuid\": " +
           dumped(sequence.uuid.empty() ? Json(nullptr) : Json(sequence.uuid)));
    to.put(",\n     \"timecode\": " + dumped(timecodeValue(sequence.timecode)));
    to.put(",\n     \"items\": " + dumped(itemsValue(sequence)));
    to.put(",\n     \"balances\": ");
    to.put(sequence.balances() ? "true" : "false");
    to.put(",\n     \"looseClips\": " + dumped(looseClipsValue(sequence)));
    to.put(",\n     \"kept\": " + dumped(keptValue(sequence)));
    to.put(",\n     \"shortHandles\": " + dumped(shortHandlesValue(document, sequence)));
    to.put(",\n     \"picture\": " +
           dumped(sequence.picture ? pictureJson(*sequence.picture) : Json(nullptr)));
    to.put(",\n     \"totals\": " + dumped(totalsValue(sequence)));
    to.put(",\n     \"changes\": [");
    std::string_view separator = "\n      ";
    for (const Change& change : sequence.changes) {
        to.put(separator);
        to.put(dumped(changeValue(sequence, change)));
        separator = ",\n      ";
    }
    to.put("]}");
}

}  // namespace

bool writeReportedDocument(ByteSink& sink, const ReportedDocument& document,
                           const ChangeLedger* ledger) {
    const auto textOrNull = [](const std::string& text) {
        return text.empty() ? Json(nullptr) : Json(text);
    };
    Writer to(sink);
    to.put("  {\"input\": " + dumped(document.input));
    to.put(",\n   \"format\": " + dumped(textOrNull(document.format)));
    to.put(",\n   \"passes\": " + dumped(document.passes));
    to.put(",\n   \"delivery\": " + dumped(textOrNull(document.delivery)));
    to.put(",\n   \"output\": " + dumped(document.output ? Json(*document.output) : Json(nullptr)));
    to.put(",\n   \"errors\": " + dumped(document.errors));
    to.put(",\n   \"notes\": " + dumped(document.notes));
    to.put(",\n   \"sequences\": [");
    bool first = true;
    if (ledger) {
        for (const SequenceLedger& sequence : ledger->sequences) {
            to.put(first ? "\n" : ",\n");
            first = false;
            putSequence(to, document, sequence);
        }
    }
    to.put("]}");
    return to.flush();
}

ChangeReport::ChangeReport(ByteSink& sink, const Program& program) : sink_(sink) {
    ok_ = sink_.write("{\"format\": \"reelsweep-report\",\n \"version\": 1,\n \"program\": " +
                      dumped(program.name) + ",\n \"programVersion\": " + dumped(program.version) +
                      ",\n \"dryRun\": " + (program.dryRun ? "true" : "false") +
                      ",\n \"documents\": [");
}

void ChangeReport::addDocument(const ReportedDocument& document, const ChangeLedger* ledger) {
    beginDocument();
    ok_ = ok_ && writeReportedDocument(sink_, document, ledger);
}

void ChangeReport::beginDocument() {
    ok_ = ok_ && sink_.write(firstDocument_ ? "\n" : ",\n");
    firstDocument_ = false;
}

bool ChangeReport::finish() {
    ok_ = ok_ && sink_.write("]}\n");
    return ok_;
}

}  // namespace reelsweep
