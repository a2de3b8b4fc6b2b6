// What the ledger says of a run.
#include "tests/timeline/Interchange.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

std::string timesText(const ItemTimes& times) {
    const auto text = [](const std::optional<Frames>& frames) {
        return frames ? frames->text() : std::string("-");
    };
    return "[" + text(times.start) + "," + text(times.end) + ")@" + text(times.in) + ":" +
           text(times.out);
}

// "moved B V2>V1 [0,9)@0:9", "removed A V1> [0,9)@0:9: disabled", "removed Blur in A V1> ..."
std::string changeText(const SequenceLedger& ledger, const Change& change) {
    const std::string who = change.id().empty() ? change.name() : change.id();
    std::string text = std::string(description(change.kind)) + " " + who + " ";
    if (change.holder) text += "in " + change.holderId() + " ";
    text += description(change.trackBefore);
    if (change.trackAfter != change.trackBefore) text += ">" + description(change.trackAfter);
    text += " " + timesText(change.before);
    const bool hasAfter = change.trackAfter.number != 0 && change.after != change.before;
    if (hasAfter) text += " > " + timesText(change.after);
    if (change.reason != 0) text += ": " + ledger.reasonText(change);
    return text;
}

TEST(Ledger, TellsEachChangeWithTracksTimesAndReason) {
    struct Row {
        OptionList options;
        const char* timeline;
        std::vector<std::string> changes;
    };
    const Row rows[] = {
        {{"removeDisabledVideoClips"}, "V1: A[0,9)", {}},
        {{"removeDisabledVideoClips"},
         "V1: e V2: !A[0,-1) x[5,9) B[9,20)",
         {"removed A V2> [0,-1)@0:-1: disabled", "removed x V2> [5,9)@-:-: joined to A, disabled"}},
        {{"removeDisabledAudioClips", "removeSilentAudio"},
         "A1: !A[0,9) A2: B[0,9)*0",
         {"removed A A1> [0,9)@0:9: disabled", "removed B A2> [0,9)@0:9: level 0"}},
        {{"collapseTracks"},
         "V1: A[0,9) V2: B[9,20) V3: C[5,8)",
         {"moved C V3>V2 [5,8)@0:3", "moved B V2>V1 [9,20)@0:11"}},
        {{"collapseTracks", "collapseUncompositedClips"},
         "V1: A[5,8) B[8,40) V2: C[0,20)",
         {"removed A V1> [5,8)@0:3: hidden under C on V2 from 0 to 20",
          "trimmed B V1 [8,40)@0:32 > [20,40)@12:32", "moved C V2>V1 [0,20)@0:20"}},
        {{"collapseTracks", "collapseUncompositedClips"},
         "V1: A[0,100) V2: C[20,30)",
         {"trimmed A V1 [0,100)@0:100 > [30,100)@30:100", "split A V1 [0,100)@0:100 > [0,20)@0:100",
          "moved C V2>V1 [20,30)@0:10"}},
        {{"removeUnusedTracks"},
         "V1: V2: x[0,9)",
         {"removed x V2> [0,9)@-:-: no clips on it", "removed  V2> [-,-)@-:-: no clips on it"}},
        // An empty track of a nested sequence is the clip's that holds it, not the track it is on;
        // in document order, wherever that clip has moved.
        {{"collapseTracks", "removeUnusedTracks"},
         "V1: A[0,9) V2: B[9,20){<video><track/><track/></video>}",
         {"moved B V2>V1 [9,20)@0:11", "removed  in B V1> [9,20)@0:11: no clips on it",
          "removed  V2> [-,-)@-:-: no clips on it"}},
        {{"replaceGaps"}, "V1: A[5,9)", {"inserted Slug >V1 [-,-)@-:- > [0,5)@30:35"}},
        {{"collapseMultiClips"}, "V1: A[0,9)&FALSE", {"changed  in A V1 [0,9)@0:9"}},
        {{"collapseMultiClips"}, "V1: A[0,9)&TRUE", {}},
        {{"removeFilters", "removeMarkers"},
         "V1: A[0,9)+Blur'M",
         {"removed Blur in A V1> [0,9)@0:9: all filters are removed",
          "removed M in A V1> [0,9)@0:9: all markers are removed"}},
        // Some systems write filters with times that count in the clip's media.
        {{"removeFilters", "removeMarkers"},
         "V1: A[50,59)@20:29{<filter><start>-1</start><end>999</end><effect><name>Blur</name>"
         "</effect></filter>}{<marker><name>M</name><in>22</in><out>-1</out></marker>}",
         {"removed Blur in A V1> [50,59)@20:29: all filters are removed",
          "removed M in A V1> [50,59)@22:-1: all markers are removed"}},
        {{"removeVideoTransitions"},
         "V1: A[0,-1)@0:9 x[5,9) B[9,20)",
         {"trimmed A V1 [0,-1)@0:9 > [0,9)@0:5",
          "removed x V1> [5,9)@-:-: all transitions are removed"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.timeline);
        const Timeline timeline(row.timeline);
        const auto copy = tidiedCopy(SourceSequence::of(timeline.sequence), {row.options}, {});
        ASSERT_TRUE(copy);
        const SequenceLedger& ledger = copy->ledger;
        std::vector<std::string> changes;
        for (const Change& change : ledger.changes) changes.push_back(changeText(ledger, change));
        EXPECT_EQ(changes, row.changes);
        EXPECT_TRUE(ledger.balances());
        EXPECT_EQ(ledger.title, "Harbour");
        EXPECT_EQ(ledger.uuid, "1234");
    }
}

TEST(Ledger, NamesClipsThatLoseTheTransitionAtAnEdge) {
    // The slug stands between the transition and the clip that fades in; D came without one.
    const Timeline timeline("V1: A[0,50) x[90,110) C[-1,200) V2: D[-1,9)");
    const auto text = [&](const OptionList& options) {
        const XMLNode copy = timeline.sequence.copy();
        return looseClipsText(*tidySequence(copy, timeline.sequence, {options}));
    };
    EXPECT_EQ(text({"replaceGaps", "removeVideoTransitions"}),
              "1 clip has lost a transition, and with it an edge: C on V1 from -1 to 200");
    EXPECT_EQ(text({"removeVideoTransitions"}), "");
}

TEST(Ledger, CountsPerPassAndPerSequence) {
    Interchange file({"V1: A[0,100) V2: C[20,30) !D[40,50)", "V1: !A[0,9)", "V1: B[5,9)"});
    const auto tidied =
        tidy(file.document, {.passes = {"removeDisabledVideoClips", "collapseTracks",
                                        "collapseUncompositedClips", "replaceGaps"},
                             .sequences = {{0, 2}},
                             .keepPicture = false});
    ASSERT_TRUE(tidied);
    const auto& ledgers = tidied->ledger().sequences;
    ASSERT_EQ(ledgers.size(), 2u);  // the second sequence is not asked for
    const SequenceLedger& first = ledgers[0];
    EXPECT_EQ(first.itemsBefore, 3u);
    EXPECT_EQ(first.itemsAfter, 3u);
    const auto count = [&](const char* pass, ChangeKind kind) {
        return first.totals(pass)[static_cast<std::size_t>(kind)];
    };
    EXPECT_EQ(count("removeDisabledVideoClips", ChangeKind::removed), 1u);
    EXPECT_EQ(count("collapseUncompositedClips", ChangeKind::split), 1u);
    EXPECT_EQ(count("collapseTracks", ChangeKind::moved), 1u);
    EXPECT_EQ(count("replaceGaps", ChangeKind::inserted), 0u);
    EXPECT_EQ(first.items(ChangeKind::removed), 1u);
    EXPECT_EQ(ledgers[1].items(ChangeKind::inserted), 1u);
}

}  // namespace
}  // namespace reelsweep::test
