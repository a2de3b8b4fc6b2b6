// What `tidy` does with good files: which sequences and passes, where the result goes, and what it
// tells.
#include "tests/cli/Program.h"

#include "tests/timeline/Timeline.h"
#include "tidy/PassTable.h"
#include "xml/XMLDocument.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep::test {
namespace {

using Json = nlohmann::json;

// Two reels in which the default passes and the marker pass have something to do.
const std::string reels = project({"V1: A[0,100)'M !B[100,200) V2: C[100,150)", "V1: D[0,50)"});

const std::string sources =
    "Reel 1: V1: A[0,100)'M !B[100,200) V2: C[100,150)\nReel 2: V1: D[0,50)\n";

TEST(Tidy, AddsTidiedCopiesAndShowsWhatWasDone) {
    const Workplace workplace;
    const Ended ended = run(workplace, {"tidy", workplace.write("film.xml", reels)});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(
        ended.output,
        "Sequence  Pass                      Removed  Moved  Trimmed  Split  Inserted  Changed\n"
        "Reel 1    removeDisabledVideoClips        1      -        -      -         -        -\n"
        "          collapseTracks                  -      1        -      -         -        -\n"
        "          removeUnusedTracks              1      -        -      -         -        -\n"
        "          importSafe                      -      -        -      -         -        1\n"
        "Reel 2    importSafe                      -      -        -      -         -        2\n"
        "Total                                     2      1        -      -         -        3\n"
        "250 of 250 frames show the same picture\n"
        "Wrote film-Tidied.xml\n");
    EXPECT_EQ(workplace.read("film.xml"), reels);
    EXPECT_EQ(sequencesOf(workplace.read("film-Tidied.xml")),
              sources + "Reel 1-Tidied: V1: A[0,100)'M C[100,150)\nReel 2-Tidied: V1: D[0,50)\n");
}

TEST(Tidy, RunsTheChosenPassesOnTheChosenSequences) {
    const std::string twins =
        reels.substr(0, reels.find("Reel 2")) + "Reel 1" + reels.substr(reels.find("Reel 2") + 6);
    std::string numbers = reels;
    numbers.replace(numbers.find("Reel 1"), 6, "2");
    const std::string first = "Reel 1-Tidied: V1: A[0,100) !B[100,200) V2: C[100,150)\n";
    const std::string second = "Reel 2-Tidied: V1: D[0,50)\n";
    struct Row {
        std::string contents;
        std::vector<std::string> options;
        std::string added;  ///< the bin's sequences
    };
    const std::vector<Row> rows = {
        {reels, {"--passes", "removeMarkers"}, first + second},
        {reels, {"--passes", "removeMarkers", "--sequence", "Reel 1"}, first},
        {reels, {"--passes", "removeMarkers", "--sequence", "2"}, second},
        {reels, {"--passes", "removeMarkers", "--sequence", "U1"}, first},
        {reels,
         {"--passes", "removeMarkers", "--sequence", "2", "--sequence=1", "--sequence", "U2"},
         first + second},
        // A title that looks like an index is a title.
        {numbers,
         {"--passes", "removeMarkers", "--sequence", "2"},
         "2-Tidied: V1: A[0,100) !B[100,200) V2: C[100,150)\n"},
        {reels,
         {"--passes", "removeUnusedTracks,removeMarkers,default", "--sequence", "1"},
         "Reel 1-Tidied: V1: A[0,100) C[100,150)\n"},
        {reels, {"--passes", "all", "--sequence", "1"}, "Reel 1-Tidied: V1: A[0,100) C[100,150)\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.options));
        const Workplace workplace;
        std::vector<std::string> arguments{"tidy", workplace.write("in.xml", row.contents), "-o",
                                           "out.xml"};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        EXPECT_EQ(run(workplace, arguments).status, 0);
        EXPECT_EQ(sequencesOf(workplace.read("out.xml")), sequencesOf(row.contents) + row.added);
    }
    const Workplace workplace;
    const Ended ambiguous =
        run(workplace, {"tidy", workplace.write("in.xml", twins), "--sequence", "Reel 1"});
    EXPECT_EQ(ambiguous.status, 2);
    EXPECT_EQ(
        ambiguous.error,
        "reelsweep-cli: in.xml: \"Reel 1\" is the name of 2 sequences; choose by index: 1, 2\n");
}

TEST(Tidy, TakesTheUsersWordForSeeThroughEffects) {
    const std::string stacked = project({"V1: A[0,100) V2: B[0,100)+Veil"});
    const std::string hidden = "Reel 1-Tidied: V1: B[0,100)+Veil\n";
    const std::string kept = "Reel 1-Tidied: V1: A[0,100) V2: B[0,100)+Veil\n";
    const Workplace workplace(stacked);
    // A careful run does not know the effect, and takes no clip away under it.
    EXPECT_EQ(run(workplace, {"tidy", "in.xml", "-o", "a.xml", "--literal"}).status, 0);
    EXPECT_EQ(
        run(workplace, {"tidy", "in.xml", "-o", "b.xml", "--literal", "--ignored-effect", "Veil"})
            .status,
        0);
    EXPECT_EQ(sequencesOf(workplace.read("a.xml")), sequencesOf(stacked) + hidden);
    EXPECT_EQ(sequencesOf(workplace.read("b.xml")), sequencesOf(stacked) + kept);
}

TEST(Tidy, LeavesAClipAloneAndKnowsWhenThereIsNone) {
    const std::string stacked = project({"V1: A[0,100) V2: B[120,150) C[200,250)"});
    const Workplace workplace(stacked);
    const Ended kept = run(workplace, {"tidy", "in.xml", "-o", "a.xml", "--keep", "b"});
    EXPECT_EQ(kept.status, 0);
    EXPECT_EQ(sequencesOf(workplace.read("a.xml")),
              sequencesOf(stacked) + "Reel 1-Tidied: V1: A[0,100) C[200,250) V2: B[120,150)\n");
    EXPECT_EQ(kept.error, "reelsweep-cli: note: Reel 1: 1 clip was left alone as you asked\n");
    const Ended misspelt =
        run(workplace, {"tidy", "in.xml", "-o", "b.xml", "--keep", "A", "--keep", "Bee"});
    EXPECT_EQ(misspelt.status, 2);
    EXPECT_EQ(misspelt.error, "reelsweep-cli: in.xml: --keep Bee: no clip has this id or name\n");
    EXPECT_FALSE(workplace.has("b.xml"));
}

TEST(Tidy, WritesWhereItIsTold) {
    const std::string tidied = "Reel 2-Tidied: V1: D[0,50)\n";
    struct Row {
        std::vector<std::string> options;
        std::string input;    ///< standard input
        std::string output;   ///< the file to look into; empty for standard output
        std::string listing;  ///< of the folder afterwards
    };
    const std::vector<Row> rows = {
        {{"in.xml"}, "", "in-Tidied.xml", "in-Tidied.xml in.xml out"},
        {{"out/../in.xml", "-o", "x"}, "", "x", "in.xml out x"},
        {{"in.xml", "--output-dir", "out"}, "", "out/in-Tidied.xml", "in.xml out"},
        {{"in.xml", "--in-place"}, "", "in.xml", "in.xml out"},
        {{"in.xml", "-o", "-"}, "", "", "in.xml out"},
        {{"-"}, reels, "", "in.xml out"},
        {{"-", "-o", "x.xml"}, reels, "x.xml", "in.xml out x.xml"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.options));
        const Workplace workplace(reels);
        std::filesystem::create_directory(workplace / "out");
        std::vector<std::string> arguments{"tidy", "--sequence", "2"};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        const Ended ended = run(workplace, arguments, {.input = row.input});
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(workplace.listing(), row.listing);
        const bool toFile = !row.output.empty();
        EXPECT_EQ(sequencesOf(toFile ? workplace.read(row.output) : ended.output),
                  sources + tidied);
        // What is for people to read keeps out of the way of data.
        EXPECT_EQ((toFile ? ended.output : ended.error).substr(0, 8), "Sequence");
        EXPECT_EQ(toFile ? ended.error : "", "");
    }
}

TEST(Tidy, DeliversStandaloneWhereThereIsNoProject) {
    const std::string bare = withoutProject({"V1: D[0,50)"});
    const Workplace workplace;
    workplace.write("bare.xml", bare);
    workplace.write("reels.xml", reels);
    EXPECT_EQ(run(workplace, {"tidy", "bare.xml"}).status, 0);
    EXPECT_EQ(sequencesOf(workplace.read("bare-Tidied.xml")), "Reel 1-Tidied: V1: D[0,50)\n");
    EXPECT_EQ(
        run(workplace, {"tidy", "reels.xml", "--deliver", "standalone", "--sequence", "2"}).status,
        0);
    EXPECT_EQ(sequencesOf(workplace.read("reels-Tidied.xml")), "Reel 2-Tidied: V1: D[0,50)\n");

    // The host that is installed has no part in it, not even one whose version says too little.
    writeFile(workplace.home() + "/Applications/Final Cut Pro.app/Contents/Info.plist",
              "<plist version='1.0'><dict><key>CFBundleIdentifier</key>"
              "<string>com.apple.FinalCutPro</string>"
              "<key>CFBundleShortVersionString</key><string>7</string>"
              "</dict></plist>");
    EXPECT_EQ(run(workplace, {"tidy", "bare.xml", "--force"}).error, "");
    EXPECT_NE(workplace.read("bare-Tidied.xml").find("<xmeml version=\"5\">"), std::string::npos);

    const Ended refused =
        run(workplace, {"tidy", "bare.xml", "--deliver", "project", "-o", "x.xml"});
    EXPECT_EQ(refused.status, 5);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(refused.error,
              "reelsweep-cli: bare.xml: No project node found: Please perform this task on an XML "
              "document for the entire project, not a specific sequence or element.\n");
    EXPECT_FALSE(workplace.has("x.xml"));
}

TEST(Tidy, ReplacesFilesOnlyWhenTold) {
    const Workplace workplace(reels);
    workplace.write("in-Tidied.xml", "precious");
    const Ended refused = run(workplace, {"tidy", "in.xml"});
    EXPECT_EQ(refused.status, 4);
    EXPECT_EQ(refused.error,
              "reelsweep-cli: in-Tidied.xml: there is a file already; --force replaces it\n");
    EXPECT_EQ(workplace.read("in-Tidied.xml"), "precious");
    EXPECT_EQ(run(workplace, {"tidy", "in.xml", "--report", "in-Tidied.xml", "-o", "x"}).status, 4);
    EXPECT_EQ(workplace.listing(), "in-Tidied.xml in.xml");

    EXPECT_EQ(run(workplace, {"tidy", "in.xml", "--force"}).status, 0);
    EXPECT_NE(workplace.read("in-Tidied.xml"), "precious");
}

TEST(Tidy, KeepsPermissionsAndLinksInPlace) {
    const Workplace workplace(reels);
    ASSERT_EQ(::chmod((workplace / "in.xml").c_str(), 0640), 0);
    std::filesystem::create_symlink("in.xml", workplace / "link.xml");
    EXPECT_EQ(run(workplace, {"tidy", "link.xml", "--in-place"}).status, 0);
    struct stat status {};
    ASSERT_EQ(::lstat((workplace / "in.xml").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
    EXPECT_TRUE(std::filesystem::is_symlink(workplace / "link.xml"));
    EXPECT_NE(workplace.read("in.xml"), reels);
}

TEST(Tidy, DoesNotReplaceAFileThatChangedMeanwhile) {
    // The run may be over before the change; then there was nothing to notice.
    Ended ended;
    for (int attempt = 0; attempt < 20 && ended.status != 4; ++attempt) {
        const Workplace workplace(longProject());
        Program program(workplace, {"tidy", "in.xml", "--in-place"}, {.errorIsTerminal = true});
        ASSERT_TRUE(program.waitForText("Initializing..."));
        workplace.write("new.xml", reels);
        std::filesystem::rename(workplace / "new.xml", workplace / "in.xml");
        ended = program.wait();
        if (ended.status != 4) continue;
        EXPECT_NE(ended.error.find("in.xml: was changed by another program"), std::string::npos);
        EXPECT_EQ(workplace.read("in.xml"), reels);
        EXPECT_EQ(workplace.listing(), "in.xml");
    }
    EXPECT_EQ(ended.status, 4);
}

TEST(Tidy, GoesOnWithTheNextFileAfterAFailure) {
    const Workplace workplace;
    workplace.write("a.xml", reels);
    workplace.write("b.xml", "<xmeml>");
    workplace.write("c.xml", withoutProject({"V1: D[0,50)"}));
    const Ended ended = run(workplace, {"tidy", "a.xml", "b.xml", "c.xml", "missing.xml",
                                        "--deliver", "project", "--report", "r.json"});
    EXPECT_EQ(ended.status, 3);
    EXPECT_EQ(workplace.listing(), "a-Tidied.xml a.xml b.xml c.xml r.json");
    EXPECT_EQ(ended.output.substr(0, 7), "a.xml:\n");
    const Json documents = Json::parse(workplace.read("r.json"))["documents"];
    ASSERT_EQ(documents.size(), 4U);
    EXPECT_EQ(documents[0]["output"], "a-Tidied.xml");
    EXPECT_EQ(documents[0]["errors"], Json::array());
    EXPECT_EQ(documents[1]["errors"], Json::array({"b.xml:1:8: no element found"}));
    EXPECT_EQ(documents[2]["delivery"], "project");
    EXPECT_EQ(documents[2]["output"], nullptr);
    // Its tidied sequence found no place to go, so nothing was changed anywhere.
    EXPECT_EQ(documents[2]["sequences"].size(), 0U);
    EXPECT_EQ(documents[3]["format"], nullptr);
}

TEST(Tidy, ReportsEveryChange) {
    const Workplace workplace(
        project({"V1: A[0,100)@5:105+Blur !B[100,200) V2: C[20,40) A1: S[0,9)*0"}));
    const Ended ended =
        run(workplace, {"tidy", "in.xml", "--passes", "all", "--dry-run", "--report", "-"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(workplace.listing(), "in.xml");
    EXPECT_NE(ended.error.find("Dry run: nothing was written"), std::string::npos);

    const Json report = Json::parse(ended.output);
    EXPECT_EQ(report["format"], "reelsweep-report");
    EXPECT_TRUE(report["dryRun"]);
    const Json& document = report["documents"].at(0);
    std::vector<std::string> passes;
    for (const PassRow& pass : passTable()) passes.emplace_back(pass.option);
    EXPECT_EQ(document["passes"], Json(passes));
    EXPECT_EQ(document["output"], nullptr);

    const Json& sequence = document["sequences"].at(0);
    EXPECT_EQ(sequence["title"], "Reel 1");
    EXPECT_EQ(sequence["uuid"], "U1");
    EXPECT_TRUE(sequence["balances"]);
    const Json& items = sequence["items"];
    EXPECT_EQ(items["before"].get<int>() + items["inserted"].get<int>() + items["split"].get<int>(),
              items["after"].get<int>() + items["removed"].get<int>());
    const auto place = [](const char* track, int start, int end, int in, int out) {
        return Json{{"track", track},
                    {"start", start},
                    {"end", end},
                    {"in", in},
                    {"out", out},
                    {"startTimecode", nullptr},
                    {"endTimecode", nullptr}};
    };
    const auto change = [&](const char* kind, const char* name) {
        for (const Json& c : sequence["changes"])
            if (c["kind"] == kind && c["name"] == name) return c;
        return Json();
    };
    Json removed = Json::parse(R"({"pass": "removeDisabledVideoClips", "kind": "removed",
        "element": "clipitem", "name": "B", "id": "B", "item": true, "holder": null,
        "after": null, "reason": "disabled"})");
    removed["before"] = place("V1", 100, 200, 0, 100);
    EXPECT_EQ(change("removed", "B"), removed);
    EXPECT_EQ(change("moved", "C")["before"], place("V2", 20, 40, 0, 20));
    EXPECT_EQ(change("moved", "C")["after"], place("V1", 20, 40, 0, 20));
    EXPECT_EQ(change("split", "A")["after"], place("V1", 0, 20, 5, 105));
    EXPECT_EQ(change("removed", "S")["reason"], "level 0");
    EXPECT_EQ(change("removed", "Blur")["holder"]["name"], "A");
    EXPECT_EQ(change("removed", "Blur")["before"]["track"], "V1");
}

TEST(Tidy, IsQuietWhenTold) {
    const Workplace workplace(reels);
    const Ended ended = run(workplace, {"tidy", "in.xml", "--quiet", "--report", "r.json",
                                        "--passes", "collapseUncompositedClips"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.output + ended.error, "");
    const Ended talking =
        run(workplace, {"tidy", "in.xml", "--dry-run", "--passes", "collapseUncompositedClips"});
    EXPECT_EQ(
        talking.error,
        "reelsweep-cli: note: collapseUncompositedClips does nothing without collapseTracks\n");
}

TEST(Tidy, RunsBesideItselfWithoutQuarrelAboutTheLog) {
    const Workplace workplace(reels);
    std::vector<std::unique_ptr<Program>> programs;
    for (int i = 0; i < 12; ++i)
        programs.push_back(std::make_unique<Program>(
            workplace, std::vector<std::string>{"tidy", "in.xml", "-o",
                                                "out" + std::to_string(i) + ".xml", "--quiet"}));
    for (const auto& program : programs) {
        const Ended ended = program->wait();
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.output + ended.error, "");
    }
    for (int i = 0; i < 12; ++i)
        EXPECT_TRUE(XMLDocument::load(workplace / ("out" + std::to_string(i) + ".xml")));
}

TEST(Tidy, LogsUnderItsOwnName) {
    if (::geteuid() == 0) GTEST_SKIP() << "root logs into the system's folder";
    const Workplace workplace(reels);
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(run(workplace, {"tidy", "in.xml", "--force", "--quiet"}).status, 0);
    const std::string folder = workplace.home() + "/Library/Logs/Quorvane";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        EXPECT_TRUE(name.starts_with("reelsweep-cli.") && name < "reelsweep-cli.6") << name;
    }
    EXPECT_NE(contentsOf(folder + "/reelsweep-cli.1.log").find(" - Loading XML file\n"),
              std::string::npos);
}

}  // namespace
}  // namespace reelsweep::test
