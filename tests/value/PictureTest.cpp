// What of a timeline reaches the screen and the loudspeakers.
#include "tests/value/Values.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

// A row is called by its name.
template <class Row>
auto operator<<(std::ostream& out, const Row& row) -> decltype(out << row.name) {
    return out << row.name;
}

struct PictureRow {
    const char* name;
    std::string timeline;
    const char* picture;
};

class Pictures : public testing::TestWithParam<PictureRow> {};

TEST_P(Pictures, AreWhatIsSeen) {
    EXPECT_EQ(intervalsText(picture(valueOf(GetParam().timeline))), GetParam().picture);
}

INSTANTIATE_TEST_SUITE_P(
    Picture, Pictures,
    testing::Values(
        PictureRow{"Nothing", "V1:", ""},
        PictureRow{"UpperHidesLower", "V1: A[0,100) V2: B[20,50)",
                   "0-20 A@0#  20-50 B@0#  50-100 "
                   "A@50#"},
        PictureRow{"GapIsBlack", "V1: A[0,10) B[20,30)", "0-10 A@0#  10-20  20-30 B@0#"},
        PictureRow{"TransparentShowsBoth", "V1: A[0,30) V2: B[10,20)%60",
                   "0-10 A@0#  10-20 B@0 A@10#  20-30 A@20#"},
        // What changes below a full frame, and a cut in sync, end no interval.
        PictureRow{"HiddenCutsAreNone", "V1: A[0,10) B[10,20) V2: C[0,20)", "0-20 C@0#"},
        PictureRow{"CutInSyncGoesOn",
                   "V1: A[0,10)@5:15{<file id='f'><name>a</name></file>} V2: "
                   "B[10,20)@15:25{<file id='f'/>}",
                   "0-20 A@5#"},
        PictureRow{"CutOutOfSync",
                   "V1: A[0,10)@5:15{<file id='f'><name>a</name></file>} B[10,20)@16:26{<file "
                   "id='f'/>}",
                   "0-10 A@5#  10-20 B@16#"},
        PictureRow{"Dissolve", "V1: A[0,-1)@0:110 x[90,110) B[-1,200)@30:140",
                   "0-90 A@0#  90-110 A@90> B@30<  110-200 B@50#"},
        PictureRow{"DissolveHidesNothing", "V1: L[80,120) V2: A[0,-1) x[90,110) B[-1,200)",
                   "0-90 A@0#  90-110 A@90> B@0< L@10#  110-200 B@20#"},
        PictureRow{"FadeShowsWhatIsBelow", "V1: A[0,50) V2: x[10,20) B[-1,40)",
                   "0-10 A@0#  10-20 B@0< A@10#  20-40 B@10#  40-50 A@40#"},
        PictureRow{"DisabledReachesNothing", "V1: A[0,20) V2: !B[5,10)", "0-20 A@0#"},
        PictureRow{"DisabledInLowerCase", "V1: A[0,20){<enabled>false</enabled>}", ""},
        PictureRow{"DisabledTrack", "V1: A[0,20) V2: {<enabled>FALSE</enabled>} B[5,10)",
                   "0-20 A@0#"},
        PictureRow{"SlugOverBlackIsBlack",
                   "V1: A[0,10) S[10,20){<file id='s'><name>Slug</name><mediaSource>Slug"
                   "</mediaSource></file>} B[20,30)",
                   "0-10 A@0#  10-20  20-30 B@0#"},
        PictureRow{"SlugHidesWhatIsBelow", "V1: A[0,30) V2: ~S[10,20)=Slug",
                   "0-10 A@0#  10-20  20-30 A@20#"},
        PictureRow{"NobodyKnowsWhichOfTwoAtOnePlace", "V1: L[0,30) V2: A[0,20) B[10,30)",
                   "0-10 A@0#  10-20 A@10 B@0 L@10#  20-30 B@10#"},
        PictureRow{"WithoutPlaceCoversNothing", "V1: L[0,30) V2: A[-1,20)@0:10",
                   "0-10 L@0#  10-20 A@0 L@10#  20-30 L@20#"},
        PictureRow{"OtherTracksWithoutEnd", "V1: A[0,10) V2: B[10,5) C[7,7)", "0-10 A@0#"}),
    [](const auto& row) { return row.param.name; });

