// What importers stumble over, each in a small timeline and in one that only looks like it.
#include "tests/import/ImportRun.h"
#include "time/Ticks.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

std::string link(const std::string& id, const char* media, int track, int index,
                 const std::string& more = {}) {
    return "{<link><linkclipref>" + id + "</linkclipref><mediatype>" + media +
           "</mediatype><trackindex>" + std::to_string(track) + "</trackindex><clipindex>" +
           std::to_string(index) + "</clipindex>" + more + "</link>}";
}

constexpr const char* rate = "S: {<rate><timebase>25</timebase></rate>} ";

TEST(ImportFaults, AreFoundAndNothingElseIs) {
    struct Row {
        std::string timeline;
        std::string faults;
    };
    const std::string group = "<groupindex>2</groupindex>";
    const Row rows[] = {
        // Links: the index counts transitions and generators too.
        {"V1: ~G[0,9) x[5,14) A[-1,20)@0:15" + link("B", "audio", 1, 1) + " A1: B[0,9)" +
             link("A", "video", 1, 3),
         ""},
        {"V1: ~G[0,9) A[9,20)" + link("A", "video", 1, 1), "1 staleClipIndex"},
        {"V1: V2: A[0,9)" + link("A", "video", 1, 1), "1 staleTrackIndex"},
        {"V1: A[0,9)" + link("A", "audio", 1, 1), "1 staleTrackIndex"},
        {"V1: A[0,9)" + link("B", "video", 1, 1), "1 linkToNothing"},
        {"V1: A[0,9){<link><linkclipref>A</linkclipref></link>}", ""},
        {"A1: A[0,9)" + link("A", "audio", 1, 1, group), "1 staleGroupIndex"},
        // Repeated ids: a link may mean either.
        {"V1: A[0,9)" + link("A", "video", 1, 2) + " A[9,20)", "1 idTwice"},
        // Edges and transitions
        {"V1: A[0,-1)@0:110 x[90,110){<alignment>center</alignment>} B[-1,200)@90:200", ""},
        {"V1: A[0,-1)@0:9 B[9,20)", "1 edgeWithoutTransition"},
        {"V1: A[0,9) B[-1,20)@0:11", "1 edgeWithoutTransition"},
        {"V1: A[0,9) x[20,30)", "1 transitionAlone"},
        {"V1: A[0,-1)@0:14 x[5,14){<alignment>start-black</alignment>} B[14,20)",
         "1 transitionAlone"},
        {"V1: A[0,-1)@0:14 x[5,14){<alignment>end-black</alignment>} B[14,20)", ""},
        {"V1: A[9,0)", "1 endsBeforeStart"},
        {"V1: A[9,9)", "1 endsBeforeStart"},
        {"V1: A[30,40) B[0,9) C[40,50)", "1 outOfOrder"},
        {"V1: A[0,20) B[10,30) C[30,40)", "1 overlap"},
        {"V1: A[0,90) B[10,20) C[30,40)", "2 overlap"},
        {"V1: A[0,20) V2: B[10,30)", ""},
        {"V1: A[0,-1)@0:15 x[5,15) x2[10,20) B[-1,40)@0:30", "1 overlap"},
        {"V1: A[0,40) x[5,15) B[-1,40)@0:35", "2 overlap"},
        // Source ranges, and clips of another rate or with a time remap
        {"V1: A[0,9)@5:14 B[9,20)@5:14", "1 sourceLength"},
        {std::string(rate) + "V1: A[0,9)@0:18{<rate><timebase>50</timebase></rate>}", ""},
        {"V1: "
         "A[0,9)@0:18{<filter><effect><effectid>timeremap</effectid></effect></filter>}",
         ""},
        {"V1: A[0,-1)@7:16 x[9,10)", "1 sourceLength"},
        // Ticks: 10160640000 in a frame of 25. Sound may lie between two frames.
        {std::string(rate) + "V1: A[0,9)@1:10{<pproTicksIn>10160640000</pproTicksIn>}", ""},
        {std::string(rate) + "V1: A[0,9)@1:10{<pproTicksIn>10160640001</pproTicksIn>}", "1 ticks"},
        {std::string(rate) + "A1: A[0,9)@1:10{<pproTicksIn>10160640001</pproTicksIn>}", ""},
        {std::string(rate) + "A1: A[0,9)@1:10{<pproTicksOut>10160640000</pproTicksOut>}",
         "1 ticks"},
        {std::string(rate) + "V1: A[0,9){<pproTicksIn></pproTicksIn>}", ""},
        // Definitions
        {"V1: A[0,9){<file id='f'><name/></file>} B[9,20){<file id='f'/>}", ""},
        {"V1: A[0,9){<file id='f'/>} B[9,20){<file id='f'><name/></file>}",
         "1 usedBeforeDefinition"},
        {"V1: A[0,9){<file id='f'/>} B[9,20){<file id='f'/>}", "1 undefinedReference"},
        {"V1: A[0,9){<file id='f'><name/></file>} B[9,20){<file id='f'><name/></file>}",
         "1 fileTwice"},
        {"V1: A[0,9){<file id='f'><name/></file>} B[9,20){<file id='f'><path/></file>}",
         "1 fileTwiceUnlike"},
        {"V1: A[0,9){<sequence id='s'><name/></sequence>} B[9,20){<sequence id='s'><name/>"
         "</sequence>}",
         "1 sequenceTwice"},
        // Master clips belong to the document that brings any.
        {"V1: A[0,9){<masterclipid>m</masterclipid>}", ""},
        {"V1: A[0,9){<masterclipid>m</masterclipid><clip id='n'><name/></clip>}",
         "1 undefinedReference"},
        // In nested sequences too
        {"V1: A[0,9){<sequence id='s'><media><video><track><clipitem id='N'><start>5</start>"
         "<end>2</end></clipitem></track></video></media></sequence>}",
         "1 endsBeforeStart"},
    };
    for (const Row& row : rows) {
        const Timeline timeline(row.timeline);
        EXPECT_EQ(faultCounts(importFaults(timeline.document.node())), row.faults) << row.timeline;
    }
}

TEST(ImportFaults, SayWhereTheyAre) {
    const Timeline timeline(
        "S: {<rate><timebase>25</timebase></rate>"
        "<timecode><frame>90000</frame></timecode>} V1: V2: A[100,200) B[-1,300)@0:100");
    const std::vector<ImportFault> faults = importFaults(timeline.document.node());
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults[0].sequence, "Harbour");
    EXPECT_EQ(faults[0].item, "B");
    EXPECT_EQ(faults[0].place, "V2, transition to 01:00:12:00");
    EXPECT_EQ(faults[0].text, "It starts in a transition, but there is none before it.");
}

TEST(Ticks, AreExactForTheRatesOfTheField) {
    EXPECT_EQ(ticksAt(Frames{1}, {25, false}), 10160640000);
    EXPECT_EQ(ticksAt(Frames{1}, {24, true}), 10594584000);
    EXPECT_EQ(ticksAt(Frames{3}, {30, true}), 3 * 8475667200);
    EXPECT_EQ(ticksAt(Frames{-1}, {60, false}), -4233600000);
    EXPECT_EQ(ticksAt(Frames{1}, {}), std::nullopt);
    EXPECT_EQ(ticksAt(Frames{1LL << 62}, {25, false}), std::nullopt);
}

}  // namespace
}  // namespace reelsweep::test
