// What each pass makes of small timelines, written by hand. The plain twin must agree with each.
#include "tests/plain/PassPairs.h"
#include "tests/plain/SinglePass.h"
#include "tests/timeline/Timeline.h"
#include "tidy/TidySequence.h"
#include "tidy/passes/Passes.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

struct Row {
    const char* before;
    const char* after;  // empty: nothing changes
};

enum class SecondRun { changesNothing, mayChange };

void expectRows(std::string_view passName, const std::vector<Row>& rows,
                SecondRun second = SecondRun::changesNothing) {
    const PassPair& pass = passPair(passName);
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(passName) + ": " + row.before);
        const Timeline timeline(row.before);
        const std::string expected = *row.after ? row.after : notation(timeline.sequence);
        EXPECT_EQ(notation(pass.plain(timeline.sequence.copy())), expected) << "(plain twin)";
        SinglePass single;
        EXPECT_TRUE(single.run(pass.product, timeline.sequence));
        EXPECT_EQ(notation(timeline.sequence), expected);
        if (second == SecondRun::changesNothing) {
            EXPECT_TRUE(single.run(pass.product, timeline.sequence));
            EXPECT_EQ(notation(timeline.sequence), expected) << "(second run)";
        }
    }
}

TEST(Passes, HavePlainTwinsInTheOrderOfARun) { EXPECT_EQ(pairingFault(), ""); }

TEST(RemoveDisabledClips, TakesDisabledClipsOutWithTheirGroups) {
    expectRows(
        "disabled video",
        {
            // Nothing disabled.
            {"V1: A[0,100) ~G[100,200)", ""},
            // Clips and generators of video tracks only.
            {"V1: A[0,50) !B[50,90) V2: !~G[0,50) C[90,100) A1: !D[0,10)",
             "V1: A[0,50) V2: C[90,100) A1: !D[0,10)"},
            // Transition at its edge.
            {"V1: A[0,40) x[40,60) !B[-1,100) C[100,150)", "V1: A[0,40) C[100,150)"},
            // Clips that transitions join to it.
            {"V1: !A[0,-1) x[40,60) B[-1,-1) x2[90,110) C[-1,150) D[150,200)", "V1: D[150,200)"},
            // Any such child.
            {"V1: A[0,9){<enabled>TRUE</enabled><enabled>FALSE</enabled>}", "V1:"},
            // One that went with an earlier one.
            {"V1: !A[0,-1) !B[-1,-1) C[-1,90) D[90,95)", "V1: D[90,95)"},
            // Other spellings stay.
            {"V1: A[0,9){<enabled>false</enabled>} B[9,20){<enabled> FALSE </enabled>}", ""},
            // A filter's or track's own flag.
            {"V1: {<enabled>FALSE</enabled>} A[0,9){<filter><enabled>FALSE</enabled></filter>}",
             ""},
            // Siblings are taken as they stand: a walk over an edge of -1 stops at any node.
            {"V1: e !A[-1,50) B[50,60)", "V1: B[50,60)"},
            // A comment beside an open edge.
            {"V1: A[0,10) # !B[-1,50)", "V1: A[0,10)"},
        });
    expectRows("disabled audio", {{"V1: !A[0,9) A1: !B[0,9) C[9,20)", "V1: !A[0,9) A1: C[9,20)"}});
}

TEST(RemoveSilentAudioClips, TakesOnlyALevelWrittenAsZero) {
    expectRows(
        "silent",
        {
            // No level.
            {"V1: A[0,9) A1: B[0,9)", ""},
            // "0.0" may have been drawn by hand, so only a plain 0 counts.
            {"A1: A[0,9)*0 B[9,20)*0.0 C[20,30)*-0 D[30,40)*1",
             "A1: B[9,20)*0.0 C[20,30)*-0 D[30,40)*1"},
            // Audio tracks only.
            {"V1: A[0,9)*0 A1: ~G[0,9)*0", "V1: A[0,9)*0 A1:"},
            // Second filter, joined clip.
            {"A1: A[0,-1) x[90,110) B[-1,200)+Echo*0 C[200,300)", "A1: C[200,300)"},
            // Not its first parameter.
            {"A1: "
             "A[0,9){<filter><effect><effectid>audiolevels</effectid><parameter><value>1</value>"
             "</parameter><parameter><value>0</value></parameter></effect></filter>}",
             ""},
        });
}

