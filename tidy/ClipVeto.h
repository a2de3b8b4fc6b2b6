// ClipVeto: the clips that somebody asked to be left alone.
//
// A pass leaves the whole group of such a clip alone: what a transition joins to it moves and goes
// with it, or not at all.
//
// Owner: the tidy of one sequence. Thread rule: the run's thread.
#pragma once

#include "xml/XMLNode.h"

#include <span>
#include <string>
#include <unordered_set>
#include <vector>

namespace reelsweep {

class ClipVeto {
public:
    /// Among the clips of a sequence that is still to be edited. What is wanted is an item's id, or
    /// a pattern for its name with `*`, `?` and `[...]`, in any letter case.
    ClipVeto(XMLNode sequence, const std::vector<std::string>& wanted);

    bool isEmpty() const { return clips_.empty(); }
    /// The first of these nodes that is to be left alone; none otherwise.
    XMLNode firstOf(std::span<const XMLNode> nodes) const;
    /// What of the wanted named no clip here.
    std::vector<std::string> takeUnused() { return std::move(unused_); }

private:
    void add(XMLNode clip, const std::vector<std::string>& wanted);

    std::unordered_set<XMLNode> clips_;
    std::vector<std::string> unused_;
};

}  // namespace reelsweep