// Certainly covers

std::string effect(const char* name, const char* parameter, const char* value) {
    return std::string("{<filter><effect><name>") + name + "</name><parameter><parameterid>" +
           parameter + "</parameterid><value>" + value + "</value></parameter></effect></filter>}";
}

std::string file(const char* name, const char* rest = "") {
    return std::string("{<file id='f'><pathurl>file:///m/") + name + "</pathurl>" + rest +
           "</file>}";
}

std::string sized(const char* width, const char* height, const char* aspect = "") {
    return std::string("{<file id='f'><name>a</name><media><video><samplecharacteristics><width>") +
           width + "</width><height>" + height + "</height>" + aspect +
           "</samplecharacteristics></video></media></file>}";
}

struct CoverRow {
    const char* name;
    std::string clip;  // switches of the upper clip
    bool covers;
};

class Covers : public testing::TestWithParam<CoverRow> {};

TEST_P(Covers, WhatIsBelow) {
    const auto timeline = valueOf(
        "F: {<format><samplecharacteristics><width>1920</width><height>1080</height>"
        "<pixelaspectratio>square</pixelaspectratio></samplecharacteristics></format>} "
        "V1: L[0,10) V2: A[0,10)" +
        GetParam().clip);
    EXPECT_EQ(intervalsText(picture(timeline)), GetParam().covers ? "0-10 A@0#" : "0-10 A@0 L@0#");
}

constexpr const char* movedBy = "<horiz>0.1</horiz><vert>0</vert>";
constexpr const char* centre = "<horiz>0.0</horiz><vert>0</vert>";
constexpr const char* corner = "<horiz>-0.50</horiz><vert>-0.5</vert>";

INSTANTIATE_TEST_SUITE_P(
    Picture, Covers,
    testing::Values(
        CoverRow{"Plain", "", true}, CoverRow{"NormalInAnyCase", "^Normal", true},
        CoverRow{"Screen", "^screen", false}, CoverRow{"Opacity100", "%100.0", true},
        CoverRow{"Opacity99", "%99", false},
        CoverRow{"OpacityWithKeyframes",
                 "{<filter><effect><effectid>opacity</effectid><parameter><parameterid>opacity"
                 "</parameterid><value>100</value><keyframe><when>0</when><value>100</value>"
                 "</keyframe></parameter></effect></filter>}",
                 false},
        CoverRow{"DisabledFilter",
                 "{<filter><enabled>FALSE</enabled><effect><name>Curl</name></effect></filter>}",
                 true},
        CoverRow{"BypassedFilter",
                 "{<filter><effect><name>Curl</name><pproBypass>true</pproBypass></effect>"
                 "</filter>}",
                 true},
        CoverRow{"UnknownFilter", "+Glow", false},
        CoverRow{"ColourFilter", "+Color_Corrector_3-way", true},
        CoverRow{"LevelOfTheSound", "*0.5", true},
        CoverRow{"ScaleOfResolve", effect("Basic Motion", "scale", "100"), true},
        CoverRow{"Smaller", effect("Basic Motion", "scale", "50"), false},
        CoverRow{"Larger", effect("Basic Motion", "scale", "124"), false},
        CoverRow{"CentreAtZero", effect("Basic Motion", "center", centre), true},
        CoverRow{"Moved", effect("Basic Motion", "center", movedBy), false},
        CoverRow{"Turned", effect("Basic Motion", "rotation", "3"), false},
        CoverRow{"CropAtZero", effect("Crop", "left", "0"), true},
        CoverRow{"Cropped", effect("Crop", "left", "0.5"), false},
        CoverRow{"CornerAtRest", effect("Distort", "ulcorner", corner), true},
        CoverRow{"CornerMoved", effect("Distort", "ulcorner", centre), false},
        CoverRow{"HalfSpeed", effect("Time Remap", "speed", "50"), true},
        CoverRow{"MovieWithoutWord", file("a.mov"), true},
        CoverRow{"MovieWithAlpha", file("a.mov") + "{<alphatype>straight</alphatype>}", false},
        CoverRow{"MovieWithAlphaBlack", file("a.mov") + "{<alphatype>black</alphatype>}", false},
        CoverRow{"MovieThatCannotHoldAlpha", file("a.mp4") + "{<alphatype>straight</alphatype>}",
                 true},
        CoverRow{"StillWithoutWord", file("a.png"), false},
        CoverRow{"StillThatSaysNone", file("a.PNG") + "{<alphatype>none</alphatype>}", true},
        CoverRow{"Photograph", file("a.jpg"), true},
        CoverRow{"Graphic",
                 "{<file id='f'><name>G</name><mediaSource>GraphicAndType</mediaSource>"
                 "</file>}",
                 false},
        CoverRow{"DefinedNowhere", "{<file id='f'/>}", false},
        CoverRow{"LargeEnough", sized("3840", "2160"), true},
        CoverRow{"TooNarrow", sized("1440", "1080"), false},
        CoverRow{"NarrowWithWidePixels",
                 sized("1440", "1080", "<pixelaspectratio>HD-(1440x1080)</pixelaspectratio>"),
                 true},
        CoverRow{"SizeInTheFileItself",
                 "{<file id='f'><name>a</name><width>640</width><height>480</height></file>}",
                 false}),
    [](const auto& row) { return row.param.name; });

