#include "timeline/TrackIndex.h"

#include <algorithm>

namespace reelsweep {

// Numbers of nodes

std::size_t SequenceIndex::slotOf(XMLNode node) const {
    // Fibonacci hashing: nodes lie at regular distances.
    const auto key = reinterpret_cast<std::uintptr_t>(node.identity());
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = (key * 0x9E3779B97F4A7C15u >> 20) & mask;
    while (slots_[slot] != none && entry(slots_[slot]).node != node) slot = (slot + 1) & mask;
    return slot;
}

SequenceIndex::Id SequenceIndex::find(XMLNode node) const {
    return slots_.empty() ? none : slots_[slotOf(node)];
}

SequenceIndex::Id SequenceIndex::add(XMLNode xml) {
    if (const Id known = find(xml); known != none) return known;
    if (count_ * std::size_t{2} >= slots_.size()) {
        slots_.assign(std::max<std::size_t>(64, slots_.size() * 2), none);
        for (Id id = 0; id < count_; ++id) slots_[slotOf(entry(id).node)] = id;
    }
    if (count_ % pageSize == 0) pages_.push_back(std::make_unique<TreeNode[]>(pageSize));
    const Id id = count_++;
    slots_[slotOf(xml)] = id;
    node(id).entry = read(xml);
    return id;
}

TrackEntry SequenceIndex::read(XMLNode node) const {
    const ItemFacts* const known = facts_ ? facts_->find(node) : nullptr;
    return known ? known->entry() : TrackEntry::of(node);
}

// Building and walking

TrackIndex::TrackIndex(SequenceIndex& sequence, XMLNode track)
    : sequence_(&sequence), track_(track) {
    rebuild();
}

void TrackIndex::rebuild() const {
    stale_ = false;
    dissolve(root_);
    root_ = none;
    std::vector<Id> ids;
    for (XMLNode node = track_.firstChild(); node; node = node.nextSibling()) {
        ids.push_back(enter(node));
    }
    for (std::size_t i = 0; i < ids.size(); ++i) {
        TrackEntry& e = at(ids[i]).entry;
        const TrackEntry* const before = i > 0 ? &at(ids[i - 1]).entry : nullptr;
        const TrackEntry* const after = i + 1 < ids.size() ? &at(ids[i + 1]).entry : nullptr;
        const bool transition = e.kind == TrackEntry::Kind::transition;
        // A transition that the clip before it runs into too does not end a walk back.
        e.stopsBackwardWalk =
            !e.startInTransition && !(transition && before && before->endInTransition);
        e.stopsForwardWalk =
            !e.endInTransition && !(transition && after && after->startInTransition);
    }
    root_ = build(ids);
    if (root_ != none) at(root_).parent = none;
}

// The number of a node that comes to this track, with its entry as the node is now.
TrackIndex::Id TrackIndex::enter(XMLNode node) const {
    const Id known = sequence_->count_;
    const Id id = sequence_->add(node);
    if (id < known) {
        // A tree that has not followed the node's way out still holds it.
        if (const TrackIndex* const home = at(id).home) home->rebuild();
        // No index read its times while it stood on no track, or on one that was not followed.
        at(id).entry = sequence_->read(node);
    }
    return id;
}

// Leaves the entries of a tree without one, ready for another. No deeper than the tree is.
void TrackIndex::dissolve(Id subtree) const {
    if (subtree == none) return;
    SequenceIndex::TreeNode& node = at(subtree);
    dissolve(node.left);
    dissolve(node.right);
    node.left = node.right = node.parent = none;
    node.home = nullptr;
}

TrackIndex::Id TrackIndex::build(std::span<const Id> ids) const {
    if (ids.empty()) return none;
    const std::size_t half = ids.size() / 2;
    const Id middle = ids[half];
    const Id left = build(ids.first(half));
    const Id right = build(ids.subspan(half + 1));
    at(middle).left = left;
    at(middle).right = right;
    at(middle).home = this;
    pull(middle);
    return middle;
}

std::size_t TrackIndex::childCount() const {
    bringUpToDate();
    return count(root_);
}

TrackIndex::Id TrackIndex::leftmost(Id subtree) const {
    while (subtree != none && at(subtree).left != none) subtree = at(subtree).left;
    return subtree;
}

TrackIndex::Id TrackIndex::rightmost(Id subtree) const {
    while (subtree != none && at(subtree).right != none) subtree = at(subtree).right;
    return subtree;
}

TrackIndex::Id TrackIndex::next(Id id) const {
    bringUpToDate();
    if (at(id).right != none) return leftmost(at(id).right);
    while (at(id).parent != none && at(at(id).parent).right == id) id = at(id).parent;
    return at(id).parent;
}

TrackIndex::Id TrackIndex::previous(Id id) const {
    bringUpToDate();
    if (at(id).left != none) return rightmost(at(id).left);
    while (at(id).parent != none && at(at(id).parent).left == id) id = at(id).parent;
    return at(id).parent;
}

std::vector<TrackIndex::Id> TrackIndex::items() const {
    bringUpToDate();
    std::vector<Id> ids;
    for (Id id = leftmost(root_); id != none; id = next(id))
        if (entry(id).kind == TrackEntry::Kind::item) ids.push_back(id);
    return ids;
}

std::vector<TrackIndex::Id> TrackIndex::entries(Id first, Id last) const {
    bringUpToDate();
    std::vector<Id> ids{first};
    while (ids.back() != last) ids.push_back(next(ids.back()));
    return ids;
}

std::vector<XMLNode> TrackIndex::nodes(const Group& group) const {
    std::vector<XMLNode> nodes;
    for (const Id id : entries(group.first, group.last)) nodes.push_back(entry(id).node);
    return nodes;
}

bool TrackIndex::holds(Id id) const {
    bringUpToDate();
    return at(id).home == this;
}

std::size_t TrackIndex::position(Id id) const {
    bringUpToDate();
    std::size_t before = count(at(id).left);
    for (Id child = id, parent = at(id).parent; parent != none;
         child = parent, parent = at(parent).parent)
        if (at(parent).right == child) before += count(at(parent).left) + 1;
    return before;
}

TrackIndex::Id TrackIndex::entryAt(std::size_t place) const {
    bringUpToDate();
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

void TrackIndex::pull(Id id) const {
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
    at(id).home = nullptr;
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
    at(id).home = this;
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

void TrackIndex::watch() {
    bringUpToDate();
    watched_ = true;
}

void TrackIndex::removed(Id id) {
    if (!follows()) return markStale();
    const Id before = previous(id);
    const Id after = next(id);
    cut(id);
    refreshStops(before);
    refreshStops(after);
}

void TrackIndex::placed(XMLNode node, Id next) {
    if (!follows()) return markStale();
    const Id id = enter(node);
    paste(id, next == none ? count(root_) : position(next));
    refreshStopsAround(id);
}

void TrackIndex::retimed(Id id) {
    if (!follows()) return markStale();
    TrackEntry& entry = at(id).entry;
    const TrackEntry before = entry;
    entry = sequence_->read(before.node);
    entry.stopsBackwardWalk = before.stopsBackwardWalk;
    entry.stopsForwardWalk = before.stopsForwardWalk;
    pullUpFrom(id);
    refreshStopsAround(id);
}

}  // namespace reelsweep
