// What the step makes of one copy, in the notation; ids and links stay as they are where they can.
#include "tests/import/ImportRun.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

std::string link(const std::string& id, const char* media, int track, int index) {
    return "{<link><linkclipref>" + id + "</linkclipref><mediatype>" + media +
           "</mediatype><trackindex>" + std::to_string(track) + "</trackindex><clipindex>" +
           std::to_string(index) + "</clipindex></link>}";
}

struct Row {
    OptionList passes;
    std::string before;
    std::string after;
};

void expectSafe(const Row& row) {
    SCOPED_TRACE(row.before);
    const Timeline timeline(row.before);
    ImportRun run(timeline.document, {timeline.sequence}, row.passes);
    run.makeSafe(false);
    EXPECT_EQ(notation(run.copy()), row.after);
    const std::size_t changes = run.ledger().changes.size();
    run.makeSafe(false);
    EXPECT_EQ(run.ledger().changes.size(), changes) << "a second time";
    run.edit().finish(timeline.sequence);
    EXPECT_TRUE(run.ledger().balances());
}

const OptionList disabled{"removeDisabledVideoClips", "removeDisabledAudioClips"};
const OptionList collapse{"collapseTracks", "collapseUncompositedClips", "removeUnusedTracks"};

TEST(ImportStep, GivesEveryItemAPlaceAndASourceRange) {
    const std::string rate = "S: {<rate><timebase>25</timebase></rate>} ";
    const std::vector<Row> rows = {
        // Nothing is wrong, or was already.
        {disabled, "V1: A[0,-1)@0:110 x[90,110) B[-1,200)",
         "V1: A[0,-1)@0:110 x[90,110) B[-1,200)"},
        {disabled, "V1: A[0,-1)@0:9 B[5,3) C[0,9)@5:6", "V1: A[0,-1)@0:9 B[5,3) C[0,9)@5:6"},
        // Cut: the source range is as long as what is left, and ticks go with it.
        {collapse, "V1: A[0,100) V2: B[60,100)", "V1: A[0,60) B[60,100)"},
        {collapse, "V1: A[0,100)@7:90 V2: B[60,100)", "V1: A[0,60)@7:90 B[60,100)"},
        {collapse,
         rate + "V1: A[0,9)@1:10{<pproTicksIn>10160640000</pproTicksIn>"
                "<pproTicksOut>101606400000</pproTicksOut>} V2: B[4,9)",
         "V1: A[0,4)@1:5{<pproTicksIn>10160640000</pproTicksIn>}"
         "{<pproTicksOut>50803200000</pproTicksOut>} B[4,9)"},
        // A slug that was put between a fade-in and its clip
        {{"replaceGaps"},
         "V1: A[0,20) x[50,60) B[-1,90)@0:40",
         "V1: A[0,20) Slug[20,50)@30:60 x[50,60) B[-1,90)@0:40"},
    };
    for (const Row& row : rows) expectSafe(row);
}

TEST(ImportStep, MendsLinks) {
    const std::vector<Row> rows = {
        // Renumbered: what stood before them is gone, and one went down a track.
        {disabled,
         "V1: !Z[0,9) A[9,20)" + link("A", "video", 1, 2) + link("S", "audio", 1, 1) +
             " A1: S[9,20)" + link("A", "video", 1, 2) + link("S", "audio", 1, 1),
         "V1: A[9,20)" + link("A", "video", 1, 1) + link("S", "audio", 1, 1) + " A1: S[9,20)" +
             link("A", "video", 1, 1) + link("S", "audio", 1, 1)},
        {collapse,
         "V1: V2: A[9,20)" + link("A", "video", 2, 1) + link("S", "audio", 1, 1) + " A1: S[9,20)" +
             link("A", "video", 2, 1) + link("S", "audio", 1, 1),
         "V1: A[9,20)" + link("A", "video", 1, 1) + link("S", "audio", 1, 1) + " A1: S[9,20)" +
             link("A", "video", 1, 1) + link("S", "audio", 1, 1)},
        // What it was linked to is gone, and with that its link to itself.
        {disabled, "V1: !A[0,9) A1: S[0,9)" + link("A", "video", 1, 1) + link("S", "audio", 1, 1),
         "V1: A1: "
         "S[0,9)"},
        // A split clip: the first piece keeps id and links.
        {collapse,
         "V1: A[0,100)" + link("A", "video", 1, 1) + link("S", "audio", 1, 1) +
             " V2: B[40,60) A1: S[0,100)" + link("A", "video", 1, 1) + link("S", "audio", 1, 1),
         "V1: A[0,40)" + link("A", "video", 1, 1) + link("S", "audio", 1, 1) +
             " B[40,60) A-2[60,100)@60:100 A1: S[0,100)" + link("A", "video", 1, 1) +
             link("S", "audio", 1, 1)},
        // Ids that the source repeats: the place says which one was meant.
        {disabled,
         "V1: !Z[0,9) A[9,20) A[20,30) A1: S[20,30)" + link("A", "video", 1, 3) +
             link("S", "audio", 1, 1),
         "V1: A[9,20) A-2[20,30) A1: S[20,30)" + link("A-2", "video", 1, 2) +
             link("S", "audio", 1, 1)},
    };
    for (const Row& row : rows) expectSafe(row);
}

