// SequenceFinder: the `sequence` elements of a tree whose places in its file are known.
//
// Owner: the caller, for one search. Thread rule: the thread that owns the tree.
#pragma once

#include "xml/XMLOutline.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <pugixml.hpp>
#include <vector>

namespace reelsweep {

class SequenceFinder {
public:
    /// The places are those of all sequences, in the order of their begins.
    explicit SequenceFinder(const std::vector<ElementBytes>& places) : places_(places) {}

    /// The sequences below a node of a tree that is still as it was parsed. It goes down only where
    /// one begins. Nothing when the tree and the places do not agree.
    std::optional<std::vector<pugi::xml_node>> below(const pugi::xml_node& top);

private:
    /// Finds what is below a node that ends before that byte.
    void search(const pugi::xml_node& parent, std::uint64_t end);
    /// Where the next sequence begins; past every byte when there are no more.
    std::uint64_t next() const {
        return found_.size() < places_.size() ? places_[found_.size()].begin : noPlace;
    }

    static constexpr std::uint64_t noPlace = std::numeric_limits<std::uint64_t>::max();

    const std::vector<ElementBytes>& places_;
    std::vector<pugi::xml_node> found_;
    bool agrees_ = true;
};

}  // namespace reelsweep
