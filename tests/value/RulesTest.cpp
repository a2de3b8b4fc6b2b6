// Rules: tracks, clips and colours that are excluded, and which filters, markers and transitions
// stay.
#include "tests/timeline/Timeline.h"
#include "tidy/TidySequence.h"
#include "timeline/PictureDifference.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace reelsweep::test {
namespace {

struct Row {
    OptionList passes;
    TidyRules rules;
    const char* before;
    const char* after;
    const char* reason = "";  ///< of the first clip that was kept as asked
};

void check(const Row& row) {
    for (const bool careful : {false, true}) {
        SCOPED_TRACE(std::string(row.before) + (careful ? " carefully" : ""));
        const Timeline timeline(row.before);
        const XMLNode copy = timeline.sequence.copy();
        const auto ledger =
            tidySequence(copy, timeline.sequence,
                         {.passes = row.passes, .keepPicture = careful, .rules = row.rules});
        ASSERT_TRUE(ledger);
        EXPECT_EQ(notation(copy), row.after);
        EXPECT_TRUE(ledger->balances());
        EXPECT_EQ(ledger->unusedRules, std::vector<std::string>());
        const auto asked = std::find_if(ledger->kept.begin(), ledger->kept.end(),
                                        [](const KeptItem& item) { return item.wasAsked; });
        EXPECT_EQ(asked == ledger->kept.end() ? "" : asked->reason, row.reason);
    }
}

const OptionList collapse = {"collapseTracks", "collapseUncompositedClips"};

TEST(Rules, ExcludeTracksAndClips) {
    const Row rows[] = {
        {collapse,
         {.tracks = {"v2"}},
         "V1: A[0,50) V2: B[60,90)",
         "V1: A[0,50) V2: B[60,90)",
         "kept: track V2 is left alone"},
        // Nothing comes to it, nor falls through it.
        {collapse,
         {.tracks = {"V1"}},
         "V1: A[0,50) V2: B[60,90) V3: C[0,40) D[90,99)",
         "V1: A[0,50) V2: C[0,40) B[60,90) D[90,99) V3:",
         "kept: track V1 is left alone"},
        // It hides nothing, as a whole or in part. What is only beside it does.
        {collapse,
         {.tracks = {"V2"}},
         "V1: A[10,40) V2: C[0,90)",
         "V1: A[10,40) V2: C[0,90)",
         "kept: track V2 is left alone"},
        {collapse,
         {.clips = {"c*"}},
         "V1: A[0,40) V2: Cat[20,90) D[0,9)",
         "V1: D[0,9) A[9,40)@9:40 V2: Cat[20,90)",
         "kept: clips named c* are left alone"},
        {{"removeDisabledVideoClips"},
         {.tracks = {"Tit*"}},
         "V1: !A[0,9) V2: {<name>Titles</name>} !B[0,9)",
         "V1: V2: {<name>Titles</name>} !B[0,9)",
         "kept: track V2 is left alone"},
        {{"removeSilentAudio"},
         {.tracks = {"A2-A3"}},
         "A1: A[0,9)*0 A2: B[0,9)*0 A3: C[0,9)*0 A4: D[0,9)*0",
         "A1: A2: B[0,9)*0 A3: C[0,9)*0 A4:",
         "kept: track A2 is left alone"},
        // What a transition joins to an excluded clip stays with it.
        {{"removeDisabledVideoClips"},
         {.colours = {"rose"}},
         "V1: !A[0,-1) x[40,60) !B[-1,90){<labels><label2>Rose</label2></labels>} !C[90,99)",
         "V1: !A[0,-1) x[40,60) !B[-1,90){<labels><label2>Rose</label2></labels>}",
         "kept: clips labelled Rose are left alone"},
        {{"removeUnusedTracks"}, {.tracks = {"V2"}}, "V1: A[0,9) V2: V3:", "V1: A[0,9) V2:"},
        {{"replaceGaps"},
         {.tracks = {"V1"}},
         "V1: A[5,9)",
         "V1: A[5,9)",
         "kept: track V1 is left alone"},
        {{"removeVideoTransitions"},
         {.tracks = {"V1"}},
         "V1: A[0,50) x[40,50) V2: B[0,9)",
         "V1: A[0,50) x[40,50) V2: B[0,9)",
         "kept: track V1 is left alone"},
    };
    for (const Row& row : rows) check(row);
}

TEST(Rules, ChooseFiltersMarkersAndTransitionsByName) {
    const Row rows[] = {
        {{"removeFilters"},
         {.filters = {.keep = {"color*"}}},
         "V1: A[0,9)+Sharpen+Color_Corrector",
         "V1: A[0,9)+Color_Corrector"},
        {{"removeFilters"},
         {.filters = {.only = {"Sharpen", "*blur"}}},
         "V1: A[0,9)+Sharpen+Color_Corrector+Gaussian_Blur A1: S[0,9)*60",
         "V1: A[0,9)+Color_Corrector A1: S[0,9)*60"},
        {{"removeFilters"},
         {.filters = {.keep = {"Sharpen*"}, .only = {"S*"}}},
         "V1: A[0,9)+Sharpener+Sepia+Tint",
         "V1: A[0,9)+Sharpener+Tint"},
        {{"removeMarkers"},
         {.markers = {.keep = {"VFX*", "*director*"}}},
         "V1: A[0,9)'vfx_12'Note{<marker><comment>From the director</comment></marker>}",
         "V1: A[0,9)'vfx_12{<marker><comment>From the director</comment></marker>}"},
        // A colour by its word, in both ways of writing it
        {{"removeMarkers"},
         {.markers = {.only = {"red"}}},
         "V1: A[0,9){<marker><pproColor>4281740498</pproColor></marker>} "
         "B[9,20){<marker><pproColor>4281828977</pproColor></marker>} "
         "C[20,30){<marker><color><red>250</red><green>0</green><blue>9</blue></color></marker>}",
         "V1: A[0,9) B[9,20){<marker><pproColor>4281828977</pproColor></marker>} C[20,30)"},
        {{"removeVideoTransitions"},
         {.transitions = {.keep = {"cross*"}}},
         "V1: A[0,-1)@0:60 x[40,60)=Cross_Dissolve B[-1,90)@10:60 x[80,90)=Edge_Wipe",
         "V1: A[0,-1)@0:60 x[40,60)=Cross_Dissolve B[-1,90)@10:60"},
    };
    for (const Row& row : rows) check(row);
}

// A filter that stays is in the picture that is expected, beside one that goes.
TEST(Rules, AreKnownToTheProof) {
    const Timeline timeline(
        "V1: A[0,50)+Sharpen+Veil B[50,90)+Sharpen V2: C[60,90)+Sharpen D[95,99)");
    for (const bool isKept : {false, true}) {
        const XMLNode copy = timeline.sequence.copy();
        TidyRequest request{.passes = {"collapseTracks", "removeFilters"}, .keepPicture = true};
        if (isKept)
            request.keep = {"B"};
        else
            request.rules.filters.keep = {"Veil"};
        const auto ledger = tidySequence(copy, timeline.sequence, request);
        ASSERT_TRUE(ledger);
        EXPECT_TRUE(ledger->picture->isAsAsked());
        EXPECT_EQ(notation(copy), isKept ? "V1: A[0,50) B[50,90)+Sharpen D[95,99) V2: C[60,90)"
                                         : "V1: A[0,50)+Veil B[50,90) D[95,99) V2: C[60,90)");
        EXPECT_GT(ledger->picture->asked(MediaType::video), Frames{0});
    }
}

TEST(Rules, SayWhatExcludedNothingAndLeaveAllAloneWhenAllIsExcluded) {
    const char* const cut =
        "S: {<marker><name>M</name></marker>} V1: A[5,9)'M+Blur !B[9,20) V2: V3: C[0,9) A1: "
        "S[0,9)*0";
    for (const TidyRules& rules :
         {TidyRules{.tracks = {"*"}, .colours = {"Rose"}},
          TidyRules{.tracks = {"V9", "V1-V3", "A1"}}, TidyRules{.clips = {"*", "Slate"}}}) {
        const Timeline timeline(cut);
        const XMLNode copy = timeline.sequence.copy();
        const auto ledger = tidySequence(
            copy, timeline.sequence, {.passes = allPasses(), .keepPicture = true, .rules = rules});
        ASSERT_TRUE(ledger);
        EXPECT_EQ(serialise(copy), serialise(timeline.sequence));
        EXPECT_TRUE(ledger->changes.empty());
        EXPECT_FALSE(ledger->kept.empty());
        EXPECT_EQ(ledger->unusedRules.size(), 1U);
    }
}

}  // namespace
}  // namespace reelsweep::test
