// ItemTimes: the times of an item as its file writes them.
//
// Files hold any text as a time. Most code wants its leading integer; the index of a track also
// compares times as numbers, as queries on the tree would. Both read through here.
// Thread rule: plain values; reading on the thread that owns the tree.
#pragma once

#include "time/Frames.h"
#include "xml/XMLNode.h"

#include <optional>

namespace reelsweep {

/// An item's times in frames of the sequence, where it has them. `end` and `out` are exclusive; an
/// edge inside a transition is -1.
struct ItemTimes {
    std::optional<Frames> start;
    std::optional<Frames> end;
    std::optional<Frames> in;
    std::optional<Frames> out;

    bool operator==(const ItemTimes&) const = default;
    static ItemTimes of(XMLNode item);
};

/// The leading integer of all text in a time element; 0 for a missing element.
Frames framesOf(XMLNode element);

/// An edge (`start` or `end`) read in every way that a search compares it.
struct EdgeText {
    Frames frames;              ///< leading integer of the first text
    Frames wholeText;           ///< of all texts joined; differs where a comment parts them
    double number;              ///< as an XPath number; NaN when it is none
    bool inTransition = false;  ///< the first text is exactly "-1"

    static EdgeText of(XMLNode element);
    /// True when every way of reading it answers the same, as in any file that an editing system
    /// wrote.
    bool isPlain() const;
};

}  // namespace reelsweep
