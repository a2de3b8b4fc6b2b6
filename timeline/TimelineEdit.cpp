#include "timeline/TimelineEdit.h"

#include "timeline/Vocabulary.h"

#include <algorithm>
#include <iterator>

namespace reelsweep {

namespace {

std::vector<XMLNode> itemsOn(const std::vector<XMLNode>& tracks) {
    std::vector<XMLNode> items;
    for (const XMLNode& track : tracks)
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            if (isTimelineItem(node)) items.push_back(node);
    return items;
}

bool saysInTransition(XMLNode edge) {
    const char* const only = edge.onlyText();
    return (only ? std::string_view(only) : edge.firstText().value()) == edgeInTransitionText;
}

// A clip with an edge of -1 and no transition there.
bool isLoose(XMLNode item) {
    if (!isClip(item)) return false;
    const auto [start, end] = item.firstChildren({"start", "end"});
    return (saysInTransition(start) && !item.previousSibling().isElement("transitionitem")) ||
           (saysInTransition(end) && !item.nextSibling().isElement("transitionitem"));
}

bool isTime(XMLNode element) {
    return element.isElement("start") || element.isElement("end") || element.isElement("in") ||
           element.isElement("out");
}

// Filters, markers and transitions are what goes one by one in large numbers.
bool mayHoldClips(XMLNode node) {
    return node.isElement() && !node.isElement("filter") && !node.isElement("marker") &&
           !node.isElement("transitionitem");
}

}  // namespace

TimelineEdit::TimelineEdit(XMLNode sequence, SequenceLedger& ledger)
    : sequence_(sequence), ledger_(ledger), tracks_(allTracks(sequence)) {
    int numbers[] = {0, 0};
    for (const XMLNode& track : tracks_) {
        const bool video = track.parent().isElement("video");
        labels_[track] = TrackLabel{video, ++numbers[video]};
    }
    // Tracks are edited child by child.
    for (XMLNode& track : tracks_) track.separateText();
    items_ = itemsOn(tracks_);
    for (const XMLNode& item : items_) facts_.add(item);
    ledger_.itemsBefore = items_.size();
    // A tidy makes about two changes for each item. Room that is not used is never touched.
    ledger_.changes.reserve(items_.size() * 3);
}

void TimelineEdit::finish(XMLNode source) {
    const std::vector<XMLNode> left = itemsLeft();
    ledger_.itemsAfter = left.size();
    ledger_.looseClips.clear();
    std::unordered_map<XMLNode, XMLNode> sources;  // of the items that came; made when needed
    const auto wasLoose = [&](XMLNode item) {
        if (source == sequence_) return looseBefore_.contains(wholeOf(item));
        if (sources.empty() && source) sources = sourceItems(source);
        const auto found = sources.find(wholeOf(item));
        return found != sources.end() && reelsweep::isLoose(found->second);
    };
    for (const XMLNode& item : left)
        if (isLoose(item) && !wasLoose(item))
            ledger_.looseClips.push_back({item, label(item), times(item)});
    // What follows reads the result, which takes as much memory as these.
    indexes_.clear();
    sequenceIndex_ = SequenceIndex(nullptr);
    facts_ = {};
    listed_.clear();
}

bool TimelineEdit::isTransition(XMLNode node) const {
    const ItemFacts* const known = facts_.findUnread(node);
    return known ? known->kind == TrackEntry::Kind::transition : node.isElement("transitionitem");
}

bool TimelineEdit::isLoose(XMLNode item) const {
    const ItemFacts* const known = facts(item);
    if (!known || !known->hasPlainEdges) return reelsweep::isLoose(item);
    return known->isClip() &&
           ((known->times.start == edgeInTransition && !isTransition(item.previousSibling())) ||
            (known->times.end == edgeInTransition && !isTransition(item.nextSibling())));
}

std::vector<XMLNode> TimelineEdit::itemsLeft() const {
    std::vector<XMLNode> items;
    for (const XMLNode& track : tracks_)
        if (track.parent())
            for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
                if (isItem(node)) items.push_back(node);
    return items;
}

void TimelineEdit::noteLooseClips() {
    std::copy_if(items_.begin(), items_.end(), std::inserter(looseBefore_, looseBefore_.end()),
                 [this](XMLNode item) { return isLoose(item); });
}

std::unordered_map<XMLNode, XMLNode> TimelineEdit::sourceItems(XMLNode source) const {
    std::unordered_map<XMLNode, XMLNode> sources;
    const std::vector<XMLNode> before = itemsOn(allTracks(source));
    for (std::size_t i = 0; i < std::min(before.size(), items_.size()); ++i)
        sources.emplace(items_[i], before[i]);
    return sources;
}

XMLNode TimelineEdit::wholeOf(XMLNode item) const {
    const auto piece = pieces_.find(item);
    return piece == pieces_.end() ? item : piece->second;
}

TrackLabel TimelineEdit::label(XMLNode node) const { return placeOf(node).track; }

TimelineEdit::Place TimelineEdit::placeOf(XMLNode node) const {
    Place place;
    for (XMLNode at = node; at && at != sequence_; at = at.parent()) {
        if (const auto found = labels_.find(at); found != labels_.end()) {
            place.track = found->second;
            place.isTrackItem = at == node.parent() && isItem(node);
            break;
        }
        if (at == node || !isItem(at)) continue;
        place.holder = at;
        place.track = labelAbove(at);
        break;
    }
    return place;
}

// In sequences within sequences the way up is long, and many clips of one track have it in common.
TrackLabel TimelineEdit::labelAbove(XMLNode node) const {
    const XMLNode parent = node.parent();
    if (parent && parent == lastLabel_.parent) return lastLabel_.label;
    TrackLabel label;
    for (XMLNode at = parent; at && at != sequence_; at = at.parent()) {
        const auto found = labels_.find(at);
        if (found == labels_.end()) continue;
        label = found->second;
        break;
    }
    lastLabel_ = {parent, label};
    return label;
}

// Most are asked for by their facts, and then none of their elements is touched.
bool TimelineEdit::isItem(XMLNode node) const { return facts_.holds(node) || isTimelineItem(node); }

ItemTimes TimelineEdit::times(XMLNode node) const {
    const ItemFacts* const known = facts(node);
    return known ? known->times : ItemTimes::of(node);
}

// One clip's filters go one after the other.
ItemTimes TimelineEdit::timesOfHolder(XMLNode item) const {
    if (const ItemFacts* const known = facts(item)) return known->times;
    if (lastHolder_.item != item) lastHolder_ = {item, ItemTimes::of(item)};
    return lastHolder_.times;
}

// What `start` and `end` of a filter count from differs from system to system; the place of its
// clip can be found again.
ItemTimes TimelineEdit::timesInside(XMLNode item, XMLNode node) const {
    ItemTimes times = timesOfHolder(item);
    const auto [in, out] = node.firstChildren({"in", "out"});
    if (!in && !out) return times;
    times.in = in ? std::optional(framesOf(in)) : std::nullopt;
    times.out = out ? std::optional(framesOf(out)) : std::nullopt;
    return times;
}

Change& TimelineEdit::record(ChangeKind kind, XMLNode node) {
    Change& change = ledger_.changes.emplace_back();
    change.kind = kind;
    change.pass = step_;
    change.node = node;
    const Place place = placeOf(node);
    change.trackBefore = change.trackAfter = place.track;
    change.holder = place.holder;
    change.countsAsItem = place.isTrackItem;
    change.before = change.holder && !isItem(node) ? timesInside(change.holder, node) : times(node);
    change.after = change.before;
    return change;
}

// Looking

const TrackIndex& TimelineEdit::index(XMLNode track) {
    std::unique_ptr<TrackIndex>& index = indexes_[track];
    if (!index) {
        track.separateText();
        index.reset(new TrackIndex(sequenceIndex_, track));
    }
    index->watch();
    return *index;
}

TrackIndex* TimelineEdit::indexOf(XMLNode track) const {
    const auto found = indexes_.find(track);
    return found == indexes_.end() ? nullptr : found->second.get();
}

void TimelineEdit::beginStep(std::string_view option) {
    step_ = option;
    for (const auto& [track, index] : indexes_) index->unwatch();
}

// The tree, its indexes and the journal

void TimelineEdit::place(XMLNode node, EditJournal::Place to) {
    journal_.noteMove(node);
    if (mayHoldClips(node)) {
        lastLabel_ = {};
        lastHolder_ = {};
    }
    const bool isAnItem = isItem(node);
    if (!isAnItem) ++changesInsideItems_;
    const XMLNode from = node.parent();
    if (!to.parent)
        node.detach();
    else if (to.next)
        to.parent.insertBefore(node, to.next);
    else
        to.parent.appendChild(node);
    if (isAnItem && labels_.contains(to.parent))
        facts_.add(node);
    else if (to.parent)
        listsAreOld();
    if (TrackIndex* const index = indexOf(from))
        index->removed(sequenceIndex_.find(node));
    else
        changedBelow(from, node, Below::moved);
    if (TrackIndex* const index = indexOf(to.parent))
        index->placed(node, to.next ? sequenceIndex_.find(to.next) : TrackIndex::none);
    else
        changedBelow(to.parent, node, Below::moved);
}

void TimelineEdit::changedBelow(XMLNode parent, XMLNode node, Below how) {
    for (; parent; node = parent, parent = parent.parent(), how = Below::rewritten) {
        if (how == Below::moved)
            facts_.movedChild(parent, node);
        else
            facts_.changedChild(parent, node);
        // An index reads of an item what its edges say, and nothing else.
        if (node.isElement("start") || node.isElement("end"))
            if (TrackIndex* const index = indexOf(parent.parent()))
                return index->retimed(sequenceIndex_.find(parent));
        // Nor does an edge hold items.
        if (isItem(parent)) return;
    }
}

void TimelineEdit::writeText(XMLNode element, std::string_view text) {
    lastHolder_ = {};
    // An item's own, not one of its filters.
    const bool isOwnTime = isTime(element) && isItem(element.parent());
    if (!isOwnTime) ++changesInsideItems_;
    const XMLNode only = element.firstChild();
    if (only && !only.nextSibling() && only.kind() == XMLKind::text) {
        journal_.noteText(element);
        element.setText(text);
    } else {
        element.separateText();
        while (const XMLNode child = element.firstChild()) place(child, {});
        element.setText(text);
        journal_.noteCreated(element.firstChild());
        if (TrackIndex* const index = indexOf(element))
            index->placed(element.firstChild(), TrackIndex::none);
    }
    changedBelow(element, element.firstChild(), Below::moved);
}

void TimelineEdit::rollback(const Checkpoint& checkpoint) {
    while (journal_.size() > checkpoint.journalSize_) {
        EditJournal::Entry entry = journal_.takeLast();
        if (entry.attribute) {
            entry.node.setAttribute(entry.attribute, entry.text);
        } else if (entry.isText) {
            entry.node.setText(entry.text);
            changedBelow(entry.node, entry.node.firstChild(), Below::moved);
        } else {
            place(entry.node, entry.place);
            journal_.takeLast();  // going back is nothing to take back
        }
    }
    ledger_.rollback(checkpoint.ledger_);
    lastHolder_ = {};
    ++changesInsideItems_;
    listsAreOld();
}

TimelineEdit::Checkpoint::Checkpoint(TimelineEdit& edit)
    : edit_(edit), journalSize_(edit.journal_.size()), ledger_(edit.ledger_.mark()) {
    edit.journal_.open();
}

// Editing

void TimelineEdit::recordRemoval(XMLNode node, std::size_t reason) {
    Change& change = record(ChangeKind::removed, node);
    change.trackAfter = {};
    change.after = {};
    change.reason = reason;
}

void TimelineEdit::detach(XMLNode node, const std::string& reason) {
    if (!node.parent()) return;
    node = node.separated();
    recordRemoval(node, ledger_.addReason(reason));
    place(node, {});
}

void TimelineEdit::replace(XMLNode node, XMLNode by, const std::string& reason) {
    place(by, {node.parent(), node});
    Change& change = record(ChangeKind::inserted, by);
    change.trackBefore = {};
    change.before = {};
    detach(node, reason);
}

void TimelineEdit::detachTrack(XMLNode track, const std::string& reason) {
    const std::size_t number = ledger_.addReason(reason);
    for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
        if (isTimelineItem(node)) recordRemoval(node, number);
    detach(track, reason);
}

void TimelineEdit::move(XMLNode item, const TrackIndex& to, std::size_t childPlace) {
    Change& change = record(ChangeKind::moved, item);
    // The place counts the track's children without the item.
    const TrackIndex::Id id = sequenceIndex_.find(item);
    const bool isPassed = id != TrackIndex::none && to.holds(id) && to.position(id) <= childPlace;
    const TrackIndex::Id next = to.entryAt(isPassed ? childPlace + 1 : childPlace);
    place(item, {to.track(), next == TrackIndex::none ? XMLNode() : to.entry(next).node});
    change.trackAfter = label(item);
    listsAreOutOfOrder();
}

void TimelineEdit::writeTimes(XMLNode item, const ItemTimes& times) {
    const auto write = [this](XMLNode element, const std::optional<Frames>& value) {
        if (element && value) writeText(element, value->text());
    };
    if (const ItemFacts* const known = facts(item)) {
        write(known->start, times.start);
        write(known->end, times.end);
        write(known->in, times.in);
        write(known->out, times.out);
        return;
    }
    const auto [start, end, in, out] = item.firstChildren({"start", "end", "in", "out"});
    write(start, times.start);
    write(end, times.end);
    write(in, times.in);
    write(out, times.out);
}

void TimelineEdit::trim(XMLNode item, const ItemTimes& times, const std::string& reason) {
    Change& change = record(ChangeKind::trimmed, item);
    if (!reason.empty()) change.reason = ledger_.addReason(reason);
    writeTimes(item, times);
    const auto set = [](std::optional<Frames>& time, const std::optional<Frames>& to) {
        if (time && to) time = to;
    };
    set(change.after.start, times.start);
    set(change.after.end, times.end);
    set(change.after.in, times.in);
    set(change.after.out, times.out);
}

XMLNode TimelineEdit::split(XMLNode item, FrameRange gap, const ItemTimes& right) {
    const ItemTimes whole = times(item);
    const XMLNode left = item.copy();
    pieces_.emplace(left, wholeOf(item));
    trim(item, right);
    writeTimes(left, {.start = {}, .end = gap.start, .in = {}, .out = {}});
    place(left, {item.parent(), item});
    listsAreOutOfOrder();
    Change& change = record(ChangeKind::split, left);
    change.before = whole;
    return left;
}

void TimelineEdit::insertItem(const TrackIndex& track, XMLNode item, std::size_t childPlace) {
    const TrackIndex::Id next = track.entryAt(childPlace);
    place(item, {track.track(), next == TrackIndex::none ? XMLNode() : track.entry(next).node});
    for (auto& [name, list] : listed_)
        if (item.name() == name || item.hasDescendant(name)) list.isInOrder = false;
    Change& change = record(ChangeKind::inserted, item);
    change.trackBefore = {};
    change.before = {};
}

void TimelineEdit::setText(XMLNode element, std::string_view text) {
    if (element.stringValue() != text) record(ChangeKind::changed, element);
    writeText(element, text);
}

void TimelineEdit::noteKept(XMLNode clip, const std::string& reason) {
    ledger_.kept.push_back({step_, clip, label(clip), times(clip), reason});
}

void TimelineEdit::noteKeptAsAsked(XMLNode clip, const std::string& reason) {
    noteKept(clip, reason);
    ledger_.kept.back().wasAsked = true;
}

void TimelineEdit::rewrite(XMLNode about, std::span<const Rewrite> rewrites,
                           const std::string& reason) {
    if (rewrites.empty()) return;
    record(ChangeKind::changed, about).reason = ledger_.addReason(reason);
    for (const Rewrite& rewrite : rewrites) {
        if (rewrite.attribute) {
            journal_.noteAttribute(rewrite.element, rewrite.attribute);
            ++changesInsideItems_;
            XMLNode(rewrite.element).setAttribute(rewrite.attribute, rewrite.text);
        } else {
            writeText(rewrite.element, rewrite.text);
        }
    }
}

void TimelineEdit::define(XMLNode reference, XMLNode definition, const std::string& reason) {
    record(ChangeKind::changed, reference).reason = ledger_.addReason(reason);
    reference.separateText();
    for (XMLNode child = definition.firstChild(); child; child = child.nextSibling()) {
        const XMLNode copy = reference.appendCopy(child);
        journal_.noteCreated(copy);
        facts_.movedChild(reference, copy);
    }
    ++changesInsideItems_;
    lastHolder_ = {};
    listsAreOld();
}

void TimelineEdit::refer(XMLNode definition, const std::string& reason) {
    record(ChangeKind::changed, definition).reason = ledger_.addReason(reason);
    definition.separateText();
    while (const XMLNode child = definition.firstChild()) place(child, {});
}

}  // namespace reelsweep
