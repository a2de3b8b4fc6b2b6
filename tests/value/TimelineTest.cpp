// What a sequence says, as a value.
#include "tests/value/Values.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

// A row is called by its name.
template <class Row>
auto operator<<(std::ostream& out, const Row& row) -> decltype(out << row.name) {
    return out << row.name;
}

std::string rangeText(FrameRange range) {
    return "[" + range.start.text() + "," + range.end.text() + ")";
}

// "A [0,110) cut [0,100)", with a question mark at an edge that nothing places.
std::string placesText(const reelsweep::Timeline& timeline) {
    std::string text;
    for (const Item& item : timeline.items()) {
        if (item.kind == ItemKind::transition) continue;
        text += (text.empty() ? "" : " ") + std::string(item.name) + " ";
        if (item.startPlace == EdgePlace::nowhere) text += "?";
        text += rangeText(item.range);
        if (item.endPlace == EdgePlace::nowhere) text += "?";
        if (item.cut != item.range) text += " cut " + rangeText(item.cut);
    }
    return text;
}

struct PlaceRow {
    const char* name;
    const char* timeline;
    const char* places;
};

class Places : public testing::TestWithParam<PlaceRow> {};

TEST_P(Places, AreResolved) {
    EXPECT_EQ(placesText(valueOf(GetParam().timeline)), GetParam().places);
}

INSTANTIATE_TEST_SUITE_P(
    Timeline, Places,
    testing::Values(
        PlaceRow{"Own", "V1: A[0,100) B[100,200)", "A [0,100) B [100,200)"},
        PlaceRow{"BothSides", "V1: A[0,-1) x[90,110) B[-1,200)",
                 "A [0,110) cut [0,100) B [90,200) cut [100,200)"},
        PlaceRow{"OddLength", "V1: A[0,-1) x[90,101) B[-1,200)",
                 "A [0,101) cut [0,95) B [90,200) cut [95,200)"},
        PlaceRow{"StartsOnTheCut", "V1: A[0,-1) x[90,110){<alignment>start</alignment>} B[-1,200)",
                 "A [0,110) cut [0,90) B [90,200)"},
        PlaceRow{"EndsOnTheCut", "V1: A[0,-1) x[90,110){<alignment>end</alignment>} B[-1,200)",
                 "A [0,110) B [90,200) cut [110,200)"},
        PlaceRow{"FadeIn", "V1: x[0,10) A[-1,100)", "A [0,100)"},
        PlaceRow{"FadeOut", "V1: A[0,-1) x[90,100) # B[120,140)", "A [0,100) B [120,140)"},
        PlaceRow{"ChainThatFadesOut", "V1: A[0,-1) x1[40,60) B[-1,-1) x2[90,110)",
                 "A [0,60) cut [0,50) B [40,110) cut [50,110)"},
        PlaceRow{"ChainOfTwo", "V1: A[0,-1) x1[40,60) B[-1,-1) x2[90,110) C[-1,150)",
                 "A [0,60) cut [0,50) B [40,110) cut [50,100) C [90,150) cut [100,150)"},
        PlaceRow{"OnlyTheIncomingRunsIn", "V1: A[0,100) x[100,110) B[-1,200)",
                 "A [0,100) B [100,200)"},
        PlaceRow{"EdgesOfTheirOwn", "V1: A[0,100) x[90,110) B[100,200)",
                 "A [0,110) cut [0,100) B [90,200) cut [100,200)"},
        PlaceRow{"NoTransition", "V1: A[-1,200)@10:60 B[300,-1)@5:25", "A ?[150,200) B [300,320)?"},
        PlaceRow{"NeitherEdge", "V1: A[-1,-1)", "A ?[0,0)?"},
        PlaceRow{"NoTime", "V1: A[-,200)@10:60 B[abc,300)@0:10", "A ?[150,200) B ?[290,300)"},
        PlaceRow{"WrittenWithAPoint", "V1: A[0.0,100.0)", "A [0,100)"},
        PlaceRow{"TransitionWithoutPlace", "V1: A[0,-1)@0:50 x[-1,110)", "A [0,50)?"},
        PlaceRow{"SettingsBetween", "V1: A[0,-1) e # x[90,100)", "A [0,100)"}),
    [](const auto& row) { return row.param.name; });

TEST(TimelineValue, SourceRunsWithTheClipFromItsPlaceOn) {
    // In stands where the clip is seen first, which is the start of its transition.
    const auto timeline = valueOf("V1: A[0,-1)@7:107 x[90,110) B[-1,200)@50:160");
    const Item& b = timeline.items()[2];
    EXPECT_EQ(b.line.at({90}), Frames{50});
    EXPECT_EQ(b.line.at({199}), Frames{159});
}