TEST(Picture, GeneratorsCoverOnlyWhenTheyAreKnownTo) {
    const auto text = [](const std::string& generator) {
        return intervalsText(picture(valueOf("V1: L[0,9) V2: ~G[0,9)=" + generator)));
    };
    EXPECT_EQ(text("Text"), "0-9 G@0 L@0#");
    EXPECT_EQ(text("Color"), "0-9 G@0#");
}

constexpr const char* nestedWithHole =
    "{<sequence id='n'><name>N</name><media><video><track>"
    "<clipitem><start>0</start><end>20</end></clipitem>"
    "<generatoritem><start>30</start><end>50</end><effect><name>Slug</name></effect>"
    "</generatoritem></track></video></media></sequence>}";

TEST(Picture, ANestedSequenceCoversWhereItsOwnPictureIsFull) {
    // From its frame 10 on: full to 20, a hole to 30, a slug to 50.
    const auto timeline = valueOf(std::string("V1: L[0,100) V2: N[0,40)@10:50") + nestedWithHole);
    EXPECT_EQ(intervalsText(picture(timeline)),
              "0-10 N@10#  10-20 N@20 L@10#  20-40 N@30#  40-100 L@40#");
}

TEST(Picture, BetweenTwoFramesIsThePartOfTheWhole) {
    const auto timeline = valueOf("V1: A[0,-1) x[90,110) B[-1,200) V2: C[50,60)");
    EXPECT_EQ(intervalsText(pictureAt(timeline, {{55}, {95}})),
              "55-60 C@5#  60-90 A@60#  90-95 A@90> B@0<");
    EXPECT_EQ(intervalsText(pictureAt(timeline, {{200}, {300}})), "");
}

TEST(Picture, SoundIsAllThatIsAudibleWhateverItsTrack) {
    const char* const channel = "{<outputchannelindex>2</outputchannelindex>}";
    const auto text = [&](const std::string& tracks) {
        return intervalsText(sound(valueOf(tracks)));
    };
    const std::string two =
        text("A1: A[0,20)*0.5 B[20,30)*0 A2: {" + std::string(channel).substr(1) + " C[10,40)");
    EXPECT_EQ(two, text("A1: {" + std::string(channel).substr(1) + " C[10,40) A2: A[0,20)*0.5"));
    EXPECT_EQ(two.substr(0, 9), "0-10 A@0 ");
    EXPECT_EQ(text("A1: !A[0,20) B[0,20)*0.0"), "");
}

}  // namespace
}  // namespace reelsweep::test
