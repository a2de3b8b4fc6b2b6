// What `list`, `passes` and the help print, and the arithmetic behind the list.
#include "tests/cli/Program.h"

#include "report/SequenceSummary.h"
#include "tidy/FCPXPasses.h"
#include "tidy/PassTable.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>
#include <regex>
#include <thread>

#include <sys/stat.h>

namespace reelsweep::test {
namespace {

using Json = nlohmann::json;

constexpr const char* dropFrame =
    "S: {<duration>1800</duration><rate><timebase>30</timebase><ntsc>TRUE</ntsc></rate>"
    "<timecode><displayformat>DF</displayformat></timecode>} V1: A[0,100) x[90,110) B[-1,200) V2: "
    "A1: ~S[0,9)";

TEST(List, ShowsSequencesInAlignedColumns) {
    std::string contents = withoutProject({dropFrame, "V1: A[0,100) B[100,-1)"});
    // Wide characters take two columns; line ends and escape characters must not reach a terminal.
    contents.replace(contents.find("Reel 1"), 6, "港の朝");
    contents.replace(contents.find("Reel 2"), 6, "a%1Bb&#13;c");
    const Workplace workplace;
    const Ended ended = run(workplace, {"list", workplace.write("in.xml", contents)});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.output,
              "#  Title   Length    Time code   Rate  Video  Audio  Items  UUID\n"
              "1  港の朝    1800  00:01:00;02  29.97      2      1      4  U1\n"
              "2  a b c      100            -      -      1      0      2  U2\n");
}

TEST(List, PrintsJson) {
    const Workplace workplace(withoutProject({dropFrame, "V1: A[0,100) B[100,-1)"}));
    const Ended ended =
        run(workplace, {"list", "--json", "-"}, {.input = workplace.read("in.xml")});
    EXPECT_EQ(ended.status, 0);
    const Json list = Json::parse(ended.output);
    EXPECT_EQ(list[0], Json::parse(R"({"index": 1, "title": "Reel 1", "uuid": "U1",
        "frames": 1800, "timecode": "00:01:00;02", "rate": "29.97", "timebase": 30, "ntsc": true,
        "dropFrame": true, "videoTracks": 2, "audioTracks": 1, "items": 4})"));
    EXPECT_EQ(list[1]["frames"], 100);
    EXPECT_EQ(list[1]["rate"], nullptr);

    workplace.write(
        "in.fcpxml",
        "<fcpxml><library><event name=\"Day 1\"><project name=\"P\"/></event></library></fcpxml>");
    EXPECT_EQ(Json::parse(run(workplace, {"list", "--json", "in.fcpxml"}).output),
              Json::array({{{"index", 1}, {"title", "P"}, {"event", "Day 1"}}}));
    EXPECT_EQ(run(workplace, {"list", "in.fcpxml"}).output,
              "#  Project  Event\n1  P        Day 1\n");
}

TEST(List, ReadsAPipe) {
    const Workplace workplace(withoutProject({"V1: A[0,100)"}));
    const std::string file = run(workplace, {"list", "in.xml"}).output;
    ASSERT_EQ(::mkfifo((workplace / "pipe").c_str(), 0600), 0);
    std::thread writer([&] { writeFile(workplace / "pipe", workplace.read("in.xml")); });
    const Ended ended = run(workplace, {"list", "pipe"});
    writer.join();
    EXPECT_EQ(ended.output, file);
    EXPECT_EQ(ended.error, "");
    std::thread other([&] { writeFile(workplace / "pipe", "<xmeml><"); });
    EXPECT_NE(run(workplace, {"list", "pipe"}).error.find("pipe:1:"), std::string::npos);
    other.join();
}

TEST(Passes, AreListedInRunOrder) {
    const Workplace workplace;
    const Json list = Json::parse(run(workplace, {"passes", "--json"}).output);
    const std::string text = run(workplace, {"passes"}).output;
    std::vector<PassRow> passes(passTable().begin(), passTable().end());
    passes.insert(passes.end(), fcpxPassTable().begin(), fcpxPassTable().end());
    ASSERT_EQ(list.size(), passes.size());
    std::size_t at = 0;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const PassRow& pass = passes[i];
        EXPECT_EQ(list[i]["xmeml"], i < passTable().size());
        EXPECT_EQ(list[i]["name"], pass.option);
        EXPECT_EQ(list[i]["default"], pass.onByDefault);
        at = text.find("\n" + std::string(pass.option) + " ", at);
        EXPECT_NE(at, std::string::npos) << pass.option;
    }
}

