// Where two timelines show another picture, whether it was asked, and in which words it is said.
#include "tests/value/Values.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

// A row is called by its name.
template <class Row>
auto operator<<(std::ostream& out, const Row& row) -> decltype(out << row.name) {
    return out << row.name;
}

constexpr Asked nothing;
constexpr Asked filters{.filters = true};
constexpr Asked transitions{.videoTransitions = true, .audioTransitions = true};

struct DifferenceRow {
    const char* name;
    const char* source;
    const char* copy;
    Asked asked;
    const char* differences;
};

class Differences : public testing::TestWithParam<DifferenceRow> {};

TEST_P(Differences, AreFoundAndJudged) {
    const DifferenceRow& row = GetParam();
    const PictureDifference difference(valueOf(row.source), valueOf(row.copy), row.asked);
    EXPECT_EQ(differencesText(difference, MediaType::video), row.differences);
}

INSTANTIATE_TEST_SUITE_P(
    Picture, Differences,
    testing::Values(
        DifferenceRow{"OtherTrack", "V1: V2: A[0,10)", "V1: A[0,10)", nothing, ""},
        DifferenceRow{"HiddenClipGone", "V1: A[0,10) V2: B[0,10)", "V1: B[0,10)", nothing, ""},
        DifferenceRow{"HiddenPartCutOff", "V1: A[0,20) V2: B[10,20)", "V1: A[0,10) B[10,20)",
                      nothing, ""},
        DifferenceRow{"DisabledGone", "V1: A[0,10) V2: !B[0,10)", "V1: A[0,10)", nothing, ""},
        DifferenceRow{"SlugInAGap", "V1: A[0,10) B[20,30)", "V1: A[0,10) ~S[10,20)=Slug B[20,30)",
                      nothing, ""},
        DifferenceRow{"Lost", "V1: A[0,10)", "V1: A[0,9)", nothing, "changed lost [9,10)"},
        DifferenceRow{"LostFromUnderAFade", "V1: A[0,50) V2: x[0,10) B[-1,50)",
                      "V2: x[0,10) B[-1,50)", nothing, "changed lost [0,10)"},
        DifferenceRow{"LostAndTheOneBelowShows", "V1: A[0,20) V2: B[0,20)", "V1: A[0,20)", nothing,
                      "changed lost [0,20)"},
        DifferenceRow{"RevealedFromADisabledTrack",
                      "V1: A[0,20) V2: {<enabled>FALSE</enabled>} B[5,10)",
                      "V1: A[0,20) V2: B[5,10)", nothing, "changed revealed [5,10)"},
        DifferenceRow{"SlugOverAClip", "V1: A[0,20)", "V1: A[0,20) V2: ~S[5,10)=Slug", nothing,
                      "changed lost [5,10)"},
        DifferenceRow{"OtherMedia", "V1: A[0,20)", "V1: B[0,20)", nothing,
                      "changed other media [0,20)"},
        DifferenceRow{"OtherSourceFrame", "V1: A[0,20)", "V1: A[0,20)@1:21", nothing,
                      "changed other source frame [0,20)"},
        DifferenceRow{"ShiftedByAFrame", "V1: A[0,20)", "V1: A[1,21)", nothing,
                      "changed lost [0,1), changed other source frame [1,20), changed added "
                      "[20,21)"},
        DifferenceRow{"OtherOpacity", "V1: A[0,20)%60", "V1: A[0,20)%61", nothing,
                      "changed other look [0,20)"},
        DifferenceRow{"OtherOrder", "V1: A[0,9)%60 V2: B[0,9)%60", "V1: B[0,9)%60 V2: A[0,9)%60",
                      nothing, "changed other order [0,9)"},
        DifferenceRow{"DissolveWithoutASide", "V1: A[0,-1) x[5,15) B[-1,20)",
                      "V1: x[5,15) B[-1,20)", nothing,
                      "changed lost [0,5), changed transition [5,15)"},
        DifferenceRow{"EdgeWithoutPlace", "V1: x[5,15) B[-1,20)", "V1: B[-1,20)@0:15", nothing,
                      "changed edge without place [5,20)"},
        DifferenceRow{"FilterThatDoesNothing", "V1: A[0,9)%100", "V1: A[0,9)", nothing, ""},
        DifferenceRow{"AskedFilter", "V1: A[0,9)%60", "V1: A[0,9)", filters,
                      "asked other look [0,9)"},
        DifferenceRow{"CoveredAfterAskedFilter", "V1: A[0,9) V2: B[0,9)%60", "V1: B[0,9)", filters,
                      "asked other look [0,9)"},
        DifferenceRow{"LostBesideAskedFilter", "V1: A[0,9)+Blur V2: B[5,9)%60", "V1: A[0,9)",
                      filters, "asked other look [0,5), changed lost [5,9)"},
        DifferenceRow{"FilterThatWasNotAsked", "V1: A[0,9)%60", "V1: A[0,9)", transitions,
                      "changed other look [0,9)"},
        DifferenceRow{"AskedSpeed",
                      "V1: A[0,9){<filter><effect><effectid>timeremap</effectid><parameter>"
                      "<parameterid>speed</parameterid><value>50</value></parameter></effect>"
                      "</filter>}",
                      "V1: A[0,9)", filters, "asked other source frame [0,9)"},
        DifferenceRow{"AskedTransition", "V1: A[0,-1) x[90,110) B[-1,200)@0:110",
                      "V1: A[0,100) B[100,200)@10:110", transitions,
                      "asked transition [90,100), asked transition [100,110)"},
        DifferenceRow{"CutAnywhereInTheTransition", "V1: A[0,-1) x[90,110) B[-1,200)@0:110",
                      "V1: A[0,93) B[93,200)@3:110", transitions,
                      "asked transition [90,93), asked transition [93,110)"},
        DifferenceRow{"OddTransitionLeavesAFrame", "V1: A[0,-1) x[90,101) B[-1,200)@0:110",
                      "V1: A[0,95) B[96,200)@6:110", transitions,
                      "asked transition [90,95), changed lost [95,96), asked transition [96,101)"},
        DifferenceRow{"FadeRemovedInSync", "V1: x[0,10) A[-1,50)@5:55", "V1: A[0,50)@5:55",
                      transitions, "asked transition [0,10)"},
        DifferenceRow{"FadeRemovedOutOfSync", "V1: x[0,10) A[-1,50)@5:55", "V1: A[0,50)@15:55",
                      transitions, "changed other source frame [0,50)"},
        DifferenceRow{"TransitionThatWasNotAsked", "V1: x[0,10) A[-1,50)", "V1: A[0,50)", nothing,
                      "changed transition [0,10)"},
        DifferenceRow{"DissolveToADisabledClip", "V1: A[0,-1) x[90,110) !B[-1,200)",
                      "V1: A[0,100) !B[100,200)@10:110", transitions,
                      "asked transition [90,100), asked lost [100,110)"},
        DifferenceRow{"LowerClipGoneUnderAClosedDissolve",
                      "V1: L[0,200) V2: A[0,-1)%60 x[90,110) B[-1,200)",
                      "V1: A[0,100)%60 B[100,200)@10:110", transitions,
                      "changed lost [0,100), asked transition [100,110)"}),
    [](const auto& row) { return row.param.name; });