TEST(CollapseMulticlips, FlagsThoseOfVideoTracks) {
    expectRows("multiclips", {// Every text becomes TRUE.
                              {"V1: A[0,9)&FALSE B[9,20)&TRUE V2: C[0,9)&x",
                               "V1: A[0,9)&TRUE B[9,20)&TRUE V2: C[0,9)&TRUE"},
                              // Audio and generators stay.
                              {"V1: ~G[0,9)&FALSE A1: B[0,9)&FALSE", ""}});
}

TEST(RemoveUnusedTracks, KeepsTheFirstVideoTrackAndAllAudioTracks) {
    expectRows("tracks", {
                             // One empty track.
                             {"V1:", ""},
                             // Two empty tracks.
                             {"V1: V2:", "V1:"},
                             // Transitions and settings are no clips.
                             {"V1: V2: x[0,10) V3: A[0,9) V4: # e V5: ~G[0,9) A1: A2:",
                              "V1: V2: A[0,9) V3: ~G[0,9) A1: A2:"},
                             // A clip at any depth.
                             {"V1: V2: {<note><clipitem/></note>}", ""},
                         });
}

TEST(ReplaceGapsWithSlugs, FillsTheFirstVideoTrackBeforeAndBetweenClips) {
    expectRows(
        "gaps",
        {
            // No gap.
            {"V1: A[0,50) B[50,80)", ""},
            // No clip.
            {"V1: x[50,60) V2: A[50,60)", ""},
            // Before the first clip.
            {"V1: A[100,200)", "V1: Slug[0,100)@30:130 A[100,200)"},
            // Between clips, and not after the last.
            {"V1: A[0,50) B[80,120) V2: C[200,300)",
             "V1: A[0,50) Slug[50,80)@30:60 B[80,120) V2: C[200,300)"},
            // There is no clip Slug1: that id belongs to the file.
            {"V1: A[10,20) ~B[30,40) C[50,60)",
             "V1: Slug[0,10)@30:40 A[10,20) Slug2[20,30)@30:40 ~B[30,40) Slug3[40,50)@30:40 "
             "C[50,60)"},
            // A slug file is there.
            {"V1: A[10,20){<file><mediaSource>Slug</mediaSource></file>}",
             "V1: Slug2[0,10)@30:40 A[10,20)"},
            // None inside a group.
            {"V1: A[0,-1) x[40,60) B[-1,100) C[120,150)",
             "V1: A[0,-1) x[40,60) B[-1,100) Slug[100,120)@30:50 C[120,150)"},
            // Before a group.
            {"V1: e x[40,60) B[-1,100)", "V1: e x[40,60) Slug[0,40)@30:70 B[-1,100)"},
            // Edge that runs off the track.
            {"V1: A[-1,50) B[60,-1)", "V1: A[-1,50) Slug[50,60)@30:40 B[60,-1)"},
            // Texts that are no numbers.
            {"V1: A[-,50x) B[60.5,70)", "V1: A[-,50x) Slug[50,60)@30:40 B[60.5,70)"},
            // A clip that starts inside the one before moves the end so far to its own end.
            {"V1: A[0,100) B[20,30) C[40,60)", "V1: A[0,100) B[20,30) Slug[30,40)@30:40 C[40,60)"},
        });
    expectRows(
        "gaps",
        {
            // Hosts read these fields as 32-bit numbers, so only so much is written.
            {"V1: A[4294967297,4294967300)", "V1: Slug[0,1)@30:31 A[4294967297,4294967300)"},
            // An item inside another has an index among its own siblings: there the slug goes.
            {"V1: e A[0,10){<clipitem><start>30</start><end>40</end></clipitem>}",
             "V1: e A[0,10){<clipitem><start>30</start><end>40</end></clipitem>} "
             "Slug[10,30)@30:50"},
        },
        SecondRun::mayChange);
}

