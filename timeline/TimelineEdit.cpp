#include "timeline/TimelineEdit.h"

#include "timeline/Vocabulary.h"

#include <algorithm>
#include <stdexcept>

namespace reelsweep {

namespace {

// The tracks of a sequence, video first.
std::vector<XMLNode> allTracks(XMLNode sequence) {
    std::vector<XMLNode> tracks;
    for (const char* const type : {"video", "audio"})
        for (const XMLNode media : childrenNamed(sequence, "media"))
            for (const XMLNode kind : childrenNamed(media, type))
                for (const XMLNode track : childrenNamed(kind, "track")) tracks.push_back(track);
    return tracks;
}

std::vector<XMLNode> itemsOn(const std::vector<XMLNode>& tracks) {
    std::vector<XMLNode> items;
    for (const XMLNode& track : tracks)
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            if (isTimelineItem(node)) items.push_back(node);
    return items;
}

// A clip with an edge of -1 and no transition there.
bool isLoose(XMLNode item) {
    if (!isClip(item)) return false;
    const auto [start, end] = item.firstChildren({"start", "end"});
    return (start && start.firstText().value() == edgeInTransitionText &&
            !item.previousSibling().isElement("transitionitem")) ||
           (end && end.firstText().value() == edgeInTransitionText &&
            !item.nextSibling().isElement("transitionitem"));
}

}  // namespace

TimelineEdit::TimelineEdit(XMLNode sequence, SequenceLedger& ledger)
    : sequence_(sequence), ledger_(ledger), tracks_(allTracks(sequence)) {
    int numbers[] = {0, 0};
    for (const XMLNode& track : tracks_) {
        const bool video = track.parent().isElement("video");
        labels_[track] = TrackLabel{video, ++numbers[video]};
    }
    items_ = itemsOn(tracks_);
    ledger_.itemsBefore = items_.size();
}

void TimelineEdit::finish(XMLNode source) {
    std::erase_if(tracks_, [](XMLNode track) { return !track.parent(); });
    const std::vector<XMLNode> left = itemsOn(tracks_);
    ledger_.itemsAfter = left.size();
    std::unordered_map<XMLNode, XMLNode> sources;  // of the items that came; made when needed
    for (const XMLNode& item : left) {
        if (!isLoose(item)) continue;
        if (sources.empty() && source) {
            const std::vector<XMLNode> before = itemsOn(allTracks(source));
            for (std::size_t i = 0; i < std::min(before.size(), items_.size()); ++i)
                sources.emplace(items_[i], before[i]);
        }
        const auto found = sources.find(item);
        if (found == sources.end() || !isLoose(found->second))
            ledger_.looseClips.push_back({item, label(item), ItemTimes::of(item)});
    }
}

TrackLabel TimelineEdit::label(XMLNode node) const { return placeOf(node).track; }

TimelineEdit::Place TimelineEdit::placeOf(XMLNode node) const {
    Place place;
    for (XMLNode at = node; at && at != sequence_; at = at.parent()) {
        if (const auto found = labels_.find(at); found != labels_.end()) {
            place.track = found->second;
            place.isTrackItem = at == node.parent() && isTimelineItem(node);
            break;
        }
        if (!place.holder && at != node && isTimelineItem(at)) place.holder = at;
    }
    return place;
}

Change& TimelineEdit::record(ChangeKind kind, XMLNode node) {
    Change change;
    change.kind = kind;
    change.pass = pass_;
    change.node = node;
    const Place place = placeOf(node);
    change.trackBefore = change.trackAfter = place.track;
    change.holder = place.holder;
    change.countsAsItem = place.isTrackItem;
    change.before = ItemTimes::of(node);
    if (change.holder && change.before == ItemTimes{}) change.before = ItemTimes::of(change.holder);
    change.after = change.before;
    return ledger_.changes.emplace_back(change);
}

void TimelineEdit::forgetIndexes() {
    if (indexes_.empty()) return;
    indexes_.clear();
    sequenceIndex_ = SequenceIndex();
}

TrackIndex& TimelineEdit::index(XMLNode track) {
    const auto found = indexes_.find(track);
    if (found != indexes_.end()) return found->second;
    return indexes_.emplace(track, TrackIndex(sequenceIndex_, track)).first->second;
}

// Nodes anywhere

void TimelineEdit::listElements() {
    constexpr auto& names = listedNames;
    elements_ = {};
    sequence_.forEachDescendant(
        {names[0], names[1], names[2], names[3], names[4]}, [&](XMLNode found) {
            const auto name = std::find(names.begin(), names.end(), found.name());
            elements_[static_cast<std::size_t>(name - names.begin())].push_back(found);
        });
    isListed_.fill(true);
}

bool TimelineEdit::isInSequence(XMLNode node) const {
    while (node && node != sequence_) node = node.parent();
    return bool(node);
}

std::vector<XMLNode> TimelineEdit::elementsNamed(std::string_view listedName) {
    const auto name = std::find(listedNames.begin(), listedNames.end(), listedName);
    if (name == listedNames.end()) throw std::logic_error("not listed: " + std::string(listedName));
    const auto which = static_cast<std::size_t>(name - listedNames.begin());
    if (!isListed_[which]) listElements();
    std::vector<XMLNode> found;
    for (const XMLNode& element : elements_[which])
        if (isInSequence(element)) found.push_back(element);
    return found;
}

void TimelineEdit::detach(XMLNode node, const std::string& reason) {
    const XMLNode parent = node.parent();
    if (!parent) return;
    Change& change = record(ChangeKind::removed, node);
    change.trackAfter = {};
    change.after = {};
    change.reason = ledger_.addReason(reason);
    if (indexes_.contains(parent)) forgetIndexes();
    node.detach();
}

void TimelineEdit::detachTrack(XMLNode track, const std::string& reason) {
    for (XMLNode node = track.firstChild(); node; node = node.nextSibling()) {
        if (!isTimelineItem(node)) continue;
        Change& change = record(ChangeKind::removed, node);
        change.trackAfter = {};
        change.after = {};
        change.reason = ledger_.addReason(reason);
    }
    detach(track, reason);
    forgetIndexes();
}

void TimelineEdit::setText(XMLNode element, std::string_view text) {
    if (element.stringValue() != text) record(ChangeKind::changed, element);
    element.setText(text);
}

void TimelineEdit::writeTimes(XMLNode item, const ItemTimes& times) {
    const auto write = [](XMLNode element, const std::optional<Frames>& value) {
        if (element && value) element.setText(value->text());
    };
    const auto [start, end, in, out] = item.firstChildren({"start", "end", "in", "out"});
    write(start, times.start);
    write(end, times.end);
    write(in, times.in);
    write(out, times.out);
}

void TimelineEdit::trim(XMLNode item, const ItemTimes& times) {
    Change& change = record(ChangeKind::trimmed, item);
    writeTimes(item, times);
    change.after = ItemTimes::of(item);
    forgetIndexes();
}

// Items of indexed tracks

void TimelineEdit::move(TrackIndex& from, TrackIndex::Id id, TrackIndex& to, std::size_t place) {
    const XMLNode node = from.entry(id).node;
    Change& change = record(ChangeKind::moved, node);
    to.takeOver(from, id, place);
    const TrackIndex::Id next = to.next(id);
    XMLNode track = to.track();
    if (next == TrackIndex::none)
        track.appendChild(node);
    else
        track.insertBefore(node, to.entry(next).node);
    change.trackAfter = label(node);
    change.after = ItemTimes::of(node);
    isListed_ = {};
}

void TimelineEdit::detach(TrackIndex& track, TrackIndex::Id id, const std::string& reason) {
    XMLNode node = track.entry(id).node;
    Change& change = record(ChangeKind::removed, node);
    change.trackAfter = {};
    change.after = {};
    change.reason = ledger_.addReason(reason);
    track.remove(id);
    node.detach();
}

void TimelineEdit::trim(TrackIndex& track, TrackIndex::Id id, const ItemTimes& times) {
    const XMLNode item = track.entry(id).node;
    Change& change = record(ChangeKind::trimmed, item);
    writeTimes(item, times);
    change.after = ItemTimes::of(item);
    track.reread(id);
}

void TimelineEdit::split(TrackIndex& track, TrackIndex::Id id, FrameRange gap,
                         const ItemTimes& right) {
    const XMLNode item = track.entry(id).node;
    const ItemTimes whole = ItemTimes::of(item);
    const XMLNode left = item.copy();
    trim(track, id, right);
    writeTimes(left, {.start = {}, .end = gap.start, .in = {}, .out = {}});
    insertAt(track, left, track.position(id));
    isListed_ = {};
    Change& change = record(ChangeKind::split, left);
    change.before = whole;
}

void TimelineEdit::insertItem(TrackIndex& track, XMLNode item, std::size_t place) {
    insertAt(track, item, place);
    for (std::size_t i = 0; i < listedNames.size(); ++i)
        if (item.hasDescendant(listedNames[i])) isListed_[i] = false;
    Change& change = record(ChangeKind::inserted, item);
    change.trackBefore = {};
    change.before = {};
}

void TimelineEdit::insertAt(TrackIndex& track, XMLNode node, std::size_t place) {
    XMLNode parent = track.track();
    const TrackIndex::Id next = track.entryAt(place);
    if (next == TrackIndex::none)
        parent.appendChild(node);
    else
        parent.insertBefore(node, track.entry(next).node);
    track.insertAt(place, node);
}

}  // namespace reelsweep
