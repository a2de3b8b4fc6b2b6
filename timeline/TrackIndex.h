// TrackIndex: the child nodes of a track in order, searchable by time.
//
// The passes that move, hide and merge clips ask the same questions again and again: which group
// does a clip move with, who stands in the way between two frames, what ended last before a frame.
// Answered by queries, each costs a walk over the track. Here each costs O(log n) on a track in
// time order:
//
//   V1   A[0,100)   B[100,-1)  x[190,210)  C[-1,300)        D[400,500)
//                   '------- one group, [100,300) --'
//
// The nodes stand in a balanced tree in sibling order (a randomised search tree). Every subtree
// keeps the outer edges of what is in it, so a search skips the subtrees in which nothing can
// match. All that is stored about neighbours is two marks: whether a walk back or forth over edges
// of -1 stops at a node. So a move, split or trim updates a node, its neighbours and their
// ancestors, and nothing else.
//
// Files may hold any text as a time. Own edges are compared as XPath numbers and groups by leading
// integers, as queries on the tree would, so that the answers are the same for malformed files too.
// Passes only ask; TimelineEdit, which makes the indexes, keeps them right.
// Owner: TimelineEdit; a reference stays valid as long as it lives, whatever is edited.
// Thread rule: the thread that edits the sequence.
#pragma once

#include "time/FrameRange.h"
#include "xml/XMLNode.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace reelsweep {

/// By which of its searches a pass finds an item; searches are made in this order.
enum class FoundBy : std::uint8_t {
    nothing,
    startInRange,
    endInRange,
    coveringRange,
    ownRange,   ///< both of its own edges lie inside the range
    groupOnly,  ///< a clip without an edge of its own, which only its group places
};

/// One child node of a track, whatever it is, with its times as the searches need them.
struct TrackEntry {
    enum class Kind : std::uint8_t { item, transition, other };  ///< item: clip or generator

    XMLNode node;
    Frames start;            ///< leading integer of the first `start` text; 0 when missing
    Frames end;              ///< the same for `end`
    FrameRange wholeTexts;   ///< the same of all texts of `start` and `end`, joined
    double startNumber = 0;  ///< "start[1]" as an XPath number; NaN when it is none
    double endNumber = 0;    ///< "end[1]"
    double smallestEnd = 0;  ///< over all `end` children; +infinity when none is a number
    double largestEnd = 0;   ///< -infinity when none is a number
    Kind kind = Kind::other;
    bool startInTransition = false;  ///< the start text is exactly "-1"
    bool endInTransition = false;
    bool stopsBackwardWalk = false;  ///< a walk back over edges of -1 ends here, at `start`
    bool stopsForwardWalk = false;
    /// Numbers and integers agree, as they do in any file that an editing system wrote.
    bool isPlain = false;

    bool isTimed() const { return kind != Kind::other; }
    /// Which of the searches for what stands in the way of a range finds the entry:
    /// startInRange, endInRange, coveringRange, groupOnly or nothing.
    FoundBy foundInTheWayOf(FrameRange range) const;
    /// The same for the searches for what lies inside a range, clips and generators only: ownRange,
    /// groupOnly or nothing.
    FoundBy foundInside(FrameRange range) const;
    /// Both edges inside transitions: only its group says where it is.
    bool isMiddleOfChain() const {
        return kind == Kind::item && startInTransition && endInTransition;
    }

    static TrackEntry of(XMLNode node);
};

/// Whether a lower item in `lower` keeps an upper one in `upper` from moving down. Ranges that only
/// touch do not conflict.
bool conflict(FrameRange lower, FrameRange upper);

/// How an item's own edges lie to a range that hides what is below it.
enum class Overlap {
    none,
    sticksOutOnBothSides,
    tailHidden,
    headHidden,
    inside,
};
Overlap overlapOf(FrameRange item, FrameRange hiding);

class TrackIndex;

/// The entries of all indexed tracks of one sequence; entries keep their number when they change
/// track.
class SequenceIndex {
public:
    using Id = std::uint32_t;
    static constexpr Id none = std::numeric_limits<Id>::max();

    /// The reference stays valid, and current, while the sequence is edited.
    const TrackEntry& entry(Id id) const { return node(id).entry; }
    /// The number of a node that is or was a child of an indexed track; none for any other.
    Id find(XMLNode node) const;

private:
    friend class TrackIndex;

    // What a subtree holds, for deciding whether a search must enter it.
    struct Summary {
        std::uint32_t count = 0;
        std::uint32_t backwardStops = 0;
        std::uint32_t forwardStops = 0;
        std::uint32_t middles = 0;
        std::uint32_t oddities = 0;  ///< entries that are not plain
        bool anyStartInTransition = false;
        bool anyEndInTransition = false;
        // Over the entries whose edge is their own.
        Frames smallestStart{std::numeric_limits<std::int64_t>::max()};
        Frames largestStart{std::numeric_limits<std::int64_t>::min()};
        Frames smallestEnd{std::numeric_limits<std::int64_t>::max()};
        Frames largestEnd{std::numeric_limits<std::int64_t>::min()};
        Frames lastBackwardStop;  ///< its start; only with backwardStops > 0
        Frames firstForwardStop;  ///< its end; only with forwardStops > 0
        double smallestRealEnd = std::numeric_limits<double>::infinity();
    };
    struct TreeNode {
        TrackEntry entry;
        Summary summary;
        const TrackIndex* home = nullptr;  ///< the index whose tree it stands in
        Id left = none;
        Id right = none;
        Id parent = none;
    };