TEST(ImportStep, PlacesEdgesThatLostTheirTransition) {
    struct Lost {
        const char* before;
        std::vector<std::string> taken;  // ids
        const char* after;
    };
    const Lost rows[] = {
        // As far as it reached in the transition, but not over what is there now.
        {"V1: A[0,-1)@0:110 x[90,110) B[-1,200)@5:115", {"x", "B"}, "V1: A[0,110)"},
        {"V1: A[0,-1)@0:110 x[90,110) B[-1,200)@5:115", {"A", "x"}, "V1: B[90,200)@5:115"},
        {"V1: A[0,-1)@0:110 x[90,110) B[95,200)", {"x"}, "V1: A[0,95) B[95,200)"},
        // Both sides meet at the cut.
        {"V1: A[0,-1)@0:110 x[90,110) B[-1,200)@5:115", {"x"}, "V1: A[0,100) B[100,200)@15:115"},
        // A chain that lost its middle keeps no transition without a clip.
        {"V1: A[0,-1)@0:110 x1[90,110) B[-1,-1)@0:60 x2[140,150) C[-1,200)@0:60",
         {"A", "x1", "B"},
         "V1: x2[140,150) C[-1,200)@0:60"},
        {"V1: A[0,9) x[5,9){<alignment>end-black</alignment>} B[9,20)", {"A"}, "V1: B[9,20)"},
        // Never before 0: -1 would stand for an edge inside a transition again.
        {"V1: x[-3,9) A[-1,20)@0:23", {"x"}, "V1: A[0,20)@3:23"},
    };
    for (const Lost& row : rows) {
        const Timeline timeline(row.before);
        ImportRun run(timeline.document, {timeline.sequence}, {});
        const XMLNode track = run.copy().child("media").child("video").child("track");
        for (const std::string& id : row.taken)
            for (XMLNode item = track.firstChild(); item; item = item.nextSibling())
                if (item.attribute("id") == id) {
                    run.edit().detach(item, "taken out");
                    break;
                }
        run.makeSafe(false);
        EXPECT_EQ(notation(run.copy()), row.after) << row.before;
    }
}

TEST(ImportStep, SaysInTheLedgerWhatItDid) {
    const Timeline timeline("V1: A[0,100) V2: B[60,100)");
    ImportRun run(timeline.document, {timeline.sequence}, collapse);
    const std::size_t passes = run.ledger().changes.size();
    run.makeSafe(false);
    ASSERT_EQ(run.ledger().changes.size(), passes + 1);
    const Change& change = run.ledger().changes.back();
    EXPECT_EQ(change.pass, importSafeOption);
    EXPECT_EQ(change.kind, ChangeKind::trimmed);
    EXPECT_EQ(run.ledger().reasonText(change), "as long as its place");
    EXPECT_EQ(change.after.out, Frames{60});
}

TEST(ImportStep, CanBeTakenBack) {
    const Timeline timeline("V1: A[0,100)" + link("A", "video", 1, 1) + link("Z", "video", 1, 9) +
                            "{<file id='f'/>} B[100,120){<file id='f'><name>F</name></file>} "
                            "V2: C[40,60) V3: D[200,210)");
    ImportRun run(timeline.document, {timeline.sequence}, collapse);
    const std::string before = serialise(run.copy());
    const std::size_t changes = run.ledger().changes.size();
    {
        const auto checkpoint = run.edit().checkpoint();
        run.makeSafe(true);
        EXPECT_NE(serialise(run.copy()), before);
        run.edit().rollback(checkpoint);
    }
    EXPECT_EQ(serialise(run.copy()), before);
    EXPECT_EQ(run.ledger().changes.size(), changes);
}

}  // namespace
}  // namespace reelsweep::test
