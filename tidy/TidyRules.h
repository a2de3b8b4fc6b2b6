// TidyRules: which tracks, clips, filters, markers and transitions a tidy leaves alone, by name.
//
// A pattern is a text in which `*` stands for any letters, `?` for one and `[...]` for one of
// several; letter case does not count.
// Thread rule: plain values; what looks at nodes, on the thread that owns the tree.
#pragma once

#include "xml/XMLNode.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// Which of its elements a pass takes out. Without patterns it takes all.
struct ElementRule {
    std::vector<std::string> keep = {};  ///< what answers to one of these stays
    std::vector<std::string> only = {};  ///< when there are any, nothing else goes

    bool isEmpty() const { return keep.empty() && only.empty(); }
    /// Whether an element stays that goes by these names.
    bool keeps(std::span<const std::string> names) const;
    bool operator==(const ElementRule&) const = default;
};

/// Clips on such a track, of such a name or with such a label are excluded: no pass touches them,
/// and nothing counts as hidden under them.
struct TidyRules {
    std::vector<std::string> tracks = {};   ///< "V3", "A1-A4", or patterns for a track's name
    std::vector<std::string> clips = {};    ///< ids, or patterns for a clip's name
    std::vector<std::string> colours = {};  ///< patterns for a clip's label
    ElementRule filters = {};
    ElementRule markers = {};
    ElementRule transitions = {};

    bool excludesAnything() const { return !tracks.empty() || !clips.empty() || !colours.empty(); }
    bool isEmpty() const {
        return !excludesAnything() && filters.isEmpty() && markers.isEmpty() &&
               transitions.isEmpty();
    }
    bool operator==(const TidyRules&) const = default;
};

/// One list of patterns as data: a table of them drives the command line, preset files and the
/// preferences.
struct RuleRow {
    std::string_view key;      ///< in preset files and preferences: "excludeTracks"
    std::string_view option;   ///< on the command line: "--exclude-track"
    std::string_view value;    ///< what it takes, for help
    std::string_view summary;  ///< for help; a line end where the text breaks
    std::vector<std::string>& (*list)(TidyRules& rules);
    const std::vector<std::string>& (*of)(const TidyRules& rules);
};
std::span<const RuleRow> ruleTable();

/// Puts the patterns of both into one.
TidyRules merged(TidyRules rules, const TidyRules& more);

/// What stands in a ledger for a pass, where the rules kept a clip that no pass would have changed.
inline constexpr std::string_view rulesName = "rules";

bool answersTo(const std::string& text, const std::string& pattern);
/// Whether a text has anything in it that stands for other letters.
bool isPattern(std::string_view text);

/// What an element goes by: the name and id of a filter's or a transition's effect; the name, the
/// comment and the colour of a marker.
std::vector<std::string> effectNames(XMLNode filterOrTransition);
std::vector<std::string> markerNames(XMLNode marker);

}  // namespace reelsweep