TEST(TimelineValue, CountsAClipsFramesAtItsOwnRate) {
    const auto timeline = valueOf(
        "S: {<rate><timebase>25</timebase></rate>} "
        "V1: A[100,200)@10:106{<rate><timebase>24</timebase><ntsc>TRUE</ntsc></rate>}");
    const Item& item = timeline.items()[0];
    EXPECT_EQ(item.line.step, 960);  // 24,000 of 25,025
    EXPECT_EQ(item.line.divisor, 1001);
    EXPECT_EQ(item.line.at({100}), Frames{10});
    EXPECT_EQ(item.line.at({101}), Frames{10});
    EXPECT_EQ(item.line.at({102}), Frames{11});
    EXPECT_EQ(item.line.at({99}), Frames{9});
    // Back again: the first frame at which the clip has come that far.
    const std::vector<FrameRange> own{{{10}, {11}}, {{12}, {14}}, {{90}, {99}}};
    EXPECT_EQ(item.line.onTimeline(own, {{101}, {104}}),
              (std::vector<FrameRange>{{{101}, {102}}, {{103}, {104}}}));
    EXPECT_EQ(item.line.onTimeline(own, item.range).front(), (FrameRange{{100}, {102}}));
}

TEST(TimelineValue, FindsDefinitionsWhereverTheyStand) {
    // In a disabled clip, further down, in another sequence, nowhere.
    const std::string other =
        sequenceXML("V1: !O[0,9){<file id='f3'><name>three.mov</name></file>}");
    const std::string here = sequenceXML(
        "V1: A[0,9){<file id='f1'/>} B[9,18){<file id='f2'/>} C[18,27){<file id='f3'/>} "
        "D[27,36){<file id='f4'/>} V2: !E[0,9){<file id='f1'><name>one.mov</name></file>} "
        "F[9,18){<file id='f2'><pathurl>file://localhost/D%3a/two.mov</pathurl></file>}");
    const auto document = XMLDocument::parse(projectXML({other, here}));
    ASSERT_TRUE(document);
    XMLNode sequence = document->rootElement().child("project").child("children").lastChild();
    // A copy that stands apart, as a run makes one.
    const auto timeline =
        reelsweep::Timeline::of(sequence.copy(), MediaCatalogue::of(document->node()));
    const auto media = [&](std::size_t index) { return timeline.items()[index].media; };
    EXPECT_EQ(media(0)->name, "one.mov");
    EXPECT_EQ(media(1)->path, "file://localhost/D%3a/two.mov");
    EXPECT_EQ(media(2)->name, "three.mov");
    EXPECT_EQ(media(3)->kind, Media::Kind::undefined);
    EXPECT_EQ(media(0), media(4));
}

TEST(TimelineValue, FindsDefinitionsAfterEditsWhereTheSearchHadPaused) {
    const std::string first = sequenceXML(
        "V1: A[0,9){<file id='f1'><name>one.mov</name></file>} B[9,18) "
        "C[18,27){<file id='f2'><name>two.mov</name></file>}");
    const std::string second = sequenceXML("V1: D[0,9){<file id='f1'/>}");
    const auto document = XMLDocument::parse(projectXML({first, second}));
    ASSERT_TRUE(document);
    const XMLNode children = document->rootElement().child("project").child("children");
    const auto trackOf = [](XMLNode sequence) {
        return sequence.child("media").child("video").child("track");
    };
    const XMLNode edited = children.lastChild();
    const auto before = reelsweep::Timeline::of(edited, MediaCatalogue::of(document->node()));
    EXPECT_EQ(before.items()[0].media->name, "one.mov");

    trackOf(children.child("sequence")).firstChild().nextSibling().detach();
    trackOf(edited).appendChild(
        *edited.parseDetached("<clipitem><start>9</start><end>18</end><file id='f2'/></clipitem>"));
    const auto after = reelsweep::Timeline::ofEdited(edited, before);
    EXPECT_EQ(after.items()[1].media->name, "two.mov");
    EXPECT_EQ(after.items()[0].media->name, "one.mov");
}

TEST(TimelineValue, KnowsMediaByWhatTheyAreNotById) {
    const auto key = [](const std::string& file) {
        return std::string(valueOf("V1: A[0,9){" + file + "}").items()[0].media->key);
    };
    EXPECT_EQ(key("<file id='1'><pathurl>file://localhost/D%3a/a%20b.mov</pathurl></file>"),
              key("<file id='2'><pathurl>file:///D:/a b.mov</pathurl></file>"));
    EXPECT_EQ(key("<file id='1'><name>a</name><duration>9</duration></file>"),
              key("<file id='2'><name>a</name><duration>9</duration></file>"));
    EXPECT_NE(
        key("<file id='1'><name>a</name><timecode><reel><name>1</name></reel></timecode></file>"),
        key("<file id='1'><name>a</name><timecode><reel><name>2</name></reel></timecode></file>"));
    EXPECT_NE(key("<file id='1'/>"), key("<file id='2'/>"));
}

