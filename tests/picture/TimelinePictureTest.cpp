// What becomes of each clip, as it is drawn.
#include "tests/picture/Drawn.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

TEST(TimelinePicture, SaysWhatBecomesOfEachClip) {
    struct Row {
        const char* what;
        const char* timeline;
        OptionList passes;
        const char* drawn;
    };
    const Row rows[] = {
        {"nothing to do",
         "V1: A[0,50)",
         {"removeDisabledVideoClips"},
         "before V1: A[0,50) | after V1: A[0,50)"},
        {"a disabled clip goes",
         "V1: A[0,50) !B[50,90)",
         {"removeDisabledVideoClips"},
         "before V1: A[0,50) B[50,90)off=removed | after V1: A[0,50)"},
        {"a clip falls, and its track goes",
         "V1: A[0,50) V2: B[60,90)",
         {"collapseTracks", "removeUnusedTracks"},
         "before V2: B[60,90)=moved V1: A[0,50) | after V1: A[0,50) B[60,90)=moved"},
        {"tracks that close up move nobody",
         "V1: A[0,50) V2: V3: C[10,20)",
         {"removeUnusedTracks"},
         "before V3: C[10,20) V2: V1: A[0,50)(hidden 10-20)"
         " | after V2: C[10,20) V1: A[0,50)(hidden 10-20)"},
        {"a hidden middle parts the clip",
         "V1: A[0,90) V2: B[20,40)",
         {"collapseTracks", "collapseUncompositedClips"},
         "before V2: B[20,40)=moved V1: A[0,90)(hidden 20-40)=trimmed"
         " | after V2: V1: A[0,20)=trimmed B[20,40)=moved A[40,90)=trimmed"},
        {"a gap is filled",
         "V1: A[0,50) B[60,90)",
         {"replaceGaps"},
         "before V1: A[0,50) B[60,90)"
         " | after V1: A[0,50) slug[50,60)=added B[60,90)"},
        {"a filter goes",
         "V1: A[0,50)+Blur",
         {"removeFilters"},
         "before V1: A[0,50)=changed | after V1: A[0,50)=changed"},
        {"a dissolve goes",
         "V1: A[0,-1) x[90,110) B[-1,200)",
         {"removeVideoTransitions"},
         "before V1: A[0,100)=changed Transition[90,110)=removed B[100,200)=changed"
         " | after V1: A[0,100)=changed B[100,200)=changed"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Timeline timeline(row.timeline);
        EXPECT_EQ(drawnText(*drawn(timeline, row.passes).picture), row.drawn);
    }
}

TEST(TimelinePicture, TellsWhyAClipWasKept) {
    const Timeline timeline("V1: A[40,90) V2: B[10,60){<alphatype>straight</alphatype>}");
    const DryRun run = drawn(timeline, {"collapseTracks", "collapseUncompositedClips"}, true);
    const TimelinePicture& picture = *run.picture;
    ASSERT_FALSE(picture.kept().empty());
    EXPECT_EQ(picture.kept().size(), run.ledger.kept.size());
    const auto& kept = picture.kept().front();
    ASSERT_NE(kept.after, noEntry);
    const std::vector<std::string> lines = clipLines(picture, {PictureSide::after, kept.after});
    EXPECT_NE(lines.back().find("kept by Collapse "), std::string::npos) << lines.back();
}

TEST(TimelinePicture, FindsTheClipOfEachChangeAndItsOtherSide) {
    const Timeline timeline("V1: A[0,50) V2: B[60,90) !C[100,120)");
    const DryRun run = drawn(timeline, {"removeDisabledVideoClips", "collapseTracks"});
    const TimelinePicture& picture = *run.picture;
    ASSERT_EQ(picture.changes().size(), run.ledger.changes.size());
    for (std::size_t i = 0; i < picture.changes().size(); ++i) {
        const ClipPlace place = picture.placeOf(picture.changes()[i]);
        ASSERT_TRUE(place.isSomewhere());
        EXPECT_EQ(picture.at(place).name, run.ledger.changes[i].name());
        const ClipPlace other = picture.partnerOf(place);
        EXPECT_EQ(other.isSomewhere(), picture.at(place).fate != ClipFate::removed);
        if (other.isSomewhere()) {
            EXPECT_EQ(picture.partnerOf(other), place);
        }
    }
    EXPECT_EQ(picture.count(ClipFate::removed), 1U);
    EXPECT_EQ(picture.count(ClipFate::moved), 1U);
}

TEST(TimelinePicture, TimesThatNoFilmHasAreDrawnAtTheEdge) {
    const Timeline timeline(
        "V1: A[0,9223372036854775807) B[-9223372036854775807,-5) C[80,20) D[5,9)");
    const auto picture = drawn(timeline, {"removeMarkers"}).picture;
    EXPECT_LE(picture->range().end, farthestFrame);
    const DrawnRow& row = picture->before().rows.front();
    // Whatever lies about, the clip at a frame is found.
    const std::uint32_t found = picture->before().clipAt(row, Frames{6});
    ASSERT_NE(found, noEntry);
    EXPECT_EQ(picture->before().clips[found].name, "D");
}

}  // namespace
}  // namespace reelsweep::test
