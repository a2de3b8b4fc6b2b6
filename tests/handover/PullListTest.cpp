// The media that a timeline uses, and the handles that it leaves.
#include "report/Handles.h"
#include "report/PullList.h"
#include "tests/handover/Handover.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

// "a.mov [25,75)x1 [100,150)x2"
std::string pulledText(const reelsweep::Timeline& timeline) {
    std::string text;
    for (const PulledMedia& pulled : pullList(timeline)) {
        text += (text.empty() ? "" : " ") + std::string(pulled.media->name);
        for (const PulledStretch& stretch : pulled.stretches)
            text += " [" + stretch.frames.start.text() + "," + stretch.frames.end.text() + ")x" +
                    std::to_string(stretch.clips);
    }
    return text;
}

std::string handlesText(const reelsweep::Timeline& timeline) {
    std::string text;
    for (const ShortHandle& handle : shortHandles(timeline, Frames{10}))
        text += (text.empty() ? "" : "; ") + shortHandleText(timeline, handle);
    return text;
}

TEST(PullList, JoinsWhatTouchesAndKnowsTheHandles) {
    const std::string again = "{<file id=\"a\"/>}";
    const std::string twice =
        "{<filter><effect><name>Time Remap</name><effectid>timeremap</effectid><parameter>"
        "<parameterid>speed</parameterid><value>200</value></parameter></effect></filter>}";
    struct Row {
        std::string timeline;
        std::string pulled;
        std::string handles;
    };
    const std::vector<Row> rows = {
        {"V1: A[0,50)@25:75" + file("a", 500) + " B[50,60)@75:85" + again, "a.mov [25,85)x2", ""},
        {"V1: A[0,50)@25:75" + file("a", 500) + " B[50,60)@90:100" + again,
         "a.mov [25,75)x1 [90,100)x1", ""},
        // Through a transition, and on another track.
        {"V1: A[0,-1)@30:140" + file("a", 145) + " x[90,110) B[-1,200)@0:110" + file("b", 900) +
             " A1: S[0,100)@30:130" + again,
         "a.mov [30,140)x2 b.mov [0,110)x1",
         "V1 00:00:00:00 A: 30 frames before, 5 after; V1 00:00:04:00 B: 0 frames before, 790 "
         "after"},
        {"V1: !A[0,50)" + file("a", 50), "", ""},
        {"V1: A[0,50) ~G[50,60)", "", ""},
        {"V1: A[0,50)@10:60" + twice + file("a", 125), "a.mov [20,119)x1",
         "V1 00:00:00:00 A: 20 frames before, 6 after"},
        // The media is shorter than the file says that it is used.
        {"V1: A[0,50)@10:60" + file("a", 55), "a.mov [10,60)x1",
         "V1 00:00:00:00 A: 10 frames before, -5 after"},
        // Media of another rate counts in its own frames.
        {"V1: A[0,50)@10:60{<file "
         "id=\"h\"><name>h.mov</name><rate><timebase>50</timebase></rate><duration>900</duration>"
         "</file>}",
         "h.mov [20,119)x1", ""},
    };
    for (const Row& row : rows) {
        const reelsweep::Timeline timeline = timelineOf(row.timeline);
        EXPECT_EQ(pulledText(timeline), row.pulled) << row.timeline;
        EXPECT_EQ(handlesText(timeline), row.handles) << row.timeline;
    }
}

TEST(PullList, ReadsURLsAsPaths) {
    const std::pair<const char*, const char*> rows[] = {
        {"file://localhost/Volumes/A%20B/c.mov", "/Volumes/A B/c.mov"},
        {"file:///Volumes/%E2%82%AC.mov", "/Volumes/€.mov"},
        {"file://localhost/C:/Media/c.mov", "C:/Media/c.mov"},
        {"file:///100%/a%0Ab%2", "/100%/a%0Ab%2"},
        {"smb://server/a%20b", "smb://server/a%20b"},
        {"", ""}};
    for (const auto& [url, path] : rows) EXPECT_EQ(pathOfURL(url), path);
}

}  // namespace
}  // namespace reelsweep::test
