// ClipVeto: the clips and tracks that somebody asked to be left alone.
//
// A pass leaves the whole group of such a clip alone: what a transition joins to it moves and goes
// with it, or not at all.
//
// Owner: the tidy of one sequence. Thread rule: the run's thread.
#pragma once

#include "tidy/TidyRules.h"
#include "xml/XMLNode.h"

#include <cstddef>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace reelsweep {

class ClipVeto {
public:
    /// Among the clips of a sequence that is still to be edited. `keep` holds ids and patterns for
    /// names, as do the rules for clips. A clip that is only kept may hide others; one that the
    /// rules exclude hides nothing.
    ClipVeto(XMLNode sequence, const std::vector<std::string>& keep, const TidyRules& rules = {});

    bool isEmpty() const { return clips_.empty() && tracks_.empty(); }
    /// The first of these nodes that is to be left alone; none otherwise.
    XMLNode firstOf(std::span<const XMLNode> nodes) const;
    /// Why a clip is left alone: "you asked to leave it alone", "kept: track V3 is left alone".
    const std::string& reason(XMLNode clip) const;
    /// Whether one of these is excluded, and so is not taken to hide what lies below.
    bool excludesAny(std::span<const XMLNode> nodes) const;
    /// The clips that are excluded, in the order of the file.
    const std::vector<XMLNode>& excluded() const { return excluded_; }
    /// Whether nothing goes from a track and nothing comes to it.
    bool excludesTrack(XMLNode track) const { return tracks_.contains(track); }
    /// Whether the rules exclude all that the sequence holds.
    bool excludesEverything() const { return excludesEverything_; }

    /// What of `keep` named no clip here.
    std::vector<std::string> takeUnused() { return std::move(unusedKeeps_); }
    /// What of the rules excluded nothing here: "track V9", "clip Slate*", "colour Rose".
    std::vector<std::string> takeUnusedRules() { return std::move(unusedRules_); }

private:
    class Builder;

    static constexpr std::size_t asked = 0;  ///< the first reason

    std::unordered_map<XMLNode, std::size_t> clips_;  ///< with the number of the reason
    std::unordered_set<XMLNode> tracks_;
    std::vector<std::string> reasons_;
    std::vector<XMLNode> excluded_;
    bool excludesEverything_ = false;
    std::vector<std::string> unusedKeeps_;
    std::vector<std::string> unusedRules_;
};

}  // namespace reelsweep
