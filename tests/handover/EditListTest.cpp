// Edit lists: which events there are, and what they say.
#include "report/EditList.h"
#include "tests/handover/Handover.h"

#include <gtest/gtest.h>

#include <sstream>

namespace reelsweep::test {
namespace {

// The events without blanks in a row, comments left out.
std::string eventsOf(const std::string& list) {
    std::string events;
    std::istringstream lines(list);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || (!std::isdigit(static_cast<unsigned char>(line[0])) && line[0] != 'M'))
            continue;
        std::istringstream words(line);
        std::string event;
        for (std::string word; words >> word;) event += (event.empty() ? "" : " ") + word;
        events += event + "\n";
    }
    return events;
}

TEST(EditList, HasAnEventForEachClipAndDissolve) {
    const std::string a = file("a", 500, 90000, "<reel><name>Reel-07 long name</name></reel>");
    const std::string half =
        "{<filter><effect><name>Time Remap</name><effectid>timeremap</effectid><parameter>"
        "<parameterid>speed</parameterid><value>50</value></parameter></effect></filter>}";
    struct Row {
        const char* what;
        std::string track;
        std::string events;
        std::size_t leftOut = 0;
    };
    const std::vector<Row> rows = {
        {"plain clips, a hole, and one that is off", "A[0,50)@25:75" + a + " !B[50,60) C[100,125)",
         "001 REEL07LO V C 01:00:01:00 01:00:03:00 00:00:00:00 00:00:02:00\n"
         "002 AX V C 00:00:00:00 00:00:01:00 00:00:04:00 00:00:05:00\n"},
        {"a dissolve begins where the outgoing clip ends",
         "A[0,-1)@25:135" + a + " x[90,110) B[-1,200)@50:160" + file("b", 900),
         "001 REEL07LO V C 01:00:01:00 01:00:04:15 00:00:00:00 00:00:03:15\n"
         "002 REEL07LO V C 01:00:04:15 01:00:04:15 00:00:03:15 00:00:03:15\n"
         "002 AX V D 020 00:00:02:00 00:00:06:10 00:00:03:15 00:00:08:00\n"},
        {"fades come from black and go to it", "x[0,25) A[-1,-1)@0:100" + a + " x[75,100)",
         "001 BL V C 00:00:00:00 00:00:00:00 00:00:00:00 00:00:00:00\n"
         "001 REEL07LO V D 025 01:00:00:00 01:00:03:00 00:00:00:00 00:00:03:00\n"
         "002 REEL07LO V C 01:00:03:00 01:00:03:00 00:00:03:00 00:00:03:00\n"
         "002 BL V D 025 00:00:00:00 00:00:01:00 00:00:03:00 00:00:04:00\n"},
        {"half the speed uses half the media", "A[0,100)@0:100" + half + file("b", 900),
         "001 AX V C 00:00:00:00 00:00:02:00 00:00:00:00 00:00:04:00\n"
         "M2 AX 012.5 00:00:00:00\n"},
        {"a clip under an earlier one has no room", "A[0,50) B[10,20) C[40,75)",
         "001 AX V C 00:00:00:00 00:00:02:00 00:00:00:00 00:00:02:00\n"
         "002 AX V C 00:00:00:10 00:00:01:10 00:00:02:00 00:00:03:00\n",
         1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const reelsweep::Timeline timeline = timelineOf("V1: " + row.track);
        TextSink sink;
        const WrittenEditList written = writeEditList(timeline, timeline.tracks()[0], "T", sink);
        EXPECT_EQ(eventsOf(sink.text), row.events) << sink.text;
        EXPECT_EQ(written.leftOut, row.leftOut);
    }
}

TEST(EditList, NamesClipsInFullAndKeepsToTheFormat) {
    const reelsweep::Timeline timeline =
        timelineOf("V1: Harbour_Master_Interview,_second_half[0,50)" +
                       file("a", 500, 0, "<reel><name>Reel-07 long name</name></reel>"),
                   "<timebase>30</timebase><ntsc>TRUE</ntsc></rate>"
                   "<timecode><displayformat>DF</displayformat><frame>0</frame></timecode><rate>");
    TextSink sink;
    writeEditList(timeline, timeline.tracks()[0], "A\nB", sink);
    EXPECT_EQ(sink.text,
              "TITLE: A B\r\nFCM: DROP FRAME\r\n\r\n"
              "001  REEL07LO V     C        00:00:00:00 00:00:01:16 00:00:00;00 00:00:01;20\r\n"
              "* FROM CLIP NAME: Harbour_Master_Interview,_second_half\r\n"
              "* FROM REEL: Reel-07 long name\r\n"
              "* FROM FILE: /m/a x.mov\r\n");
}

}  // namespace
}  // namespace reelsweep::test
