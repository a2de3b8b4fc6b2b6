// ItemFacts: what passes ask of an item again and again, read from its element once.
//
// An item's children are spread over the memory of the tree, and reading two times of one costs
// more than anything that a pass then does with them. The facts of an item lie side by side.
// Owner: TimelineEdit, which keeps them current. Thread rule: the thread that edits the sequence.
#pragma once

#include "timeline/ItemTimes.h"
#include "timeline/TrackEntry.h"
#include "xml/XMLNode.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace reelsweep {

/// Of a clip, generator or transition that stands in a track or once did.
struct ItemFacts {
    XMLElement node;
    // The first children of these names; null where there is none.
    XMLElement start, end, in, out;
    XMLElement compositeMode;
    XMLElement firstFilter;  ///< filters come and go: see findWithFilter()
    ItemTimes times;
    TrackEntry::Kind kind = TrackEntry::Kind::item;
    /// Both edges are there once, and say a whole number and nothing else.
    bool hasPlainEdges = false;
    bool isGenerator = false;
    bool isDisabled = false;  ///< an `enabled` child says exactly "FALSE"

    bool isClip() const { return kind == TrackEntry::Kind::item; }
    /// The clip moves alone: neither of its edges lies in a transition.
    bool standsAlone() const {
        return hasPlainEdges && times.start != edgeInTransition && times.end != edgeInTransition;
    }
    bool operator==(const ItemFacts&) const = default;
    /// What TrackEntry::of() answers.
    TrackEntry entry() const;

    static ItemFacts of(XMLNode item);
};

/// The facts of all items of one sequence, by their elements.
class ItemFactsTable {
public:
    using Number = std::uint32_t;
    static constexpr Number none = ~Number{0};

    /// Takes in a clip, generator or transition; its facts are read when somebody asks for them.
    void add(XMLNode item);
    bool holds(XMLNode node) const { return numberOf(node) != none; }
    /// Items are numbered from 0 as they come in; none for what was never taken in.
    Number numberOf(XMLNode node) const;
    std::size_t size() const { return count_; }
    /// Null for what was never taken in. The facts stay where they are, and are as current as the
    /// last question. The first filter is only as current as the last findWithFilter().
    const ItemFacts* find(XMLNode node) const;
    const ItemFacts* findWithFilter(XMLNode node) const;
    /// Null, or what is known without reading: the element and its kind.
    const ItemFacts* findUnread(XMLNode node) const;

    // After an edit. Each does nothing when the parent is no item of the table.

    /// A child has come to an item, or left it.
    void movedChild(XMLNode item, XMLNode child);
    /// The content of an item's child is another one.
    void changedChild(XMLNode item, XMLNode child);

private:
    struct Entry {
        ItemFacts facts;
        bool isRead = false;
        bool isFilterRead = false;  ///< the first filter
    };

    // The node lies beside its number, so that most questions touch one line of memory.
    struct Slot {
        const void* node = nullptr;
        Number number = none;
    };

    std::size_t slotOf(XMLNode node) const;
    void enter(Number number);
    Entry& entry(Number number) const { return pages_[number / pageSize][number % pageSize]; }

    static constexpr std::size_t pageSize = 512;
    std::vector<std::unique_ptr<Entry[]>> pages_;
    Number count_ = 0;
    std::vector<Slot> slots_;  ///< by node, open addressing; a power of two of them
};

}  // namespace reelsweep
