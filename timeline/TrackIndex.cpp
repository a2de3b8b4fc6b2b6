#include "timeline/TrackIndex.h"

#include <algorithm>
#include <cmath>

namespace reelsweep {

namespace {

struct Edge {
    Frames frames;
    Frames wholeText;  // differs where a comment or CDATA parts the text
    double number = std::numeric_limits<double>::quiet_NaN();
    bool inTransition = false;
};

// The first child of that name, read both ways.
Edge readEdge(XMLNode element) {
    Edge edge;
    if (!element) return edge;
    const XMLNode text = element.firstText();
    edge.frames = leadingFrames(text.value());
    edge.inTransition = text.value() == edgeInTransitionText;
    const bool isOneText = text && text == element.firstChild() && !text.nextSibling();
    if (isOneText) {
        edge.wholeText = edge.frames;
        edge.number = xpathNumber(text.value());
    } else {
        const std::string whole = element.stringValue();
        edge.wholeText = leadingFrames(whole);
        edge.number = xpathNumber(whole);
    }
    return edge;
}

constexpr double largestExactInteger = 9007199254740992.0;  // 2^53

bool readsTheSameBothWays(const Edge& edge) {
    return edge.frames == edge.wholeText && edge.number == static_cast<double>(edge.frames.count) &&
           std::abs(edge.number) < largestExactInteger &&
           (edge.frames == edgeInTransition) == edge.inTransition;
}

}  // namespace

bool conflict(FrameRange lower, FrameRange upper) {
    return (lower.start >= upper.start && lower.start < upper.end) ||
           (lower.end > upper.start && lower.end <= upper.end) ||
           (lower.start <= upper.start && lower.end >= upper.end);
}

Overlap overlapOf(FrameRange item, FrameRange hiding) {
    const auto [start, end] = item;
    const Frames zero{0};
    if (start >= zero && end >= zero && start < hiding.start && end > hiding.end)
        return Overlap::sticksOutOnBothSides;
    if (start < hiding.start && end <= hiding.end && end > hiding.start) return Overlap::tailHidden;
    if (start >= hiding.start && start < hiding.end && end > hiding.end) return Overlap::headHidden;
    if (start >= hiding.start && end <= hiding.end) return Overlap::inside;
    return Overlap::none;
}

TrackEntry TrackEntry::of(XMLNode node) {
    TrackEntry entry;
    entry.node = node;
    entry.smallestEnd = std::numeric_limits<double>::infinity();
    entry.largestEnd = -std::numeric_limits<double>::infinity();
    if (node.isElement("clipitem") || node.isElement("generatoritem"))
        entry.kind = Kind::item;
    else if (node.isElement("transitionitem"))
        entry.kind = Kind::transition;

    const auto [startElement, endElement] = node.firstChildren({"start", "end"});
    const Edge start = readEdge(startElement);
    const Edge end = readEdge(endElement);
    entry.start = start.frames;
    entry.startNumber = start.number;
    entry.startInTransition = start.inTransition;
    entry.end = end.frames;
    entry.wholeTexts = {start.wholeText, end.wholeText};
    entry.endNumber = end.number;
    entry.endInTransition = end.inTransition;
    entry.isPlain = entry.isTimed() && readsTheSameBothWays(start) && readsTheSameBothWays(end) &&
                    !(entry.kind == Kind::transition && (start.inTransition || end.inTransition));
    for (XMLNode e = endElement; e; e = e.nextSibling("end")) {
        const double number = e == endElement ? end.number : readEdge(e).number;
        if (std::isnan(number)) continue;
        entry.smallestEnd = std::min(entry.smallestEnd, number);
        entry.largestEnd = std::max(entry.largestEnd, number);
    }
    return entry;
}

int TrackEntry::searchInTheWayOf(FrameRange range) const {
    const double from = static_cast<double>(range.start.count);
    const double to = static_cast<double>(range.end.count);
    if (!isTimed()) return 0;
    if (startNumber >= from && startNumber < to) return 1;
    if (endNumber > from && endNumber <= to) return 2;
    if (startNumber <= from && endNumber >= to) return 3;
    return kind == Kind::item && startNumber == -1 && endNumber == -1 ? 4 : 0;
}

int TrackEntry::searchInside(FrameRange range) const {
    if (kind != Kind::item) return 0;
    if (startNumber >= static_cast<double>(range.start.count) &&
        endNumber <= static_cast<double>(range.end.count))
        return 1;
    return startNumber == -1 && endNumber == -1 ? 2 : 0;
}

SequenceIndex::Id SequenceIndex::add(XMLNode node) {
    TreeNode treeNode;
    treeNode.entry = TrackEntry::of(node);
    nodes_.push_back(treeNode);
    return static_cast<Id>(nodes_.size() - 1);
}

// Building and walking

TrackIndex::TrackIndex(SequenceIndex& sequence, XMLNode track)
    : sequence_(&sequence), track_(track) {
    const Id firstId = static_cast<Id>(sequence.nodes_.size());
    for (XMLNode node = track.firstChild(); node; node = node.nextSibling()) sequence.add(node);
    const std::size_t n = sequence.nodes_.size() - firstId;
    for (std::size_t i = 0; i < n; ++i) {
        TrackEntry& entry = at(firstId + static_cast<Id>(i)).entry;
        const TrackEntry* before = i > 0 ? &at(firstId + static_cast<Id>(i - 1)).entry : nullptr;
        const TrackEntry* after = i + 1 < n ? &at(firstId + static_cast<Id>(i + 1)).entry : nullptr;
        const bool transition = entry.kind == TrackEntry::Kind::transition;
        // A transition that the clip before it runs into too does not end a walk back.
        entry.stopsBackwardWalk =
            !entry.startInTransition && !(transition && before && before->endInTransition);
        entry.stopsForwardWalk =
            !entry.endInTransition && !(transition && after && after->startInTransition);
    }
    setRoot(build(firstId, n));
}

TrackIndex::Id TrackIndex::build(Id firstId, std::size_t n) {
    if (n == 0) return none;
    const std::size_t half = n / 2;
    const Id middle = firstId + static_cast<Id>(half);
    const Id left = build(firstId, half);
    const Id right = build(middle + 1, n - half - 1);
    at(middle).left = left;
    at(middle).right = right;
    pull(middle);
    return middle;
}

std::size_t TrackIndex::childCount() const { return count(root_); }

TrackIndex::Id TrackIndex::leftmost(Id subtree) const {
    while (subtree != none && at(subtree).left != none) subtree = at(subtree).left;
    return subtree;
}

TrackIndex::Id TrackIndex::rightmost(Id subtree) const {
    while (subtree != none && at(subtree).right != none) subtree = at(subtree).right;
    return subtree;
}

TrackIndex::Id TrackIndex::next(Id id) const {
    if (at(id).right != none) return leftmost(at(id).right);
    while (at(id).parent != none && at(at(id).parent).right == id) id = at(id).parent;
    return at(id).parent;
}

TrackIndex::Id TrackIndex::previous(Id id) const {
    if (at(id).left != none) return rightmost(at(id).left);
    while (at(id).parent != none && at(at(id).parent).left == id) id = at(id).parent;
    return at(id).parent;
}

std::vector<TrackIndex::Id> TrackIndex::items() const {
    std::vector<Id> ids;
    for (Id id = leftmost(root_); id != none; id = next(id))
        if (entry(id).kind == TrackEntry::Kind::item) ids.push_back(id);
    return ids;
}

std::vector<TrackIndex::Id> TrackIndex::entries(Id first, Id last) const {
    std::vector<Id> ids{first};
    while (ids.back() != last) ids.push_back(next(ids.back()));
    return ids;
}

bool TrackIndex::holds(Id id) const {
    while (at(id).parent != none) id = at(id).parent;
    return id == root_;
}

std::size_t TrackIndex::position(Id id) const {
    std::size_t before = count(at(id).left);
    for (Id child = id, parent = at(id).parent; parent != none;
         child = parent, parent = at(parent).parent)
        if (at(parent).right == child) before += count(at(parent).left) + 1;
    return before;
}

TrackIndex::Id TrackIndex::entryAt(std::size_t place) const {
    for (Id id = root_; id != none;) {
        const std::size_t before = count(at(id).left);
        if (place == before) return id;
        if (place < before) {
            id = at(id).left;
        } else {
            place -= before + 1;
            id = at(id).right;
        }
    }
    return none;
}

// Summaries

void TrackIndex::pull(Id id) {
    SequenceIndex::TreeNode& node = at(id);
    const TrackEntry& e = node.entry;
    SequenceIndex::Summary s;
    s.count = 1;
    s.backwardStops = e.stopsBackwardWalk;
    s.forwardStops = e.stopsForwardWalk;
    s.middles = e.isMiddleOfChain();
    s.oddities = !e.isPlain;
    s.anyStartInTransition = e.startInTransition;
    s.anyEndInTransition = e.endInTransition;
    if (!e.startInTransition) s.smallestStart = s.largestStart = e.start;
    if (!e.endInTransition) s.smallestEnd = s.largestEnd = e.end;
    if (e.stopsBackwardWalk) s.lastBackwardStop = e.start;
    if (e.stopsForwardWalk) s.firstForwardStop = e.end;
    if (e.isTimed() && e.largestEnd > -1) s.smallestRealEnd = e.smallestEnd;

    for (const Id child : {node.left, node.right}) {
        if (child == none) continue;
        const SequenceIndex::Summary& c = at(child).summary;
        s.count += c.count;
        s.middles += c.middles;
        s.oddities += c.oddities;
        s.anyStartInTransition |= c.anyStartInTransition;
        s.anyEndInTransition |= c.anyEndInTransition;
        s.smallestStart = std::min(s.smallestStart, c.smallestStart);
        s.largestStart = std::max(s.largestStart, c.largestStart);
        s.smallestEnd = std::min(s.smallestEnd, c.smallestEnd);
        s.largestEnd = std::max(s.largestEnd, c.largestEnd);
        s.smallestRealEnd = std::min(s.smallestRealEnd, c.smallestRealEnd);
        const bool isLeft = child == node.left;
        // The left subtree's forward stop comes first; its backward stop counts when no later one
        // does.
        if (c.forwardStops > 0 && (isLeft || s.forwardStops == 0))
            s.firstForwardStop = c.firstForwardStop;
        if (c.backwardStops > 0 && (!isLeft || s.backwardStops == 0))
            s.lastBackwardStop = c.lastBackwardStop;
        s.backwardStops += c.backwardStops;
        s.forwardStops += c.forwardStops;
        at(child).parent = id;
    }
    node.summary = s;
}

void TrackIndex::pullUpFrom(Id id) {
    for (; id != none; id = at(id).parent) pull(id);
}

SequenceIndex::Summary TrackIndex::countsUpTo(Id id) const {
    SequenceIndex::Summary total;
    const auto add = [&](Id subtree, bool alone) {
        if (subtree == none) return;
        const TrackEntry& e = entry(subtree);
        const SequenceIndex::Summary& s = at(subtree).summary;
        total.count += alone ? 1 : s.count;
        total.backwardStops += alone ? e.stopsBackwardWalk : s.backwardStops;
        total.forwardStops += alone ? e.stopsForwardWalk : s.forwardStops;
        total.middles += alone ? e.isMiddleOfChain() : s.middles;
        total.oddities += alone ? !e.isPlain : s.oddities;
    };
    add(at(id).left, false);
    add(id, true);
    for (Id child = id, parent = at(id).parent; parent != none;
         child = parent, parent = at(parent).parent) {
        if (at(parent).right != child) continue;
        add(at(parent).left, false);
        add(parent, true);
    }
    return total;
}

// Keeping current

void TrackIndex::setRoot(Id id) {
    root_ = id;
    if (id != none) at(id).parent = none;
}

void TrackIndex::split(Id subtree, std::size_t leftCount, Id& left, Id& right) {
    if (subtree == none) {
        left = right = none;
        return;
    }
    const std::size_t ownLeft = count(at(subtree).left);
    Id rest = none;
    if (leftCount <= ownLeft) {
        split(at(subtree).left, leftCount, left, rest);
        at(subtree).left = rest;
        right = subtree;
    } else {
        split(at(subtree).right, leftCount - ownLeft - 1, rest, right);
        at(subtree).right = rest;
        left = subtree;
    }
    pull(subtree);
}

// Each entry of a tree is its root with equal chance: that keeps the tree balanced whatever is done
// to it. True in `part` of `whole` cases.
bool TrackIndex::chance(std::size_t part, std::size_t whole) {
    std::uint64_t& r = sequence_->random_;  // xorshift: quick, and the same on every run
    r ^= r << 13;
    r ^= r >> 7;
    r ^= r << 17;
    return r % whole < part;
}

TrackIndex::Id TrackIndex::merge(Id left, Id right) {
    if (left == none) return right;
    if (right == none) return left;
    if (chance(count(left), count(left) + count(right))) {
        const Id merged = merge(at(left).right, right);
        at(left).right = merged;
        pull(left);
        return left;
    }
    const Id merged = merge(left, at(right).left);
    at(right).left = merged;
    pull(right);
    return right;
}

void TrackIndex::cut(Id id) {
    const Id parent = at(id).parent;
    Id& slot = parent == none ? root_ : at(parent).left == id ? at(parent).left : at(parent).right;
    slot = merge(at(id).left, at(id).right);
    if (slot != none) at(slot).parent = parent;
    at(id).left = at(id).right = at(id).parent = none;
    pullUpFrom(parent);
}

void TrackIndex::paste(Id id, std::size_t place) {
    Id parent = none;
    Id* slot = &root_;
    while (*slot != none && !chance(1, count(*slot) + 1)) {
        parent = *slot;
        const std::size_t leftCount = count(at(parent).left);
        slot = place <= leftCount ? &at(parent).left : &at(parent).right;
        if (place > leftCount) place -= leftCount + 1;
    }
    Id before = none, after = none;
    split(*slot, place, before, after);
    at(id).left = before;
    at(id).right = after;
    at(id).parent = parent;
    pull(id);
    *slot = id;
    pullUpFrom(parent);
}

void TrackIndex::refreshStops(Id id) {
    if (id == none) return;
    TrackEntry& e = at(id).entry;
    const bool transition = e.kind == TrackEntry::Kind::transition;
    const Id before = transition ? previous(id) : none;
    const Id after = transition ? next(id) : none;
    const bool backward =
        !e.startInTransition && !(before != none && entry(before).endInTransition);
    const bool forward = !e.endInTransition && !(after != none && entry(after).startInTransition);
    if (backward == e.stopsBackwardWalk && forward == e.stopsForwardWalk) return;
    e.stopsBackwardWalk = backward;
    e.stopsForwardWalk = forward;
    pullUpFrom(id);
}

void TrackIndex::refreshStopsAround(Id id) {
    for (const Id changed : {id, previous(id), next(id)}) refreshStops(changed);
}

void TrackIndex::takeOver(TrackIndex& from, Id id, std::size_t place) {
    from.remove(id);
    paste(id, place);
    refreshStopsAround(id);
}

void TrackIndex::remove(Id id) {
    const Id before = previous(id);
    const Id after = next(id);
    cut(id);
    refreshStops(before);
    refreshStops(after);
}

void TrackIndex::insertAt(std::size_t place, XMLNode node) {
    const Id id = sequence_->add(node);
    pull(id);
    paste(id, place);
    refreshStopsAround(id);
}

void TrackIndex::reread(Id id) {
    TrackEntry& entry = at(id).entry;
    const TrackEntry before = entry;
    entry = TrackEntry::of(before.node);
    entry.stopsBackwardWalk = before.stopsBackwardWalk;
    entry.stopsForwardWalk = before.stopsForwardWalk;
    pullUpFrom(id);
    refreshStopsAround(id);
}

}  // namespace reelsweep
