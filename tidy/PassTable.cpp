#include "tidy/PassTable.h"

#include "tidy/passes/Passes.h"

#include <algorithm>
#include <array>

namespace reelsweep {

namespace {

constexpr auto table = std::to_array<PassRow>({
    {"removeDisabledVideoClips", "Remove disabled video clips",
     "take out video clips that are switched off", true, false, passes::removeDisabledVideoClips},
    {"removeDisabledAudioClips", "Remove disabled audio clips",
     "take out audio clips that are switched off", true, false, passes::removeDisabledAudioClips},
    {"removeSilentAudio", "Remove silent audio clips", "take out audio clips whose level is 0",
     false, false, passes::removeSilentAudioClips},
    {"collapseTracks", "Collapse tracks", "move video clips down to the lowest track with room",
     true, false, nullptr},
    {"collapseUncompositedClips", "Collapse uncomposited clips",
     "with collapseTracks: take out or cut what opaque clips hide", true, false, nullptr},
    {"collapseMultiClips", "Collapse multiclips",
     "flag the multiclips of video tracks as collapsed", false, false, passes::collapseMulticlips,
     "collapsed"},
    {"removeUnusedTracks", "Remove unused tracks",
     "take out video tracks without clips, but the first", true, false, passes::removeUnusedTracks,
     "track"},
    {"replaceGaps", "Replace gaps with slugs", "fill the holes of the first video track with slugs",
     false, false, passes::replaceGapsWithSlugs, "mediaSource"},
    {"removeFilters", "Remove filters", "take out all filters, audio levels too", false, true,
     passes::removeFilters, "filter"},
    {"removeMarkers", "Remove markers", "take out all markers", false, true, passes::removeMarkers,
     "marker"},
    {"removeVideoTransitions", "Remove video transitions", "make video transitions plain cuts",
     false, false, passes::removeVideoTransitions},
    {"removeAudioTransitions", "Remove audio transitions", "make audio transitions plain cuts",
     false, false, passes::removeAudioTransitions},
});

// Collapsing: what opaque clips hide goes first, then everything falls as far as it can, then what
// is partly hidden is cut and falls once more.
constexpr auto collapseSteps = std::to_array<PassStep>({
    {"collapseUncompositedClips", passes::removeObscuredClips, "collapseTracks"},
    {"collapseTracks", passes::collapseTracksFromTheTop},
    {"collapseTracks", passes::collapseTracksFromTheBottom},
    {"collapseUncompositedClips", passes::mergeClips, "collapseTracks"},
    {"collapseTracks", passes::collapseTracksFromTheBottom, "collapseUncompositedClips"},
});

std::vector<PassStep> stepsOfTable() {
    std::vector<PassStep> steps;
    for (const PassRow& row : table) {
        if (row.run) steps.push_back({row.option, row.run});
        if (row.option == "collapseTracks")
            steps.insert(steps.end(), collapseSteps.begin(), collapseSteps.end());
    }
    return steps;
}

template <class Wanted>
OptionList optionsWhere(Wanted wanted) {
    OptionList options;
    for (const PassRow& row : table)
        if (wanted(row)) options.emplace_back(row.option);
    return options;
}

}  // namespace

bool hasOption(const OptionList& options, std::string_view option) {
    return std::find(options.begin(), options.end(), option) != options.end();
}

std::span<const PassRow> passTable() { return table; }

const PassRow* passNamed(std::string_view option) {
    for (const PassRow& row : table)
        if (row.option == option) return &row;
    return nullptr;
}

OptionList allPasses() {
    return optionsWhere([](const PassRow&) { return true; });
}

OptionList defaultPasses() {
    return optionsWhere([](const PassRow& row) { return row.onByDefault; });
}

std::span<const PassStep> passSteps() {
    static const std::vector<PassStep> steps = stepsOfTable();
    return steps;
}

}  // namespace reelsweep