struct SoundRow {
    const char* name;
    const char* source;
    const char* copy;
    Asked asked;
    const char* differences;
};

class SoundDifferences : public testing::TestWithParam<SoundRow> {};

TEST_P(SoundDifferences, AreFoundAndJudged) {
    const SoundRow& row = GetParam();
    const PictureDifference difference(valueOf(row.source), valueOf(row.copy), row.asked);
    EXPECT_EQ(differencesText(difference, MediaType::audio), row.differences);
}

INSTANTIATE_TEST_SUITE_P(
    Sound, SoundDifferences,
    testing::Values(
        SoundRow{"SilentGone", "A1: A[0,10)*0 B[10,20)", "A1: B[10,20)", nothing, ""},
        SoundRow{"OtherTrack", "A1: A[0,9) A2: B[0,9)", "A1: B[0,9) A2: A[0,9)", nothing, ""},
        SoundRow{"OtherChannel", "A1: {<outputchannelindex>1</outputchannelindex>} A[0,9)",
                 "A1: {<outputchannelindex>2</outputchannelindex>} A[0,9)", nothing,
                 "changed other look [0,9)"},
        SoundRow{"OtherLevel", "A1: A[0,9)*0.5", "A1: A[0,9)*0.6", nothing,
                 "changed other look [0,9)"},
        SoundRow{"Lost", "A1: A[0,9) A2: B[0,9)", "A1: A[0,9)", nothing, "changed lost [0,9)"},
        SoundRow{"AskedLevel", "A1: A[0,9)*0.5", "A1: A[0,9)", filters, "asked other look [0,9)"},
        SoundRow{"SilentBecomesHeard", "A1: A[0,9)*0", "A1: A[0,9)", filters,
                 "asked revealed [0,9)"},
        SoundRow{"SilentGoneWithTheFilters", "A1: A[0,9)*0 A2: B[0,9)*2", "A2: B[0,9)", filters,
                 "asked other look [0,9)"},
        SoundRow{"AskedCrossFade", "A1: A[0,-1) x[90,110) B[-1,200)",
                 "A1: A[0,100) B[100,200)@10:110", transitions,
                 "asked transition [90,100), asked transition [100,110)"},
        SoundRow{"AskedCrossFadeBesideTheSameSound", "A1: A[0,80) A2: A[0,-1) x[40,60) B[-1,100)",
                 "A1: A[0,80) A2: A[0,50) B[50,100)@10:60", transitions,
                 "asked transition [40,50), asked transition [50,60)"},
        SoundRow{"AskedCrossFadeAboveTheSameSound", "A1: A[0,-1) x[40,60) B[-1,100) A2: A[0,80)",
                 "A1: A[0,50) B[50,100)@10:60 A2: A[0,80)", transitions,
                 "asked transition [40,50), asked transition [50,60)"},
        SoundRow{"CrossFadeLeftWithBoth", "A1: A[0,-1) x[90,110) B[-1,200)",
                 "A1: A[0,110) A2: B[90,200)@0:110", transitions, "changed transition [90,110)"}),
    [](const auto& row) { return row.param.name; });

