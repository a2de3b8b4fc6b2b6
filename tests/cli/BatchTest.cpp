// Many files in one call: folders, several at once, mixed formats, one summary.
#include "tests/cli/Program.h"

#include "tests/cli/WaitFor.h"
#include "xml/XMLDocument.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;

const std::string reel = project({"V1: A[0,100)'M !B[100,200) V2: C[100,150)"});
const std::string fcpxml =
    "<fcpxml version=\"1.9\"><library><event><project name=\"P\"><sequence><spine><clip><marker "
    "value=\"m\"/></clip></spine></sequence></project></event></library></fcpxml>";

// Files in a folder and one below it: two to be tidied, one of the other format, a broken one, one
// of something else, and what nobody means.
void fill(const Workplace& workplace) {
    fs::create_directories(workplace / "in/day 2");
    fs::create_directories(workplace / "in/.hidden");
    for (const char* const name :
         {"in/a.xml", "in/day 2/a.XML", "in/b-Tidied.xml", "in/.c.xml", "in/.hidden/d.xml"})
        workplace.write(name, reel);
    workplace.write("in/f.fcpxml", fcpxml);
    workplace.write("in/broken.xml", "<xmeml><project>");
    workplace.write("in/page.xml", "<html/>");
    workplace.write("in/notes.txt", "x");
}

TEST(Batch, TidiesTheFilesOfFoldersWithOneSummary) {
    for (const char* const jobs : {"1", "3"}) {
        const Workplace workplace;
        fill(workplace);
        const Ended ended = run(workplace, {"tidy", "in", "--recursive", "--jobs", jobs,
                                            "--output-dir", "out", "--parents"});
        EXPECT_EQ(ended.status, 3);
        EXPECT_EQ(ended.output,
                  "Pass                      Removed  Moved  Changed\n"
                  "removeDisabledVideoClips        2      -        -\n"
                  "collapseTracks                  -      2        -\n"
                  "removeUnusedTracks              2      -        -\n"
                  "importSafe                      -      -        2\n"
                  "Total                           4      2        2\n"
                  "400 of 400 frames show the same picture\n"
                  "2 files tidied, 2 files left out, 1 file failed\n");
        EXPECT_EQ(ended.error,
                  "reelsweep-cli: in/broken.xml:1:17: the file ends too early\n"
                  "reelsweep-cli: note: in/f.fcpxml: is FCPXML, to which none of the passes "
                  "applies; left out\n"
                  "reelsweep-cli: note: in/page.xml: neither XMEML nor FCPXML: its root element is "
                  "\"html\"; left out\n");
        EXPECT_EQ(workplace.listing(), "in out");
        EXPECT_TRUE(XMLDocument::load(workplace / "out/a-Tidied.xml"));
        EXPECT_TRUE(XMLDocument::load(workplace / "out/day 2/a-Tidied.XML"));
        EXPECT_FALSE(workplace.has("out/f-Tidied.fcpxml"));
    }
}