TEST(TimelineValue, TakesTheActiveAngleOfAMulticlip) {
    const std::string angles =
        "{<multiclip id='m'><angle><clip><file id='a'><name>a.mov</name></file></clip></angle>"
        "<angle><activevideoangle>TRUE</activevideoangle><clip><file id='b'><name>b.mov</name>"
        "</file></clip></angle></multiclip>}";
    const auto timeline = valueOf("V1: A[0,9)" + angles + " B[9,18){<multiclip id='m'/>} " +
                                  "C[18,27){<file id='a'/>} A1: D[0,9){<multiclip id='m'/>}");
    const char* const names[] = {"b.mov", "b.mov", "a.mov", "a.mov"};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(timeline.items()[i].media->name, names[i]);
}

TEST(TimelineValue, ReadsSequencesThatPlayEachOtherInACircle) {
    const auto timeline = valueOf(
        "V1: A[0,9){<sequence id='n'><name>N</name><media><video><track><clipitem><start>0</start>"
        "<end>9</end><sequence id='sequence-1'/></clipitem><clipitem><start>9</start><end>12</end>"
        "<sequence id='n'/></clipitem></track></video></media></sequence>}");
    EXPECT_EQ(timeline.items()[0].media->kind, Media::Kind::sequence);
    EXPECT_EQ(intervalsText(picture(timeline)), "0-9 A@0");
}

struct SpeedRow {
    const char* name;
    const char* parameters;  // id=value, with keyframes as when:value
    Speed::Kind kind;
    std::int64_t own;
    std::int64_t media;
};

std::string timeRemap(std::string_view parameters) {
    std::string xml = "{<filter><effect><effectid>timeremap</effectid>";
    for (const std::string& token : timelineTokens(parameters)) {
        const std::size_t sign = token.find('=');
        xml += "<parameter><parameterid>" + token.substr(0, sign) + "</parameterid>";
        const std::string value = token.substr(sign + 1);
        const std::size_t colon = value.find(':');
        xml += colon == value.npos ? "<value>" + value + "</value>" : "";
        for (std::size_t at = 0; colon != value.npos && at < value.size();) {
            const std::size_t end = std::min(value.find(',', at), value.size());
            const std::size_t split = value.find(':', at);
            xml += "<keyframe><when>" + value.substr(at, split - at) + "</when><value>" +
                   value.substr(split + 1, end - split - 1) + "</value></keyframe>";
            at = end + 1;
        }
        xml += "</parameter>";
    }
    return xml + "</effect></filter>}";
}

class Speeds : public testing::TestWithParam<SpeedRow> {};

TEST_P(Speeds, AreRead) {
    const auto timeline = valueOf("V1: A[0,100)" + timeRemap(GetParam().parameters));
    const Speed& speed = timeline.items()[0].filters->speed;
    EXPECT_EQ(speed.kind, GetParam().kind);
    EXPECT_EQ(speed.mediaFrame({GetParam().own}), Frames{GetParam().media});
}

INSTANTIATE_TEST_SUITE_P(
    Timeline, Speeds,
    testing::Values(SpeedRow{"Plain", "speed=100.0 reverse=FALSE variablespeed=0",
                             Speed::Kind::plain, 40, 40},
                    SpeedRow{"Half", "speed=50", Speed::Kind::constant, 41, 20},
                    SpeedRow{"Fraction", "speed=33.3333", Speed::Kind::constant, 300, 99},
                    SpeedRow{"Backward", "speed=100 reverse=TRUE", Speed::Kind::constant, 10, 10},
                    SpeedRow{"Frozen", "speed=0 graphdict=0:7,100:7", Speed::Kind::remapped, 50, 7},
                    SpeedRow{"Ramp", "speed=100 variablespeed=1 graphdict=0:0,100:50,200:300",
                             Speed::Kind::remapped, 150, 175},
                    SpeedRow{"AfterTheLastKeyframe", "variablespeed=1 graphdict=0:0,10:5",
                             Speed::Kind::remapped, 900, 5}),
    [](const auto& row) { return row.param.name; });

TEST(TimelineValue, OutlivesTheTreeThatItWasReadFrom) {
    auto source = std::make_unique<Timeline>(
        "S: {<rate><timebase>25</timebase></rate>} V1: A[0,9)%60'Here{<file "
        "id='f'><name>a.mov</name></file>}{<labels><label2>Iris</label2></labels>}"
        "{<link><linkclipref>B</linkclipref><trackindex>2</trackindex></link>}");
    const reelsweep::Timeline timeline = valueOf(*source);
    source.reset();
    const Item& item = timeline.items()[0];
    EXPECT_EQ(item.media->name, "a.mov");
    EXPECT_EQ(item.filters->opacity.value, "60");
    EXPECT_EQ(item.notes->colour, "Iris");
    ASSERT_EQ(item.notes->links.size(), 1u);
    EXPECT_EQ(item.notes->links[0].clipRef, "B");
    EXPECT_EQ(item.notes->links[0].trackIndex, 2);
    ASSERT_EQ(item.notes->markers.size(), 1u);
    EXPECT_EQ(item.notes->markers[0].name, "Here");
    EXPECT_EQ(description(timeline.trackOf(item)), "V1");
}

}  // namespace
}  // namespace reelsweep::test