TEST(ReplaceGapsWithSlugs, DefinesTheSlugFileOnce) {
    const auto slugs = [](const char* timeline) {
        const Timeline t(timeline);
        std::string xml;
        EXPECT_TRUE(SinglePass().run(passes::replaceGaps, t.sequence));
        for (XMLNode item = t.firstVideoTrack().firstChild(); item; item = item.nextSibling())
            if (item.attribute("id")->starts_with("Slug")) xml += serialise(item) + "\n";
        return xml;
    };
    const std::string rate = "<rate><timebase>25</timebase></rate>";
    EXPECT_EQ(slugs("S: {<rate><timebase>25</timebase></rate>} V1: A[100,200) B[250,300)"),
              "<clipitem id=\"Slug\"><name>Slug</name><duration>160</duration><in>30</in>"
              "<out>130</out><start>0</start><end>100</end><enabled>TRUE</enabled>" +
                  rate + "<file id=\"Slug1\"><name>Slug</name><mediaSource>Slug</mediaSource>" +
                  rate +
                  "</file><sourcetrack><mediatype>video</mediatype></sourcetrack></clipitem>\n"
                  "<clipitem id=\"Slug2\"><name>Slug</name><duration>110</duration><in>30</in>"
                  "<out>80</out><start>200</start><end>250</end><enabled>TRUE</enabled>" +
                  rate +
                  "<file id=\"Slug1\"/><sourcetrack><mediatype>video</mediatype></sourcetrack>"
                  "</clipitem>\n");
    const std::string bare = slugs("V1: A[5,9)");
    EXPECT_NE(bare.find("<rate><ntsc>false</ntsc><timebase>24</timebase></rate><file"),
              std::string::npos)
        << bare;
}

const std::vector<Row> collapseRows = {
    // One track.
    {"V1: A[0,100)", ""},
    // Touching below.
    {"V1: A[0,100) C[200,300) V2: B[100,200)", "V1: A[0,100) B[100,200) C[200,300) V2:"},
    // Starts inside.
    {"V1: A[150,250) V2: B[100,200)", ""},
    // Ends inside.
    {"V1: A[50,150) V2: B[100,200)", ""},
    // Covers.
    {"V1: A[0,300) V2: B[100,200)", ""},
    // Same range.
    {"V1: A[100,200) V2: B[100,200)", ""},
    // Lies within.
    {"V1: A[120,180) V2: B[100,200)", ""},
    // A lone transition is in the way.
    {"V1: x[120,130) V2: B[100,200)", ""},
    // With nothing that ends before it the group becomes the first children, settings or not.
    {"V1: e A[300,400) V2: B[100,200)", "V1: B[100,200) e A[300,400) V2:"},
    // A group moves whole.
    {"V1: Z[0,10) V2: A[100,-1) x[190,210) B[-1,300) C[300,400) A1: D[0,9)",
     "V1: Z[0,10) A[100,-1) x[190,210) B[-1,300) C[300,400) V2: A1: D[0,9)"},
    // A group stays whole.
    {"V1: Z[250,260) V2: A[100,-1) x[190,210) B[-1,300) C[300,400)",
     "V1: Z[250,260) C[300,400) V2: A[100,-1) x[190,210) B[-1,300)"},
    // A group that ends in a transition.
    {"V1: V2: A[0,-1) x[90,110) B[-1,-1) x2[190,210)",
     "V1: A[0,-1) x[90,110) B[-1,-1) x2[190,210) V2:"},
    // An edge inside a group below.
    {"V1: A[0,-1) x[90,110) B[-1,200) V2: C[120,150)", ""},
    // A clip without edges of its own is only placed by its group.
    {"V1: A[0,-1) x[90,110) B[-1,-1) x2[190,210) C[-1,300) V2: D[120,150)", ""},
    // Beside a group below.
    {"V1: A[0,-1) x[90,110) B[-1,-1) x2[190,210) C[-1,300) V2: D[300,350)",
     "V1: A[0,-1) x[90,110) B[-1,-1) x2[190,210) C[-1,300) D[300,350) V2:"},
    // After the last that ends before it, in the file's order.
    {"V1: A[60,80) B[0,50) V2: C[90,95)", "V1: A[60,80) B[0,50) C[90,95) V2:"},
    // A comment moves with an open edge.
    {"V1: V2: # B[-1,50)", "V1: # B[-1,50) V2:"},
    // Malformed edges are not in the way of anything: no number compares with them.
    {"V1: A[0,12x) V2: B[5,9)", "V1: B[5,9) A[0,12x) V2:"},
    // No times.
    {"V1: A[10,20) V2: B[-,-)", "V1: B[-,-) A[10,20) V2:"},
};

TEST(CollapseTracks, MovesGroupsToWhereTheTrackBelowIsFree) {
    expectRows("collapse forward", collapseRows, SecondRun::mayChange);
    expectRows("collapse reverse", collapseRows, SecondRun::mayChange);
}

