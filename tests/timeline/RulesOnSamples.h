// rulesOnSamples: each rule on a real file, with what it keeps there and what goes beside it.
//
// The command line and the window are held to the same table.
// Thread rule: any thread.
#pragma once

#include "tests/timeline/SampleFiles.h"
#include "xml/XMLDocument.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep::test {

struct RuleOnSample {
    const char* file;
    const char* passes;  ///< option names with commas between
    const char* rule;    ///< its key, as presets have it
    const char* value;
    // Without what a sequence in a sequence holds: a copy in a file of its own defines those.
    const char* stays;  ///< what the copies have as many of as the sources
    const char* goes;   ///< what the sources have, and the copies have not
};

inline const std::vector<RuleOnSample>& rulesOnSamples() {
    static const std::vector<RuleOnSample> rows = {
        {"resolve_export.xml", "removeFilters", "excludeTracks", "V2",
         "media/video/track[2]//filter", "media/video/track[position() != 2]//filter"},
        {"resolve_export.xml", "removeFilters", "excludeTracks", "v2-V4",
         "media/video/track[position() > 1 and position() < 5]//filter",
         "media/video/track[position() = 1 or position() > 4]//filter"},
        {"premiere_disabled_clips_and_tracks.xml", "removeDisabledVideoClips", "excludeTracks",
         "Disabled_*", "media/video/track[@MZ.TrackName='disabled_track']/clipitem",
         "media/video/track[@MZ.TrackName='base']/clipitem[enabled='FALSE']"},
        {"resolve_export.xml", "removeFilters", "excludeClips", "203_04_shot_31A*",
         ".//clipitem[name='203_04_shot_31a.mov']/filter",
         ".//clipitem[name!='203_04_shot_31a.mov']/filter"},
        {"premiere_nested_sequences_transitions.xml", "collapseTracks", "excludeColours", "forest",
         "media/video/track[2]/clipitem[labels/label2='Forest']", "media/video/track[4]/clipitem"},
        {"fcp6_long_documentary.xml", "removeFilters", "excludeColours", "Good Take",
         "media/video/track/clipitem[labels/label='Good Take']/filter",
         "media/video/track/clipitem[not(labels/label)]/filter"},
        {"harbour.xml", "removeFilters", "filtersKeep", "color *",
         "media/video/track/clipitem/filter[starts-with(effect/name, 'Color ')]",
         "media/*/track/clipitem/filter[not(starts-with(effect/name, 'Color '))]"},
        {"fcp6_long_documentary.xml", "removeFilters", "filtersOnly", "Audio Pan",
         ".//filter[effect/name!='Audio Pan']", ".//filter[effect/name='Audio Pan']"},
        {"harbour.xml", "removeMarkers", "markersKeep", "act ?",
         ".//marker[starts-with(name, 'Act ')][count(ancestor::sequence)=1]",
         ".//marker[not(starts-with(name, 'Act '))][count(ancestor::sequence)=1]"},
        {"harbour.xml", "removeMarkers", "markersOnly", "*tide*",
         ".//marker[not(contains(comment, 'tide'))][count(ancestor::sequence)=1]",
         ".//marker[contains(comment, 'tide')][count(ancestor::sequence)=1]"},
        {"harbour.xml", "removeVideoTransitions,removeAudioTransitions", "transitionsKeep",
         "cross dissolve", "media/video/track/transitionitem", "media/audio/track/transitionitem"},
        {"fcp6_long_documentary.xml", "removeVideoTransitions,removeAudioTransitions",
         "transitionsOnly", "*fade*", "media/video/track/transitionitem",
         "media/audio/track/transitionitem"},
    };
    return rows;
}

/// Nothing when the file is not there.
inline std::optional<std::string> sampleNamed(std::string_view name) {
    for (const auto& file : sampleFiles())
        if (file.filename() == name) return file.string();
    return {};
}

/// Over the sequences that stand in no other: the tidied copies, or the others.
inline std::size_t countInSequences(const XMLDocument& document, bool copies,
                                    const std::string& query) {
    const auto sequences = selectNodes(
        document.node(), copies ? "//sequence[contains(name, '-Tidied')][not(ancestor::sequence)]"
                                : "//sequence[name][not(contains(name, '-Tidied'))]"
                                  "[not(ancestor::sequence)]");
    EXPECT_TRUE(sequences);
    std::size_t count = 0;
    for (const XMLNode sequence : sequences ? *sequences : std::vector<XMLNode>()) {
        const auto found = selectNodes(sequence, query);
        EXPECT_TRUE(found) << query;
        if (found) count += found->size();
    }
    return count;
}

inline void expectRule(const RuleOnSample& row, const std::string& source,
                       const std::string& result) {
    SCOPED_TRACE(std::string(row.file) + " " + row.rule + " " + row.value);
    const Result<XMLDocument> before = XMLDocument::load(source);
    const Result<XMLDocument> after = XMLDocument::load(result);
    ASSERT_TRUE(before && after);
    const std::size_t stays = countInSequences(*before, false, row.stays);
    EXPECT_GT(stays, 0U);
    EXPECT_EQ(countInSequences(*after, true, row.stays), stays);
    EXPECT_GT(countInSequences(*before, false, row.goes), 0U);
    EXPECT_EQ(countInSequences(*after, true, row.goes), 0U);
}

}  // namespace reelsweep::test