TEST(PictureDifference, LooksIntoNestedSequencesFrameByFrame) {
    const auto nested = [](const char* lower) {
        return std::string(
                   "V1: N[0,50)@10:60{<sequence id='n'><name>N</name><media><video><track>"
                   "<clipitem><name>a</name><start>0</start><end>30</end></clipitem>") +
               lower + "</track></video></media></sequence>}";
    };
    const auto b = "<clipitem><name>b</name><start>30</start><end>60</end></clipitem>";
    const auto later =
        "<clipitem><name>b</name><start>32</start><end>62</end><in>2</in></clipitem>";
    const PictureDifference same(valueOf(nested(b)), valueOf(nested(b)));
    EXPECT_TRUE(same.isSame());
    const PictureDifference other(valueOf(nested(b)), valueOf(nested(later)));
    EXPECT_EQ(differencesText(other, MediaType::video), "changed other media [20,22)");
    const auto endless =
        "<clipitem><name>d</name><start>30</start><end>9223372036854775807</end></clipitem>";
    const PictureDifference toTheEnd(valueOf(nested(b)), valueOf(nested(endless)));
    EXPECT_EQ(differencesText(toTheEnd, MediaType::video), "changed other media [20,50)");
}

// Two nested sequences that are heard at once, with the names of each and of its clip.
std::string twoScenes(const char* first, const char* firstClip, const char* second,
                      const char* secondClip) {
    const auto scene = [](const char* name, const char* clip) {
        return std::string("{<sequence><name>") + name +
               "</name><media><audio><track><clipitem><name>" + clip +
               "</name><start>0</start><end>30</end></clipitem></track></audio></media></"
               "sequence>}";
    };
    return "A1: N[0,30)" + scene(first, firstClip) + " A2: M[0,30)" + scene(second, secondClip);
}

