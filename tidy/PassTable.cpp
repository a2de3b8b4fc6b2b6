#include "tidy/PassTable.h"

#include "tidy/PassRun.h"
#include "tidy/passes/Passes.h"

#include <array>

namespace reelsweep {

namespace {

// Collapsing is several passes: what opaque clips hide goes first, then everything falls as far as
// it can, then what is partly hidden is cut and falls once more.
XMLNode collapse(PassRun& run, XMLNode sequence) {
    const bool uncomposited = run.has("collapseUncompositedClips");
    if (uncomposited) {
        run.edit.beginPass("collapseUncompositedClips");
        sequence = passes::removeObscuredClips(run, sequence);
        if (!sequence) return {};
    }
    run.edit.beginPass("collapseTracks");
    for (const bool reverse : {true, false}) {
        sequence = passes::collapseTracks(run, sequence, reverse);
        if (!sequence) return {};
    }
    if (uncomposited) {
        run.edit.beginPass("collapseUncompositedClips");
        sequence = passes::mergeClips(run, sequence);
        if (!sequence) return {};
        run.edit.beginPass("collapseTracks");
        sequence = passes::collapseTracks(run, sequence, false);
    }
    return sequence;
}

constexpr std::array<PassRow, 12> table = {{
    {"removeDisabledVideoClips", "Remove disabled video clips",
     "take out video clips that are switched off", true, false,
     [](PassRun& run, XMLNode sequence) {
         return passes::removeDisabledClips(run, sequence, "video");
     }},
    {"removeDisabledAudioClips", "Remove disabled audio clips",
     "take out audio clips that are switched off", true, false,
     [](PassRun& run, XMLNode sequence) {
         return passes::removeDisabledClips(run, sequence, "audio");
     }},
    {"removeSilentAudio", "Remove silent audio clips", "take out audio clips whose level is 0",
     false, false, passes::removeSilentAudioClips},
    {"collapseTracks", "Collapse tracks", "move video clips down to the lowest track with room",
     true, false, collapse},
    {"collapseUncompositedClips", "Collapse uncomposited clips",
     "with collapseTracks: take out or cut what opaque clips hide", true, false, nullptr},
    {"collapseMultiClips", "Collapse multiclips",
     "flag the multiclips of video tracks as collapsed", false, false, passes::collapseMulticlips},
    {"removeUnusedTracks", "Remove unused tracks",
     "take out video tracks without clips, but the first", true, false, passes::removeUnusedTracks},
    {"replaceGaps", "Replace gaps with slugs", "fill the holes of the first video track with slugs",
     false, false, passes::replaceGapsWithSlugs},
    {"removeFilters", "Remove filters", "take out all filters, audio levels too", false, true,
     passes::removeFilters},
    {"removeMarkers", "Remove markers", "take out all markers", false, true, passes::removeMarkers},
    {"removeVideoTransitions", "Remove video transitions", "make video transitions plain cuts",
     false, false,
     [](PassRun& run, XMLNode sequence) {
         return passes::removeTransitions(run, sequence, "video");
     }},
    {"removeAudioTransitions", "Remove audio transitions", "make audio transitions plain cuts",
     false, false,
     [](PassRun& run, XMLNode sequence) {
         return passes::removeTransitions(run, sequence, "audio");
     }},
}};

}  // namespace

std::span<const PassRow> passTable() { return table; }

const PassRow* passNamed(std::string_view option) {
    for (const PassRow& row : table)
        if (row.option == option) return &row;
    return nullptr;
}

}  // namespace reelsweep