TEST(CollapseTracks, FallsThroughSeveralTracksOnlyFromTheTopDown) {
    const char* const before = "V1: A[0,10) V2: B[10,20) V3: C[20,30)";
    expectRows("collapse reverse",
               {{before, "V1: A[0,10) B[10,20) C[20,30) V2: V3:"},
                // Until something is in the way.
                {"V1: A[0,30) V2: V3: V4: B[10,20)", "V1: A[0,30) V2: B[10,20) V3: V4:"}});
    expectRows("collapse forward", {{before, "V1: A[0,10) B[10,20) V2: C[20,30) V3:"}},
               SecondRun::mayChange);
}

TEST(RemoveObscuredClips, TakesWhatLiesWhollyUnderAnOpaqueClip) {
    expectRows(
        "obscured",
        {
            // One track.
            {"V1: A[0,100)", ""},
            // Within.
            {"V1: A[120,180) B[180,210) V2: C[100,200)", "V1: B[180,210) V2: C[100,200)"},
            // Same range.
            {"V1: ~G[100,200) V2: C[100,200)", "V1: V2: C[100,200)"},
            // Sticking out.
            {"V1: A[99,180) B[180,201) V2: C[100,200)", ""},
            // A transition alone stays.
            {"V1: x[120,130) V2: C[100,200)", ""},
            // Under a transparent clip.
            {"V1: A[120,180) V2: C[100,200)%60", ""},
            // A group within goes whole.
            {"V1: A[110,-1) x[140,160) B[-1,190) V2: C[100,200)", "V1: V2: C[100,200)"},
            // A group that sticks out stays.
            {"V1: A[110,-1) x[140,160) B[-1,250) V2: C[100,200)", ""},
            // The middle of a long group stays.
            {"V1: A[0,-1) x[90,110) B[-1,-1) x2[190,210) D[-1,300) V2: C[100,200)", ""},
            // The range of a group above.
            {"V1: A[0,200) V2: B[0,-1) x[90,110) C[-1,200)", "V1: V2: B[0,-1) x[90,110) C[-1,200)"},
            // Only the track directly below.
            {"V1: A[120,180) V2: V3: C[100,200)", ""},
            // What was removed hides nothing.
            {"V1: A[120,180) V2: B[110,190) V3: C[100,200)", "V1: A[120,180) V2: V3: C[100,200)"},
        });
}

TEST(MergeClips, CutsWhatAnOpaqueClipHides) {
    expectRows(
        "merge",
        {
            // Sticks out on both sides.
            {"V1: A[50,300)+Blur V2: B[100,200)",
             "V1: A[50,100)@0:250+Blur A[200,300)@150:250+Blur V2: B[100,200)"},
            // Tail hidden.
            {"V1: A[50,150)@5:105 V2: B[100,200)", "V1: A[50,100)@5:105 V2: B[100,200)"},
            // Head hidden.
            {"V1: A[150,250)@5:105 V2: B[100,200)", "V1: A[200,250)@55:105 V2: B[100,200)"},
            // Within.
            {"V1: A[120,180) V2: B[100,200)", "V1: V2: B[100,200)"},
            // Touching.
            {"V1: A[50,100) C[200,250) V2: B[100,200)", ""},
            // Under a transparent clip.
            {"V1: A[50,300) V2: B[100,200)^screen", ""},
            // Under two clips.
            {"V1: A[0,500) V2: B[100,200) C[300,400)",
             "V1: A[0,100)@0:500 A[200,300)@200:500 A[400,500)@400:500 V2: B[100,200) C[300,400)"},
            // A missing in stays missing.
            {"V1: A[50,300)@-:- V2: B[100,200)", "V1: A[50,100)@-:- A[200,300)@-:- V2: B[100,200)"},
            // Only the opaque middle of a group hides. Transition at its start.
            {"V1: A[0,300) V2: x[90,100) B[-1,200)",
             "V1: A[0,100)@0:300 A[200,300)@200:300 V2: x[90,100) B[-1,200)"},
            // The length at both ends is that of the first node, as it has always been.
            {"V1: A[0,300) V2: B[100,-1) x[190,210)",
             "V1: A[0,100)@0:300 A[210,300)@210:300 V2: B[100,-1) x[190,210)"},
            // Transitions at both ends.
            {"V1: A[0,300) V2: x[90,100) B[-1,-1) x2[180,220)",
             "V1: A[0,100)@0:300 A[210,300)@210:300 V2: x[90,100) B[-1,-1) x2[180,220)"},
            // An open edge reads as -1.
            {"V1: x[90,110) A[-1,150) V2: B[100,200)",
             "V1: x[90,100) A[-1,100)@0:151 V2: B[100,200)"},
            // A clip without end hides up to -1: the transition around its start is cut, not its
            // chain.
            {"V1: x[73,30) A[-1,-1) x2[35,46) V2: B[56,-1)",
             "V1: x[73,30) A[-1,-1) x2[35,56) x2[-1,46) V2: B[56,-1)"},
        });
    // A long transition before a short one: the range ends before it starts, the pieces overlap.
    expectRows("merge",
               {{"V1: A[0,300) V2: x[0,60) B[-1,-1) x2[90,100)",
                 "V1: A[0,60)@0:300 A[40,300)@40:300 V2: x[0,60) B[-1,-1) x2[90,100)"}},
               SecondRun::mayChange);
}