TEST(PictureDifference, ANestedSequenceIsWhatItHoldsWhateverItIsCalled) {
    struct Row {
        const char* name;
        std::string copy;
        const char* differences;
    };
    const std::string source = twoScenes("One", "a", "Two", "b");
    for (const Row& row :
         {Row{"BothRenamed", twoScenes("Any", "a", "Other", "b"), ""},
          Row{"OneRenamed", twoScenes("Zwei", "a", "Two", "b"), ""},
          Row{"OnOtherTracks", twoScenes("Two", "b", "One", "a"), ""},
          Row{"OtherContents", twoScenes("One", "a", "Two", "c"), "changed other media [0,30)"}}) {
        const PictureDifference difference(valueOf(source), valueOf(row.copy));
        EXPECT_EQ(differencesText(difference, MediaType::audio), row.differences) << row.name;
    }
}

TEST(PictureDifference, LooksForWhatChangedInTheWholeMix) {
    const auto mix = [](const char* level) {
        return std::string("A1: A[0,9) S: V1: V[0,9) A1:").substr(0, 10) + " {" +
               "<filter><effect><effectid>audiolevels</effectid><parameter><parameterid>level"
               "</parameterid><value>" +
               level + "</value></parameter></effect></filter>}";
    };
    const PictureDifference same(valueOf(mix("1")), valueOf(mix("1.0")));
    EXPECT_TRUE(same.isSame());
    const PictureDifference other(valueOf(mix("1")), valueOf(mix("2")));
    EXPECT_EQ(differencesText(other, MediaType::audio), "changed other look [0,9)");
}

// Words

constexpr const char* clock =
    "S: {<rate><timebase>25</timebase></rate>} {<timecode><frame>90000</frame></timecode>} ";
constexpr const char* shot =
    "{<file id='f'><name>39a.mov</name><rate><timebase>25</timebase></rate><timecode>"
    "<string>02:00:00:00</string></timecode></file>}";

struct WordsRow {
    const char* name;
    std::string source;
    std::string copy;
    const char* words;
};

class Words : public testing::TestWithParam<WordsRow> {};

TEST_P(Words, AnEditorFindsAgain) {
    const WordsRow& row = GetParam();
    const PictureDifference difference(valueOf(clock + row.source), valueOf(clock + row.copy));
    std::string words;
    for (const MediaType type : {MediaType::video, MediaType::audio})
        for (const Difference& one : difference.differences(type))
            words +=
                (words.empty() ? "" : "\n") + differenceText(one, difference.source().timecode());
    EXPECT_EQ(words, row.words);
}

