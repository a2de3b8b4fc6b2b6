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
// Files may hold any text as a time. An item's own edges are compared as XPath numbers, and groups
// by leading integers. Queries on the tree do the same, so malformed files get the same answers.
// Passes only ask; TimelineEdit, which makes the indexes, keeps them right.
// Owner: TimelineEdit; a reference stays valid as long as it lives, whatever is edited.
// Thread rule: the thread that edits the sequence.
#pragma once

#include "timeline/ItemFacts.h"
#include "timeline/TrackEntry.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <vector>

namespace reelsweep {

class TrackIndex;

/// The entries of all indexed tracks of one sequence; entries keep their number when they change
/// track.
class SequenceIndex {
public:
    using Id = std::uint32_t;
    static constexpr Id none = std::numeric_limits<Id>::max();

    /// What is known of items is read from there; null reads their elements.
    explicit SequenceIndex(const ItemFactsTable* facts) : facts_(facts) {}

    /// The reference stays valid while the sequence is edited, and is as current as the index.
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
    /// The entry of a node as it is now.
    TrackEntry read(XMLNode node) const;

    /// Nodes stay where they are, so that whoever looks at one may edit.
    static constexpr std::size_t pageSize = 512;
    TreeNode& node(Id id) const { return pages_[id / pageSize][id % pageSize]; }

    const ItemFactsTable* facts_;
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
    /// The reference stays valid, and follows the edits of the step in which the index was asked
    /// for. In a later step the next question brings it up to date.
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
    /// The items of a group, in order.
    std::vector<XMLNode> nodes(const Group& group) const;

    /// Neighbouring entries. The group of each lies within them.
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

    /// The first entry that is in the way of `range`: its own edges make it a candidate, and its
    /// group conflicts. The search starts at `from`, or at the first entry for none. Answers none
    /// when the range is free.
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

    // Only TimelineEdit calls these, after it has edited the tree. A watched index follows each
    // edit in O(log n). An edit marks any other index as stale, in O(1). The next question makes a
    // stale index anew in its place, in O(n).

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