TEST(RemoveTransitions, MakesPlainCutsOfThem) {
    expectRows(
        "video transitions",
        {
            // No transition.
            {"V1: A[0,-1) B[-1,100)", ""},
            // Centred.
            {"V1: A[0,-1)@0:110 x[100,110) B[-1,200)@20:120", "V1: A[0,105) B[105,200)@25:120"},
            // Both sides take the rounded-down half: one frame stays empty.
            {"V1: A[0,-1)@0:110 x[100,111) B[-1,200)@20:120", "V1: A[0,105) B[106,200)@25:120"},
            // Start of a clip only.
            {"V1: A[0,100) x[100,110) B[-1,200)@20:120", "V1: A[0,100) B[100,200)@30:120"},
            // End of a clip only.
            {"V1: A[0,-1)@0:110 x[100,110) B[110,200)", "V1: A[0,110)@0:100 B[110,200)"},
            // First and last in the track.
            {"V1: x[0,10) A[-1,-1)@5:55 x2[40,50)", "V1: A[0,50)@15:45"},
            // Between clips that have edges.
            {"V1: A[0,105) x[100,110) B[105,200)", "V1: A[0,105) B[105,200)"},
            // In never falls below 0.
            {"V1: x[0,10) A[-1,50)@-20:30", "V1: A[0,50)@0:30"},
            // Running backwards.
            {"V1: A[0,-1)@0:9 x[110,100) B[-1,200)@20:120", "V1: A[0,110)@0:9 B[100,200)@20:120"},
            // An edge of -1.0 counts.
            {"V1: A[0,-1.0)@0:110 x[100,110)", "V1: A[0,110)@0:100"},
            // A comment is a neighbour.
            {"V1: A[0,-1) # x[100,110) B[-1,200)@20:120", "V1: A[0,-1) # B[100,200)@30:120"},
            // Missing out and in.
            {"V1: A[0,-1)@-:- x[100,110) B[-1,200)@-:-", "V1: A[0,105)@-:- B[105,200)@-:-"},
            // Video only.
            {"V1: x[0,9) A1: x[0,9)", "V1: A1: x[0,9)"},
        });
    expectRows("audio transitions",
               {{"V1: x[0,9) A1: A[0,-1)@0:11 x[0,10)", "V1: x[0,9) A1: A[0,10)@0:1"}});
}

TEST(RemoveFiltersAndMarkers, TakeAllOfThemAtAnyDepth) {
    const char* const before =
        "V1: A[0,9)%60'M+Blur{<filter><filter/></filter>} A1: B[0,9)*0 "
        "C[9,20){<x><marker/><filter/></x>}";
    expectRows("filters", {{before, "V1: A[0,9)'M A1: B[0,9) C[9,20){<x><marker/></x>}"}});
    expectRows("markers", {{before,
                            "V1: A[0,9)%60+Blur{<filter><filter/></filter>} A1: B[0,9)*0 "
                            "C[9,20){<x><filter/></x>}"}});
    const Timeline timeline("S: {<marker/>} {<rate><filter/></rate>} V1:");
    EXPECT_TRUE(tidySequence(timeline.sequence, {}, {{"removeFilters", "removeMarkers"}}));
    EXPECT_FALSE(timeline.sequence.child("marker"));
    EXPECT_EQ(serialise(timeline.sequence.child("rate")), "<rate/>");
}

}  // namespace
}  // namespace reelsweep::test