INSTANTIATE_TEST_SUITE_P(
    Difference, Words,
    testing::Values(
        WordsRow{"Lost", std::string("V1: A[25,50)@85:110") + shot, "V1:",
                 "01:00:01:00 to 01:00:02:00, V1: A, source 02:00:03:10, was visible; now black"},
        WordsRow{"LostOverAnother", "V1: B[0,25)%50 V2: A[0,25)%50", "V1: B[0,25)%50",
                 "01:00:00:00 to 01:00:01:00, V2: A, source 00:00:00:00, was visible; now gone"},
        WordsRow{"Uncovered", "V1: B[0,25) V2: A[0,25)", "V1: B[0,25)",
                 "01:00:00:00 to 01:00:01:00, V2: A, source 00:00:00:00, was visible; now V1: B, "
                 "source 00:00:00:00"},
        WordsRow{"Hidden", "V1: A[0,25) V2: !B[0,25)", "V1: A[0,25) V2: B[0,25)",
                 "01:00:00:00 to 01:00:01:00, V1: A, source 00:00:00:00, was visible; now hidden "
                 "by V2: B, source 00:00:00:00"},
        WordsRow{"Shows", "V1: !A[0,25)", "V1: A[0,25)",
                 "01:00:00:00 to 01:00:01:00, V1: A, source 00:00:00:00, was not visible; now "
                 "visible"},
        WordsRow{"SourceFrame", "V1: A[0,25)@10:35", "V1: A[0,25)@20:45",
                 "01:00:00:00 to 01:00:01:00, V1: A, source 00:00:00:10, was visible; now source "
                 "00:00:00:20"},
        WordsRow{"Look", "V1: A[0,25)%60+Blur", "V1: A[0,25)^screen",
                 "01:00:00:00 to 01:00:01:00, V1: A, source 00:00:00:00, had opacity 60 and Blur; "
                 "now composite mode screen"},
        WordsRow{"Dissolve", "V1: x[0,25){<effect><name>Cross Dissolve</name></effect>} A[-1,50)",
                 "V1: A[0,50)",
                 "01:00:00:00 to 01:00:01:00, V1: A, source 00:00:00:00, was in a Cross Dissolve; "
                 "now without it"},
        WordsRow{"WithoutPlace", "V1: x[0,25) A[-1,50)@0:50", "V1: A[-1,50)@0:50",
                 "01:00:00:00 to 01:00:02:00, V1: A, source 00:00:00:00, was visible; now nothing "
                 "says where it starts"},
        WordsRow{"Silent", "A1: A[0,25)", "A1:",
                 "01:00:00:00 to 01:00:01:00, A1: A, source 00:00:00:00, was heard; now silent"},
        WordsRow{"Level", "A1: A[0,25)*0.5", "A1: A[0,25)",
                 "01:00:00:00 to 01:00:01:00, A1: A, source 00:00:00:00, had level 0.5; now no "
                 "filters"}),
    [](const auto& row) { return row.param.name; });

TEST(PictureDifference, SumsUpItsFrames) {
    const PictureDifference difference(valueOf("V1: A[0,108000)"), valueOf("V1: A[0,107960)"));
    EXPECT_EQ(sumText(difference, MediaType::video),
              "107,960 of 108,000 frames show the same "
              "picture");
    EXPECT_EQ(sumText(difference, MediaType::audio),
              "108,000 of 108,000 frames have the same "
              "sound");
    EXPECT_EQ(difference.changed(MediaType::video), Frames{40});
    EXPECT_FALSE(difference.isAsAsked());
}

TEST(PictureDifference, ComparesLargeTimelinesThatNobodyElseKeeps) {
    const auto cuts = [](const char* type, int count, int without) {
        std::string text = std::string(" ") + type + "1:";
        for (int i = 0; i < count; ++i)
            if (i != without)
                text += " A" + std::to_string(i) + '[' + std::to_string(i * 10) + ',' +
                        std::to_string(i * 10 + 10) + ')';
        return text;
    };
    const PictureDifference difference(valueOf(cuts("V", 600, -1) + cuts("A", 600, -1)),
                                       valueOf(cuts("V", 600, 599) + cuts("A", 600, 300)));
    EXPECT_EQ(differencesText(difference, MediaType::video), "changed lost [5990,6000)");
    EXPECT_EQ(differencesText(difference, MediaType::audio), "changed lost [3000,3010)");
    EXPECT_EQ(difference.frames(), Frames{6000});
    EXPECT_EQ(difference.same(MediaType::audio), Frames{5990});
    EXPECT_FALSE(difference.isSame());
}

// Cuts

