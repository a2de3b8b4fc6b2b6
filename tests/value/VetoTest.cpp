// Clips that somebody asked to be left alone.
#include "tests/timeline/Timeline.h"
#include "tidy/TidySequence.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace reelsweep::test {
namespace {

TEST(Veto, KeepsAClipAndItsGroupOutOfEveryPass) {
    struct Row {
        OptionList passes;
        const char* before;
        std::vector<std::string> keep;
        const char* after;
    };
    const OptionList collapse = {"collapseTracks", "collapseUncompositedClips"};
    const Row rows[] = {
        {{"removeDisabledVideoClips"},
         "V1: A[0,50) !B[50,90) !C[90,100)",
         {"B"},
         "V1: A[0,50) !B[50,90)"},
        // What a transition joins to it stays with it.
        {{"removeDisabledVideoClips"},
         "V1: !A[0,-1) x[40,60) !B[-1,90) !C[90,100)",
         {"B"},
         "V1: !A[0,-1) x[40,60) !B[-1,90)"},
        {{"removeSilentAudio"}, "A1: A[0,9)*0 B[9,20)*0", {"A"}, "A1: A[0,9)*0"},
        {collapse, "V1: A[0,50) V2: B[50,90) C[90,95)", {"B"}, "V1: A[0,50) C[90,95) V2: B[50,90)"},
        {collapse, "V1: A[10,40) B[40,60) V2: C[0,90)", {"A"}, "V1: A[10,40) V2: C[0,90)"},
        {collapse, "V1: A[0,100) V2: B[60,100)", {"A"}, "V1: A[0,100) V2: B[60,100)"},
        {{"removeVideoTransitions"},
         "V1: A[0,-1)@0:60 x[40,60) B[-1,90)",
         {"B"},
         "V1: A[0,-1)@0:60 x[40,60) B[-1,90)"},
        {{"removeFilters"},
         "V1: A[0,9)+Sharpen B[9,20)+Sharpen",
         {"A"},
         "V1: A[0,9)+Sharpen B[9,20)"},
        {{"removeMarkers"}, "V1: A[0,9)'Note B[9,20)'Note", {"A"}, "V1: A[0,9)'Note B[9,20)"},
        // By a pattern for the name, in any letter case
        {{"removeFilters"},
         "V1: One[0,9)+Sharpen Other[9,20)+Sharpen Two[20,30)+Sharpen",
         {"O*", "tw?"},
         "V1: One[0,9)+Sharpen Other[9,20)+Sharpen Two[20,30)+Sharpen"},
    };
    for (const Row& row : rows) {
        for (const bool careful : {false, true}) {
            const Timeline timeline(row.before);
            const XMLNode copy = timeline.sequence.copy();
            const auto ledger =
                tidySequence(copy, timeline.sequence,
                             {.passes = row.passes, .keepPicture = careful, .keep = row.keep});
            ASSERT_TRUE(ledger);
            EXPECT_EQ(notation(copy), row.after) << careful;
            EXPECT_FALSE(ledger->kept.empty()) << row.before;
            EXPECT_TRUE(std::all_of(ledger->kept.begin(), ledger->kept.end(),
                                    [](const KeptItem& item) { return item.wasAsked; }))
                << row.before;
            EXPECT_TRUE(ledger->unusedKeeps.empty());
        }
    }
}

TEST(Veto, SaysWhatNamedNoClip) {
    const Timeline timeline("V1: A[0,9) x[5,9) A1: S[0,9)");
    const auto ledger = tidySequence(timeline.sequence.copy(), timeline.sequence,
                                     {.passes = {}, .keep = {"S", "x", "B*"}});
    ASSERT_TRUE(ledger);
    EXPECT_EQ(ledger->unusedKeeps, (std::vector<std::string>{"x", "B*"}));
}

}  // namespace
}  // namespace reelsweep::test
