// What `tidy` hands over beside the result: reports in three forms, edit lists, OpenTimelineIO.
#include "tests/cli/Program.h"

#include "cli/TextTable.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>

namespace reelsweep::test {
namespace {

using Json = nlohmann::json;

const std::string media =
    "{<file id=\"f\"><name>wide.mov</name><pathurl>file://localhost/m/wide.mov</pathurl><rate>"
    "<timebase>25</timebase></rate><duration>120</duration></file>}";
const std::string film =
    project({"S: {<rate><timebase>25</timebase></rate>} V1: Wide&lt;&amp;[0,100)@5:105" + media +
                 " !Off[100,200) V2: Insert[20,40) V3: Title[50,60)",
             "V1: D[0,50)"});

TEST(Handover, WritesTheReportInTheFormOfItsName) {
    const Workplace workplace(film);
    workplace.write("b.xml", project({"V1: A[0,9) V2: # !B[0,9)"}));
    workplace.write("broken.xml", "<xmeml>");
    const auto report = [&](const std::string& name) {
        const Ended ended = run(workplace, {"tidy", "in.xml", "b.xml", "broken.xml", "--dry-run",
                                            "--quiet", "--report", name});
        EXPECT_EQ(ended.status, 3);
        return workplace.read(name);
    };
    EXPECT_EQ(Json::parse(report("r.json"))["documents"].size(), 3U);
    EXPECT_EQ(Json::parse(report("r.txt"))["documents"].size(), 3U);

    const std::string table = report("r.CSV");
    EXPECT_EQ(table.substr(0, 19), "File,Sequence,Pass,");
    EXPECT_NE(table.find("\nin.xml,Reel 1,removeDisabledVideoClips,removed,clipitem,Off,"),
              std::string::npos);
    EXPECT_NE(table.find("\nb.xml,Reel 1,removeDisabledVideoClips,removed,clipitem,B,"),
              std::string::npos);

    const std::string page = report("r.html");
    for (const char* const text :
         {"<!DOCTYPE html>", "<h2>in.xml</h2>", "<h2>b.xml</h2>", "a dry run, nothing was written",
          "<li>broken.xml:1:", "Wide&lt;&amp;", "wide.mov", "/m/wide.mov", "<svg ", "@media print",
          ">the same<"})
        EXPECT_NE(page.find(text), std::string::npos) << text;
    // Nothing is fetched from anywhere.
    for (const char* const elsewhere : {"<script", "<img", "<link", "href=", "url(", "@import"})
        EXPECT_EQ(page.find(elsewhere), std::string::npos) << elsewhere;
}

TEST(Handover, PutsWarningsFirstOnThePage) {
    const Workplace workplace(project({"V1: Wide[0,100)@5:105" + media + " V2: !Off[0,9)"}));
    EXPECT_EQ(run(workplace, {"tidy", "in.xml", "--handles", "20", "--report", "r.html"}).status,
              0);
    const std::string page = workplace.read("r.html");
    const std::size_t warning = page.find(
        "<li>Reel 1: fewer than 20 frames of handles, V1 0 Wide: 5 frames before, 15 after");
    ASSERT_NE(warning, std::string::npos);
    EXPECT_LT(warning, page.find("Certificate"));
    EXPECT_LT(page.find("Certificate"), page.find("<svg"));
    EXPECT_LT(page.find("<svg"), page.find("What became of each clip"));
    EXPECT_LT(page.find("What became of each clip"), page.find("Pull list"));
}

TEST(Handover, SaysTimesAsTimecode) {
    const Workplace workplace(film);
    const Ended ended = run(
        workplace, {"tidy", "in.xml", "--dry-run", "--quiet", "--handles", "20", "--report", "-"});
    const Json sequences = Json::parse(ended.output)["documents"][0]["sequences"];
    EXPECT_EQ(sequences[0]["timecode"], Json::parse(R"({"rate": "25", "timebase": 25,
        "ntsc": false, "dropFrame": false, "start": "00:00:00:00"})"));
    const Json& before = sequences[0]["changes"][0]["before"];
    EXPECT_EQ(before["startTimecode"], "00:00:04:00");
    EXPECT_EQ(before["endTimecode"], "00:00:08:00");
    const Json& handle = sequences[0]["shortHandles"].at(0);
    EXPECT_EQ(handle["before"], 5);
    EXPECT_EQ(handle["startTimecode"], "00:00:00:00");
    // Without a rate there is no time code to tell.
    EXPECT_EQ(sequences[1]["timecode"]["rate"], nullptr);
    EXPECT_EQ(sequences[1]["timecode"]["start"], nullptr);
}

TEST(Handover, ListsChangesAndHandlesInEightyColumns) {
    const Workplace workplace(
        project({"S: {<rate><timebase>25</timebase></rate>} "
                 "V1: Wide_with_a_name_that_is_longer_than_any_column_of_a_list[0,100)" +
                 media + " V2: 港の仕事港の仕事港の仕事港の仕事港の仕事[20,40) !Off[50,60)"}));
    const Ended ended =
        run(workplace, {"tidy", "in.xml", "--dry-run", "--list-changes", "--handles", "30"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    const std::size_t list = ended.output.find("\nReel 1\n");
    ASSERT_NE(list, std::string::npos);
    const std::string lines = ended.output.substr(list);
    EXPECT_NE(lines.find("  Remove disabled video clips\n"
                         "    removed  Off                              V2  00:00:02:00 - "
                         "00:00:02:10\n             disabled\n"),
              std::string::npos)
        << lines;
    EXPECT_NE(lines.find("\n                                           -> V1  00:00:00:20 - "),
              std::string::npos)
        << lines;
    EXPECT_NE(ended.output.find("Reel 1: 2 clips have fewer than 30 frames of handles\n"),
              std::string::npos)
        << ended.output;
    std::istringstream all(lines);
    for (std::string line; std::getline(all, line);) EXPECT_LE(displayWidth(line), 80U) << line;
}

TEST(Handover, WritesEditListsAndTimelinesBesideTheResult) {
    struct Row {
        std::vector<std::string> options;
        int status;
        std::string listing;  ///< of the folder afterwards
        std::string error = {};
    };
    const std::vector<Row> rows = {
        {{"in.xml", "--edl", "--otio"},
         0,
         "in-Tidied-Reel 1-V1.edl in-Tidied-Reel 1.otio "
         "in-Tidied-Reel 2-V1.edl in-Tidied-Reel 2.otio in-Tidied.xml in.xml old.otio"},
        {{"in.xml", "--edl", "--sequence", "2", "-o", "x"}, 0, "in.xml old.otio x x-Reel 2-V1.edl"},
        {{"in.xml", "--otio", "--dry-run"}, 0, "in.xml old.otio"},
        {{"in.xml", "--otio", "-o", "-"},
         2,
         "in.xml old.otio",
         "--edl and --otio write beside the result, which needs a file; use -o"},
        {{"in.xml", "--otio", "-o", "taken.xml"},
         4,
         "in.xml old.otio taken-Reel 1.otio",
         "taken-Reel 1.otio: there is a file already; --force replaces it"},
        {{"in.xml", "--otio", "--in-place", "--sequence", "2"},
         0,
         "in-Reel 2.otio in.xml old.otio"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.options));
        const Workplace workplace(film);
        workplace.write("old.otio", "old");
        if (row.status == 4) workplace.write("taken-Reel 1.otio", "old");
        std::vector<std::string> arguments = row.options;
        arguments.insert(arguments.begin(), "tidy");
        const Ended ended = run(workplace, arguments);
        EXPECT_EQ(ended.status, row.status) << ended.error;
        EXPECT_EQ(workplace.listing(), row.listing);
        EXPECT_NE(ended.error.find(row.error), std::string::npos) << ended.error;
        EXPECT_EQ(workplace.read("old.otio"), "old");
    }
}

TEST(Handover, WritesWhatTheTidiedCopyShows) {
    const Workplace workplace(film);
    EXPECT_EQ(run(workplace, {"tidy", "in.xml", "--edl", "--otio", "--sequence", "1"}).status, 0);
    const std::string list = workplace.read("in-Tidied-Reel 1-V1.edl");
    EXPECT_NE(list.find("TITLE: Reel 1-Tidied V1\r\n"), std::string::npos) << list;
    EXPECT_NE(list.find("AX       V     C        00:00:00:05 00:00:01:00 00:00:00:00 00:00:00:20"),
              std::string::npos)
        << list;
    EXPECT_EQ(list.find("Off"), std::string::npos);
    const Json timeline = Json::parse(workplace.read("in-Tidied-Reel 1.otio"));
    EXPECT_EQ(timeline["OTIO_SCHEMA"], "Timeline.1");
    EXPECT_EQ(timeline["name"], "Reel 1-Tidied");
}

}  // namespace
}  // namespace reelsweep::test