TEST(Help, GoesToStandardOutputUnlessNobodyAskedForIt) {
    const Workplace workplace;
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"},
                                                      {"tidy", "--help"},
                                                      {"list", "-h"},
                                                      {"passes", "-h"}}) {
        const Ended help = run(workplace, arguments);
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.error, "");
        EXPECT_NE(help.output.find("Examples:\n  reelsweep-cli "), std::string::npos);
        EXPECT_NE(help.output.find("\n  130  interrupted"), std::string::npos);
    }
    const Ended nothing = run(workplace, {});
    EXPECT_EQ(nothing.status, 2);
    EXPECT_EQ(nothing.output, "");
    EXPECT_EQ(nothing.error, run(workplace, {"--help"}).output);
}

TEST(Help, TellsNothingThatManualAndCompletionDoNot) {
    const Workplace workplace;
    std::string manual = contentsOf(REELSWEEP_SOURCE_FOLDER "/resources/man/reelsweep-cli.1");
    std::erase(manual, '\\');
    const std::string completion =
        contentsOf(REELSWEEP_SOURCE_FOLDER "/resources/completion/reelsweep-cli");
    for (const char* command : {"check", "diff", "list", "passes", "projects", "tidy", "verify"}) {
        EXPECT_NE(manual.find(std::string(".B ") + command + "\n"), std::string::npos) << command;
        const std::string help = run(workplace, {command, "--help"}).output;
        const std::regex option("--[a-z][a-z-]+");
        for (std::sregex_iterator found(help.begin(), help.end(), option), end; found != end;
             ++found)
            for (const std::string& text : {manual, completion})
                EXPECT_TRUE(found->str() == "--help" || text.find(found->str()) != text.npos)
                    << command << " " << found->str();
    }
}

TEST(Timecode, CountsFramesOfTheRate) {
    constexpr std::int64_t hour29 = 107892;  // frames of 29.97 in an hour
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    struct Row {
        std::int64_t frames;
        FrameRate rate;
        bool dropFrame;
        const char* timecode;
        const char* rateText;
    };
    const std::vector<Row> rows = {
        {0, {25, false}, false, "00:00:00:00", "25"},
        {90000 + 1499, {25, false}, false, "01:00:59:24", "25"},
        {1800, {30, true}, false, "00:01:00:00", "29.97"},
        {1799, {30, true}, true, "00:00:59;29", "29.97"},
        {1800, {30, true}, true, "00:01:00;02", "29.97"},
        {17981, {30, true}, true, "00:09:59;29", "29.97"},
        {17982, {30, true}, true, "00:10:00;00", "29.97"},
        {hour29, {30, true}, true, "01:00:00;00", "29.97"},
        {2 * hour29 + 3600, {60, true}, true, "01:01:00;04", "59.94"},
        {24, {24, true}, false, "00:00:01:00", "23.976"},
        {119, {120, false}, false, "00:00:00:119", "120"},
        {-25, {25, false}, false, "-00:00:01:00", "25"},
        {least, {1, false}, false, "-2562047788015215:30:08:00", "1"},
        {100, {0, false}, false, "", ""},
        {100, {-30, true}, true, "", ""},
        {100, {-(least + 1), true}, false, "", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(timecode(Frames{row.frames}, row.rate, row.dropFrame), row.timecode);
        EXPECT_EQ(description(row.rate), row.rateText);
    }
}

}  // namespace
}  // namespace reelsweep::test
