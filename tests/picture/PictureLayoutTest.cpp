// Where clips and time codes come to stand, and whether they can be read.
#include "report/PictureColours.h"
#include "report/PictureLayout.h"
#include "tests/picture/Drawn.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace reelsweep::test {
namespace {

std::string layoutText(const TimelinePicture& picture, PictureView view) {
    RowLayout layout;
    const DrawnSide& side = picture.before();
    layOutRow(side, side.rows.front(), view, layout);
    std::string text;
    for (const ClipBox& box : layout.boxes)
        text += std::string(side.clips[box.clip].name) + "@" + std::to_string(std::lround(box.x)) +
                "+" + std::to_string(std::lround(box.width)) + " ";
    for (const ClipCrowd& crowd : layout.crowds)
        text += "#" + std::to_string(crowd.x) + "+" + std::to_string(crowd.width) +
                (crowd.has(ClipFate::removed) ? "removed" : "") +
                (crowd.has(ClipFate::same) ? "same" : "") + " ";
    return text;
}

TEST(PictureLayout, LaysOutWhatIsInViewAndJoinsWhatIsTooNarrow) {
    const Timeline timeline("V1: A[0,100) B[100,102) C[102,104) !D[104,105) E[200,300)");
    const auto picture = drawn(timeline, {"removeDisabledVideoClips"}).picture;
    struct Row {
        const char* what;
        PictureView view;
        const char* text;
    };
    const Row rows[] = {
        {"all", {0, 1, 300}, "A@0+100 E@200+100 #100+4same #104+1removed "},
        {"from the middle of a clip", {50, 2, 200}, "A@-100+200 B@100+4 C@104+4 #108+2removed "},
        {"behind a clip", {110, 1, 50}, ""},
        {"far away", {0, 0.01, 100}, "#0+1same #1+1removedsame #2+1same "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(layoutText(*picture, row.view), row.text);
    }
}

TEST(PictureLayout, ARowCostsNoMoreThanItsWidth) {
    std::string notation = "V1:";
    for (int i = 0; i < 2000; ++i) {
        notation += i % 3 == 0 ? " !C[" : " C[";
        notation += std::to_string(i * 7) + "," + std::to_string(i * 7 + 6) + ")";
    }
    const Timeline timeline(notation);
    const auto picture = drawn(timeline, {"removeDisabledVideoClips"}).picture;
    constexpr double width = 300;
    RowLayout layout;
    for (const double scale : {0.001, width / 14000, 0.1, 0.9, 3.0}) {
        layOutRow(picture->before(), picture->before().rows.front(), {1000, scale, width}, layout);
        EXPECT_LE(layout.boxes.size() + layout.crowds.size(), width) << scale;
        std::int32_t end = 0;
        for (const ClipCrowd& crowd : layout.crowds) {
            EXPECT_GE(crowd.x, end) << "crowds overlap at " << scale;
            EXPECT_GT(crowd.width, 0);
            end = crowd.x + crowd.width;
        }
    }
    EXPECT_EQ(overview(*picture, 300).size(), 300U);
}

TEST(PictureLayout, MarksStandAtRoundTimeCodes) {
    struct Row {
        const char* what;
        SequenceTimecode timecode;
        PictureView view;
        const char* marks;
    };
    const Row rows[] = {
        {"an hour in",
         {{25, false}, false, Frames{90000}},
         {0, 1, 300},
         "0=01:00:00:00 125=01:00:05:00 250=01:00:10:00"},
        {"frames", {{25, false}, false, {}}, {0, 50, 400}, "0=00:00:00:00 5=00:00:00:05"},
        // 01:01:00;00 and ;01 are left out: the minute begins with its third number.
        {"drop frame over a minute",
         {{30, true}, true, Frames{107892}},
         {1700, 1, 320},
         "1800=01:01:00;02 1948=01:01:05;00"},
        {"drop frame over ten minutes",
         {{30, true}, true, {}},
         {17900, 0.5, 300},
         "17982=00:10:00;00 18282=00:10:10;00"},
        {"no rate", {}, {0, 1, 250}, "0=0 200=200"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        std::string text;
        for (const RulerMark& mark : rulerMarks(row.timecode, row.view, 110)) {
            EXPECT_EQ(mark.text, row.timecode.text(mark.frame));
            if (!text.empty()) text += " ";
            text += mark.frame.text() + "=" + mark.text;
        }
        EXPECT_EQ(text, row.marks);
    }
}

double brightness(Colour colour) {
    const auto part = [&](unsigned shift) {
        const double value = ((colour >> shift) & 0xffU) / 255.0;
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(16) + 0.7152 * part(8) + 0.0722 * part(0);
}

double contrast(Colour a, Colour b) {
    const double light = std::max(brightness(a), brightness(b));
    const double dark = std::min(brightness(a), brightness(b));
    return (light + 0.05) / (dark + 0.05);
}

TEST(PictureColours, TextsCanBeReadInLightAndDark) {
    for (const PictureColours* const colours : {&lightColours, &darkColours}) {
        SCOPED_TRACE(colours == &lightColours ? "light" : "dark");
        for (const ClipColours& clip :
             {colours->same, colours->changed, colours->trimmed, colours->moved, colours->removed,
              colours->added, colours->slug}) {
            EXPECT_GE(contrast(colours->text, clip.fill), 4.5);
            EXPECT_GE(contrast(clip.outline, colours->lane), 3);
        }
        for (const Colour ground : {colours->background, colours->lane}) {
            EXPECT_GE(contrast(colours->text, ground), 4.5);
            EXPECT_GE(contrast(colours->quiet, ground), 4.5);
            EXPECT_GE(contrast(colours->line, ground), 3);
        }
        EXPECT_GE(contrast(colours->onBadge, colours->badge), 4.5);
    }
}

}  // namespace
}  // namespace reelsweep::test