    /// The number of a node, which gets one when it has none.
    Id add(XMLNode xml);
    std::size_t slotOf(XMLNode node) const;

    /// Nodes stay where they are, so that whoever looks at one may edit.
    static constexpr std::size_t pageSize = 512;
    TreeNode& node(Id id) const { return pages_[id / pageSize][id % pageSize]; }

    std::vector<std::unique_ptr<TreeNode[]>> pages_;
    Id count_ = 0;
    std::vector<Id> slots_;  ///< numbers by node, open addressing; a power of two of them
    std::uint64_t random_ = 0x9E3779B97F4A7C15u;
};

class TrackIndex {
public:
    using Id = SequenceIndex::Id;
    static constexpr Id none = SequenceIndex::none;

    XMLNode track() const { return track_; }
    const TrackEntry& entry(Id id) const {
        bringUpToDate();
        return sequence_->entry(id);
    }
    std::size_t childCount() const;
    /// Clips and generators in order. O(n).
    std::vector<Id> items() const;
    /// All entries from `first` to `last`, both included.
    std::vector<Id> entries(Id first, Id last) const;
    Id next(Id id) const;
    Id previous(Id id) const;
    /// Whether the entry stands on this track now.
    bool holds(Id id) const;

    /// The nodes that move together with `id`: all from `first` to `last`.
    struct Group {
        Id first = none;
        Id last = none;
        FrameRange range;
    };
    Group group(Id id) const;

    /// Neighbouring entries whose groups all stay among them.
    struct Stretch {
        Id first = none;
        Id last = none;
        /// One chain of clips joined by transitions, plain in every number, longer than two clips.
        /// All its clips have the whole stretch as their group; only its first and last clip have
        /// an edge of their own.
        bool isChain = false;
        FrameRange range;  ///< of the group; only for a chain
    };
    /// The smallest stretch that holds `id`.
    Stretch stretch(Id id) const;

    /// The first entry from `from` on (or from the start, for none) whose own edges make it a
    /// candidate for `range` and whose group conflicts with it. Null id when the range is free.
    Id firstInTheWay(FrameRange range, Id from = none) const;
    /// The first clip or generator from `from` on that lies, with its whole group, inside the
    /// range.
    Id firstInside(FrameRange range, Id from = none) const;
    /// The last node that ends at or before the frame, at 0 or later.
    Id lastEndingBy(Frames frame) const;
    /// The first entry from `from` on whose own edges, none of them -1, overlap the range.
    Id firstOverlapping(FrameRange range, Id from) const;
    /// The entry's index among the track's child nodes.
    std::size_t position(Id id) const;
    /// The entry at that index; none past the end.
    Id entryAt(std::size_t place) const;

private:
    friend class TimelineEdit;

    /// Indexes all child nodes of the track. O(n).
    TrackIndex(SequenceIndex& sequence, XMLNode track);

    // Keeping right: the door's business, which edits the tree first. A watched index follows each
    // edit in O(log n). One that is not watched is marked as stale by the first edit, at no cost,
    // and made anew in its place by the next question, in O(n).

    void watch();
    void unwatch() { watched_ = false; }
    void removed(Id id);
    /// A node has come to stand before the entry `next`, at the end for none.
    void placed(XMLNode node, Id next);
    void retimed(Id id);
    void markStale() { stale_ = true; }

    bool follows() const { return watched_ && !stale_; }
    void bringUpToDate() const {
        if (stale_) rebuild();
    }
    void rebuild() const;
    Id enter(XMLNode node) const;

    struct Bounds;
    template <class Possible, class Wanted>
    Id find(Id subtree, FrameRange around, std::size_t skip, const Possible& possible,
            const Wanted& wanted) const;
    template <class Possible, class Wanted>
    Id findFrom(Id from, const Possible& possible, const Wanted& wanted) const;

    SequenceIndex::TreeNode& at(Id id) const { return sequence_->node(id); }
    std::size_t count(Id id) const { return id == none ? 0 : at(id).summary.count; }
    Id build(std::span<const Id> ids) const;
    /// The summary of all entries up to and including `id`; only its counts are meant.
    SequenceIndex::Summary countsUpTo(Id id) const;
    void pull(Id id) const;
    void pullUpFrom(Id id);
    void refreshStops(Id id);
    void refreshStopsAround(Id id);
    Id leftmost(Id subtree) const;
    Id rightmost(Id subtree) const;
    void split(Id subtree, std::size_t leftCount, Id& left, Id& right);
    Id merge(Id left, Id right);
    bool chance(std::size_t part, std::size_t whole);
    void dissolve(Id subtree) const;
    void cut(Id id);
    void paste(Id id, std::size_t place);
    Id lastBackwardStopBefore(Id id) const;
    Id firstForwardStopAfter(Id id) const;
    bool crossedAfter(Id id) const;
    bool isChain(const Group& group) const;

    SequenceIndex* sequence_;
    XMLNode track_;
    mutable Id root_ = none;
    mutable bool stale_ = false;
    bool watched_ = true;
};

}  // namespace reelsweep
