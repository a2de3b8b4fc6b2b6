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
// Owner: SequenceIndex. Thread rule: the thread that edits the sequence.
#pragma once

#include "time/Frames.h"
#include "xml/XMLNode.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace reelsweep {

/// Frames [start, end), end exclusive; -1 where a group runs off its track.
struct FrameRange {
    Frames start;
    Frames end;
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
    /// Which of the searches for what stands in the way of a range finds the entry by its own
    /// edges: 1 starts inside, 2 ends inside, 3 covers it, 4 a clip that only its group places; 0
    /// none of them.
    int searchInTheWayOf(FrameRange range) const;
    /// The same for what lies inside a range, clips and generators only: 1 by its own edges, 2 a
    /// clip that only its group places; 0 neither.
    int searchInside(FrameRange range) const;
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

    const TrackEntry& entry(Id id) const { return nodes_[id].entry; }

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
        Id left = none;
        Id right = none;
        Id parent = none;
    };

    Id add(XMLNode node);

    std::vector<TreeNode> nodes_;
    std::uint64_t random_ = 0x9E3779B97F4A7C15u;
};

class TrackIndex {
public:
    using Id = SequenceIndex::Id;
    static constexpr Id none = SequenceIndex::none;

    /// Indexes all child nodes of the track. O(n).
    TrackIndex(SequenceIndex& sequence, XMLNode track);

    XMLNode track() const { return track_; }
    const TrackEntry& entry(Id id) const { return sequence_->entry(id); }
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

    /// A stretch of siblings that no group reaches across the ends of.
    struct Run {
        Id first = none;
        Id last = none;
        /// One chain of clips joined by transitions, plain in every number, longer than two clips.
        /// All its clips have the whole run as their group; only its first and last clip have an
        /// edge of their own.
        bool isChain = false;
        FrameRange range;  ///< of the group; only for a chain
    };
    /// The smallest run that holds `id`.
    Run run(Id id) const;

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

    // Keeping current. The tree of nodes is edited by TimelineEdit, which calls these.

    /// Takes an entry over, from another track or from elsewhere on this one, to be the child at
    /// `place` once it has left its old place.
    void takeOver(TrackIndex& from, Id id, std::size_t place);
    void remove(Id id);
    /// Adds a node that now is the child at `place`.
    void insertAt(std::size_t place, XMLNode node);
    /// Reads the entry's times again.
    void reread(Id id);

private:
    struct Bounds;
    template <class Possible, class Wanted>
    Id find(Id subtree, FrameRange around, std::size_t skip, const Possible& possible,
            const Wanted& wanted) const;
    template <class Possible, class Wanted>
    Id findFrom(Id from, const Possible& possible, const Wanted& wanted) const;

    SequenceIndex::TreeNode& at(Id id) const { return sequence_->nodes_[id]; }
    std::size_t count(Id id) const { return id == none ? 0 : at(id).summary.count; }
    Id build(Id firstId, std::size_t n);
    /// The summary of all entries up to and including `id`; only its counts are meant.
    SequenceIndex::Summary countsUpTo(Id id) const;
    void pull(Id id);
    void pullUpFrom(Id id);
    void refreshStops(Id id);
    void refreshStopsAround(Id id);
    Id leftmost(Id subtree) const;
    Id rightmost(Id subtree) const;
    void split(Id subtree, std::size_t leftCount, Id& left, Id& right);
    Id merge(Id left, Id right);
    bool chance(std::size_t part, std::size_t whole);
    void setRoot(Id id);
    void cut(Id id);
    void paste(Id id, std::size_t place);
    Id lastBackwardStopBefore(Id id) const;
    Id firstForwardStopAfter(Id id) const;
    bool crossedAfter(Id id) const;
    bool isChain(const Group& group) const;

    SequenceIndex* sequence_;
    XMLNode track_;
    Id root_ = none;
};

}  // namespace reelsweep
