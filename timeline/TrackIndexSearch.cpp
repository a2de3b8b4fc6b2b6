// Searching in a track's index: by time, and for what moves and is hidden together.
#include "timeline/TrackIndex.h"

#include <algorithm>

namespace reelsweep {

/// Within which edges the groups of a subtree's entries lie.
struct TrackIndex::Bounds {
    Frames smallestStart, largestStart, smallestEnd, largestEnd;

    bool mayConflict(FrameRange r) const {
        return (largestStart >= r.start && smallestStart < r.end) ||
               (largestEnd > r.start && smallestEnd <= r.end) ||
               (smallestStart <= r.start && largestEnd >= r.end);
    }
    bool mayLieInside(FrameRange r) const {
        return largestStart >= r.start && smallestEnd <= r.end;
    }
};

// A walk that leaves the subtree ends at `around.start` when it goes back, and at `around.end` when
// it goes forth. The first `skip` entries of the subtree are passed over.
template <class Possible, class Wanted>
TrackIndex::Id TrackIndex::find(Id subtree, FrameRange around, std::size_t skip,
                                const Possible& possible, const Wanted& wanted) const {
    if (subtree == none || skip >= count(subtree)) return none;
    const SequenceIndex::TreeNode& node = at(subtree);
    const SequenceIndex::Summary& s = node.summary;
    Bounds bounds{s.smallestStart, s.largestStart, s.smallestEnd, s.largestEnd};
    if (s.anyStartInTransition) {
        bounds.smallestStart = std::min(bounds.smallestStart, around.start);
        bounds.largestStart = std::max(bounds.largestStart, around.start);
    }
    if (s.anyEndInTransition) {
        bounds.smallestEnd = std::min(bounds.smallestEnd, around.end);
        bounds.largestEnd = std::max(bounds.largestEnd, around.end);
    }
    if (!possible(s, bounds)) return none;

    const TrackEntry& e = node.entry;
    const std::size_t leftCount = count(node.left);
    const Frames stopBefore = leftCount > 0 && at(node.left).summary.backwardStops > 0
                                  ? at(node.left).summary.lastBackwardStop
                                  : around.start;
    const Frames stopAfter = node.right != none && at(node.right).summary.forwardStops > 0
                                 ? at(node.right).summary.firstForwardStop
                                 : around.end;
    const FrameRange aroundLeft{around.start, e.stopsForwardWalk ? e.end : stopAfter};
    const Id inLeft = find(node.left, aroundLeft, skip, possible, wanted);
    if (inLeft != none) return inLeft;
    if (skip <= leftCount) {
        const FrameRange group{e.startInTransition ? stopBefore : e.start,
                               e.endInTransition ? stopAfter : e.end};
        if (wanted(e, group)) return subtree;
    }
    const FrameRange aroundRight{e.stopsBackwardWalk ? e.start : stopBefore, around.end};
    return find(node.right, aroundRight, skip > leftCount ? skip - leftCount - 1 : 0, possible,
                wanted);
}

template <class Possible, class Wanted>
TrackIndex::Id TrackIndex::findFrom(Id from, const Possible& possible, const Wanted& wanted) const {
    bringUpToDate();
    const FrameRange offTrack{edgeInTransition, edgeInTransition};
    return find(root_, offTrack, from == none ? 0 : position(from), possible, wanted);
}

TrackIndex::Id TrackIndex::firstInTheWay(FrameRange range, Id from) const {
    return findFrom(
        from, [&](const auto&, const Bounds& bounds) { return bounds.mayConflict(range); },
        [&](const TrackEntry& e, FrameRange group) {
            return conflict(group, range) && e.foundInTheWayOf(range) != FoundBy::nothing;
        });
}

TrackIndex::Id TrackIndex::firstInside(FrameRange range, Id from) const {
    return findFrom(
        from, [&](const auto&, const Bounds& bounds) { return bounds.mayLieInside(range); },
        [&](const TrackEntry& e, FrameRange group) {
            return group.start >= range.start && group.end <= range.end &&
                   e.foundInside(range) != FoundBy::nothing;
        });
}

TrackIndex::Id TrackIndex::firstOverlapping(FrameRange range, Id from) const {
    return findFrom(
        from,
        [&](const SequenceIndex::Summary& s, const Bounds&) {
            return (s.smallestStart < range.start && s.largestEnd > range.end) ||
                   (s.smallestStart < range.start && s.largestEnd > range.start &&
                    s.smallestEnd <= range.end) ||
                   (s.largestStart >= range.start && s.smallestStart < range.end &&
                    s.largestEnd > range.end) ||
                   (s.largestStart >= range.start && s.smallestEnd <= range.end);
        },
        [&](const TrackEntry& e, FrameRange) {
            return !e.startInTransition && !e.endInTransition &&
                   overlapOf({e.start, e.end}, range) != Overlap::none;
        });
}

TrackIndex::Id TrackIndex::lastEndingBy(Frames frame) const {
    bringUpToDate();
    const double latest = static_cast<double>(frame.count);
    Id id = root_;
    while (id != none && at(id).summary.smallestRealEnd <= latest) {
        const Id right = at(id).right;
        if (right != none && at(right).summary.smallestRealEnd <= latest) {
            id = right;
            continue;
        }
        const TrackEntry& e = entry(id);
        if (e.isTimed() && e.largestEnd > -1 && e.smallestEnd <= latest) return id;
        id = at(id).left;
    }
    return none;
}

// Groups and stretches

TrackIndex::Id TrackIndex::lastBackwardStopBefore(Id id) const {
    const auto lastIn = [&](Id subtree) {
        for (;;) {
            const Id right = at(subtree).right;
            if (right != none && at(right).summary.backwardStops > 0)
                subtree = right;
            else if (entry(subtree).stopsBackwardWalk)
                return subtree;
            else
                subtree = at(subtree).left;
        }
    };
    const auto holdsStop = [&](Id subtree) {
        return subtree != none && at(subtree).summary.backwardStops > 0;
    };
    if (holdsStop(at(id).left)) return lastIn(at(id).left);
    for (Id child = id, parent = at(id).parent; parent != none;
         child = parent, parent = at(parent).parent) {
        if (at(parent).right != child) continue;
        if (entry(parent).stopsBackwardWalk) return parent;
        if (holdsStop(at(parent).left)) return lastIn(at(parent).left);
    }
    return none;
}

TrackIndex::Id TrackIndex::firstForwardStopAfter(Id id) const {
    const auto firstIn = [&](Id subtree) {
        for (;;) {
            const Id left = at(subtree).left;
            if (left != none && at(left).summary.forwardStops > 0)
                subtree = left;
            else if (entry(subtree).stopsForwardWalk)
                return subtree;
            else
                subtree = at(subtree).right;
        }
    };
    const auto holdsStop = [&](Id subtree) {
        return subtree != none && at(subtree).summary.forwardStops > 0;
    };
    if (holdsStop(at(id).right)) return firstIn(at(id).right);
    for (Id child = id, parent = at(id).parent; parent != none;
         child = parent, parent = at(parent).parent) {
        if (at(parent).left != child) continue;
        if (entry(parent).stopsForwardWalk) return parent;
        if (holdsStop(at(parent).right)) return firstIn(at(parent).right);
    }
    return none;
}

TrackIndex::Group TrackIndex::group(Id id) const {
    bringUpToDate();
    const TrackEntry& e = entry(id);
    Group group{id, id, {e.start, e.end}};
    if (e.startInTransition) {
        const Id stop = lastBackwardStopBefore(id);
        group.first = stop == none ? leftmost(root_) : stop;
        group.range.start = stop == none ? edgeInTransition : entry(stop).start;
    }
    if (e.endInTransition) {
        const Id stop = firstForwardStopAfter(id);
        group.last = stop == none ? rightmost(root_) : stop;
        group.range.end = stop == none ? edgeInTransition : entry(stop).end;
    }
    return group;
}

// Whether some group holds both this entry and the next.
bool TrackIndex::crossedAfter(Id id) const {
    const Id after = next(id);
    if (after == none) return false;
    for (Id k = after; k != none && !entry(k).stopsBackwardWalk; k = next(k))
        if (entry(k).startInTransition) return true;
    for (Id k = id; k != none && !entry(k).stopsForwardWalk; k = previous(k))
        if (entry(k).endInTransition) return true;
    return false;
}

bool TrackIndex::isChain(const Group& group) const {
    const SequenceIndex::Summary first = countsUpTo(group.first);
    const SequenceIndex::Summary last = countsUpTo(group.last);
    const bool oddFirst = !entry(group.first).isPlain;
    const bool forwardStopAtLast = entry(group.last).stopsForwardWalk;
    const bool forwardStopAtFirst = entry(group.first).stopsForwardWalk;
    const std::uint32_t forwardStopsBeforeLast =
        last.forwardStops - forwardStopAtLast - (first.forwardStops - forwardStopAtFirst);
    const Id before = previous(group.first);
    return last.middles > first.middles - entry(group.first).isMiddleOfChain() &&
           last.backwardStops == first.backwardStops && forwardStopsBeforeLast == 0 && !oddFirst &&
           last.oddities == first.oddities && (before == none || !crossedAfter(before)) &&
           !crossedAfter(group.last);
}

TrackIndex::Stretch TrackIndex::stretch(Id id) const {
    const std::size_t here = position(id);
    // A transition has a group of its own; its neighbours tell whether it stands in a chain.
    for (const Id seed : {id, previous(id), next(id)}) {
        if (seed == none || entry(seed).kind != TrackEntry::Kind::item) continue;
        const Group chain = group(seed);
        if (position(chain.first) <= here && here <= position(chain.last) && isChain(chain))
            return {chain.first, chain.last, true, chain.range};
    }
    Stretch stretch{id, id, false, {}};
    for (Id before = previous(stretch.first); before != none && crossedAfter(before);
         before = previous(stretch.first))
        stretch.first = before;
    while (crossedAfter(stretch.last)) stretch.last = next(stretch.last);
    return stretch;
}

}  // namespace reelsweep
