// TrackEntry: one child node of a track with its times as searches need them, and how ranges of
// frames lie to one another.
//
// Thread rule: plain values; reading on the thread that owns the tree.
#pragma once

#include "time/FrameRange.h"
#include "xml/XMLNode.h"

#include <cstdint>

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

}  // namespace reelsweep