struct CutRow {
    const char* name;
    std::string before;
    std::string after;
    const char* changes;
};

class Cuts : public testing::TestWithParam<CutRow> {};

TEST_P(Cuts, AreComparedClipByClip) {
    const CutRow& row = GetParam();
    const CutDifference difference(valueOf(clock + row.before), valueOf(clock + row.after));
    std::string text;
    for (const CutChange& change : difference.changes())
        text += (text.empty() ? "" : "\n") + cutChangeText(difference, change).substr(15);
    EXPECT_EQ(text, row.changes);
}

constexpr const char* media =
    "{<file id='f'><name>a.mov</name><pathurl>file:///old/a.mov"
    "</pathurl></file>}";
constexpr const char* newMedia =
    "{<file id='f'><name>a.mov</name><pathurl>file:///new/a.mov"
    "</pathurl></file>}";
constexpr const char* slow =
    "{<filter><effect><effectid>timeremap</effectid><parameter><parameterid>speed</parameterid>"
    "<value>50</value></parameter></effect></filter>}";

INSTANTIATE_TEST_SUITE_P(
    Cut, Cuts,
    testing::Values(
        CutRow{"Nothing", "V1: A[0,100) B[100,150)", "V1: A[0,100) B[100,150)", ""},
        CutRow{"RemovedMovedAdded", "V1: A[0,100) B[100,150) C[150,200)",
               "V1: A[0,100) C[100,150) D[150,180)",
               "01:00:06:00, V1: B, source 00:00:00:00, removed\n"
               "01:00:06:00, V1: C, source 00:00:00:00, moved from 01:00:06:00\n"
               "01:00:07:05, V1: D, source 00:00:00:00, added"},
        CutRow{"OtherTrack", "V1: V2: A[0,25)", "V1: A[0,25)",
               "01:00:01:00, V1: A, source 00:00:00:00, moved from V2"},
        CutRow{"Trimmed", "V1: A[0,100)", "V1: A[12,97)@12:97",
               "01:00:03:22, V1: A, source 00:00:00:12, trimmed: starts 12 frames later, ends 3 "
               "frames earlier"},
        CutRow{"Slipped", "V1: A[0,25)@50:75", "V1: A[0,25)@49:74",
               "01:00:01:00, V1: A, source 00:00:01:24, slipped: 1 frame earlier in its source"},
        CutRow{"Retimed", "V1: A[0,25)", std::string("V1: A[0,25)") + slow,
               "01:00:01:00, V1: A, source 00:00:00:00, retimed from 100 % to 50 %"},
        CutRow{"Relinked", std::string("V1: A[0,25)") + media,
               std::string("V1: A[0,25)") + newMedia,
               "01:00:01:00, V1: A, source 00:00:00:00, relinked from file:///old/a.mov"},
        CutRow{"Switched", "V1: A[0,25)", "V1: !A[0,25)",
               "01:00:01:00, V1: A, source 00:00:00:00, changed: now disabled"},
        // A dissolve that became a cut leaves its clips where an editor saw them cut.
        CutRow{"DissolveClosed", "V1: A[0,-1) x[90,110) B[-1,200)@0:110",
               "V1: A[0,100) B[100,200)@10:110", ""},
        CutRow{"SplitInTwo", "V1: A[0,100)", "V1: A[0,40) A[60,100)@60:100",
               "01:00:01:15, V1: A, source 00:00:00:00, trimmed: ends 60 frames earlier\n"
               "01:00:04:00, V1: A, source 00:00:02:10, added"},
        CutRow{"MovedAndTrimmed", "V1: A[0,100)", "V1: A[200,250)@25:75",
               "01:00:10:00, V1: A, source 00:00:01:00, moved from 01:00:00:00\n"
               "01:00:10:00, V1: A, source 00:00:01:00, trimmed: starts 25 frames later, ends 25 "
               "frames earlier"}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace reelsweep::test