TEST(Batch, AppliesToEachFormatWhatApplies) {
    const Workplace workplace(reel);
    workplace.write("in.fcpxml", fcpxml);
    const std::vector<std::string> files{"tidy", "in.xml", "in.fcpxml", "--force"};
    const auto runWith = [&](std::vector<std::string> options) {
        options.insert(options.begin(), files.begin(), files.end());
        return run(workplace, options);
    };
    const Ended ended = runWith({"--passes", "default,removeMarkers"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_NE(ended.error.find("note: in.fcpxml: is FCPXML; only removeMarkers apply to it"),
              std::string::npos)
        << ended.error;
    EXPECT_EQ(workplace.read("in-Tidied.fcpxml").find("<marker"), std::string::npos);
    // What cannot be minded there keeps the file out.
    const Ended kept = runWith({"--passes", "removeMarkers", "--markers-keep", "m"});
    EXPECT_EQ(kept.status, 0);
    EXPECT_NE(kept.error.find("in.fcpxml: --markers-keep does not apply to FCPXML; left out"),
              std::string::npos)
        << kept.error;
    // Nothing at all was done.
    EXPECT_EQ(run(workplace, {"tidy", "in.fcpxml", "in.fcpxml", "-j2"}).status, 2);
}

TEST(Batch, FailsAloneWhenAFileEndsItsProcess) {
    const Workplace workplace;
    fs::create_directory(workplace / "in");
    workplace.write("in/a.xml", longProject());
    workplace.write("in/b.xml", reel);
    Program program(workplace, {"tidy", "in", "--jobs", "1", "--report", "r.json"});
    const std::vector<pid_t> children = waitForValue([&] { return program.children(); });
    ASSERT_EQ(children.size(), 1U);
    ::kill(children.front(), SIGKILL);
    const Ended ended = program.wait();
    EXPECT_EQ(ended.status, 70);
    EXPECT_EQ(ended.error, "reelsweep-cli: in/a.xml: the process that tidied it has ended\n");
    EXPECT_FALSE(workplace.has("in/a-Tidied.xml"));
    EXPECT_TRUE(XMLDocument::load(workplace / "in/b-Tidied.xml"));
    const auto documents = nlohmann::json::parse(workplace.read("r.json"))["documents"];
    ASSERT_EQ(documents.size(), 2U);
    EXPECT_EQ(documents[0]["errors"][0], "in/a.xml: the process that tidied it has ended");
    EXPECT_GT(documents[1]["sequences"][0]["changes"].size(), 0U);
}

TEST(Batch, StopsAtOnceWhenInterrupted) {
    const Workplace workplace;
    fs::create_directory(workplace / "in");
    for (const char* const name : {"in/a.xml", "in/b.xml", "in/c.xml"})
        workplace.write(name, longProject());
    Program program(workplace, {"tidy", "in", "--jobs", "2"});
    ASSERT_TRUE(waitUntil([&] { return program.children().size() == 2; }));
    program.send(SIGTERM);
    const Ended ended = program.wait();
    EXPECT_EQ(ended.status, 130);
    EXPECT_NE(ended.error.find("of 3 files were done with"), std::string::npos) << ended.error;
    for (const auto& entry : fs::directory_iterator(workplace / "in"))
        EXPECT_EQ(entry.path().extension(), ".xml") << entry.path();
}

TEST(Batch, TakesABundleInAFolderForOneDocument) {
    for (const bool isDeep : {false, true}) {
        const Workplace workplace;
        fs::create_directories(workplace / "in/day/Cut.fcpxmld/Media");
        workplace.write("in/day/Cut.fcpxmld/Info.fcpxml", fcpxml);
        workplace.write("in/day/Cut.fcpxmld/Media/other.xml", reel);
        // Results, what is being saved, bundles of something else, and a folder that is called so.
        for (const char* const other : {"in/day/Cut-Tidied.fcpxmld", "in/day/Cut.fcpxmld.6F0",
                                        "in/day/Film.fcpbundle", "in/day/empty.fcpxmld"})
            fs::create_directory(workplace / other);
        for (const char* const other : {"Cut-Tidied.fcpxmld", "Cut.fcpxmld.6F0", "Film.fcpbundle"})
            workplace.write("in/day/" + std::string(other) + "/Info.fcpxml", fcpxml);
        std::vector<std::string> arguments{"tidy",          isDeep ? "in" : "in/day", "--passes",
                                           "removeMarkers", "--output-dir",           "out",
                                           "--parents"};
        if (isDeep) arguments.push_back("--recursive");
        const Ended ended = run(workplace, arguments);
        EXPECT_EQ(ended.status, 0) << ended.error;
        EXPECT_NE(ended.output.find("1 file tidied\n"), std::string::npos) << ended.output;
        const std::string result = isDeep ? "out/day/Cut-Tidied.fcpxmld" : "out/Cut-Tidied.fcpxmld";
        EXPECT_EQ(workplace.read(result + "/Info.fcpxml").find("<marker"), std::string::npos);
        EXPECT_EQ(workplace.read(result + "/Media/other.xml"), reel);
        EXPECT_EQ(workplace.read("in/day/Cut.fcpxmld/Info.fcpxml"), fcpxml);
    }
}

TEST(Batch, ReportsTheSameHoweverManyAreAtWork) {
    for (const std::string report : {"r.json", "r.csv", "r.html"}) {
        std::string alone;
        for (const char* const jobs : {"1", "4"}) {
            const Workplace workplace;
            fill(workplace);
            // The first is by far the longest, and so is done with last.
            workplace.write("in/A.xml", longProject());
            const Ended ended = run(workplace, {"tidy", "in", "--jobs", jobs, "--report", report,
                                                "--dry-run", "--passes", "all", "--handles", "9"});
            EXPECT_EQ(ended.status, 3) << ended.error;
            const std::string written = workplace.read(report);
            EXPECT_GT(written.size(), 10'000U);
            if (alone.empty()) alone = written;
            EXPECT_TRUE(written == alone) << report;
        }
    }
}

TEST(Batch, ReportsEveryFileInOrder) {
    const Workplace workplace;
    fill(workplace);
    const Ended ended =
        run(workplace, {"tidy", "in", "--report", "-", "--dry-run", "--passes", "all"});
    EXPECT_EQ(ended.status, 3);
    const nlohmann::json report = nlohmann::json::parse(ended.output);
    std::vector<std::string> inputs;
    for (const auto& document : report["documents"]) inputs.push_back(document["input"]);
    EXPECT_EQ(inputs, (std::vector<std::string>{"in/a.xml", "in/broken.xml", "in/f.fcpxml",
                                                "in/page.xml"}));
}

}  // namespace
}  // namespace reelsweep::test
