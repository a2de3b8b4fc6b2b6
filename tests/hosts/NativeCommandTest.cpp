// The command line on native projects: the real program and a real host on a real bus.
#include "tests/cli/Program.h"
#include "tests/hosts/BusTest.h"
#include "tests/timeline/Timeline.h"

#include <csignal>
#include <nlohmann/json.hpp>

namespace reelsweep::test {
namespace {

using Json = nlohmann::json;

const std::string reels = project({"V1: A[0,100)'M !B[100,200) V2: C[100,150)", "V1: D[0,50)"});

class NativeCommand : public BusTest {
protected:
    NativeCommand() {
        // What the program in its home of its own waits for an answer.
        writePropertyList(workplace.home() + "/Library/Preferences/com.quorvane.Reelsweep.plist",
                          PropertyList::Dictionary{{"appleEventTimeout", 2}});
    }
    /// The names of a project's sequences, after Final Cut Pro saved it.
    std::string savedSequences(const std::string& path) const {
        EXPECT_TRUE(QVAppleEvents::saveProject(path));
        return sequencesOf(contentsOf(path));
    }

    Workplace workplace;
};

const std::string sources =
    "Reel 1: V1: A[0,100)'M !B[100,200) V2: C[100,150)\nReel 2: V1: D[0,50)\n";

TEST_F(NativeCommand, ListsWhatIsOpenAndWhatIsInIt) {
    const std::string a = openProject("a.fcp", reels);
    const std::string b = openProject("b.fcp", reels);
    const Ended projects = run(workplace, {"projects"});
    EXPECT_EQ(projects.output, "#  Project\n1  " + a + "\n2  " + b + "\n");
    EXPECT_EQ(projects.status, 0);
    EXPECT_EQ(Json::parse(run(workplace, {"projects", "--json"}).output), Json({a, b}));

    const Ended list = run(workplace, {"list", b});
    EXPECT_EQ(list.status, 0) << list.error;
    EXPECT_EQ(list.output,
              "#  Title   Frames  UUID\n"
              "1  Reel 1       0  U1\n"
              "2  Reel 2       0  U2\n");
    EXPECT_EQ(Json::parse(run(workplace, {"list", "--json", b}).output)[0]["items"], nullptr);
}

TEST_F(NativeCommand, TidiesIntoTheHostAndReportsIt) {
    const std::string path = openProject("film.fcp", reels);
    const std::string table =
        "Sequence  Pass                      Removed  Moved\n"
        "Reel 1    removeDisabledVideoClips        1      -\n"
        "          collapseTracks                  -      1\n"
        "          removeUnusedTracks              1      -\n"
        "Total                                     2      1\n"
        "200 of 200 frames show the same picture\n";
    const Ended dry = run(workplace, {"tidy", path, "--sequence", "Reel 1", "--dry-run"});
    EXPECT_EQ(dry.output, table + "Dry run: nothing was written\n");
    EXPECT_EQ(savedSequences(path), sources);

    const Ended tidied =
        run(workplace, {"tidy", path, "--sequence", "Reel 1", "--report", "report.json"});
    EXPECT_EQ(tidied.status, 0);
    EXPECT_EQ(tidied.error, "");
    EXPECT_EQ(tidied.output, table + "Sent to Final Cut Pro\nWrote report.json\n");
    EXPECT_EQ(savedSequences(path), sources + "Reel 1-Tidied: V1: A[0,100)'M C[100,150)\n");
    EXPECT_EQ(openedItems(), "film.fcp: Reel 1-Tidied\n");
    const Json document = Json::parse(workplace.read("report.json"))["documents"][0];
    EXPECT_EQ(document["format"], "fcp");
    EXPECT_EQ(document["delivery"], "host");
    EXPECT_EQ(document["output"], nullptr);
    EXPECT_EQ(document["sequences"].size(), 1U);
}

TEST_F(NativeCommand, LaunchesOnlyWhenTold) {
    const std::string path = project("film.fcp");
    writeFile(path, reels);
    const std::string advice =
        "Final Cut Pro is not running; the sequences of a native project are asked of it, and "
        "--launch may start it\n";
    for (const char* const command : {"list", "tidy"}) {
        const Ended refused = run(workplace, {command, path});
        EXPECT_EQ(refused.status, 3);
        EXPECT_EQ(refused.error, "reelsweep-cli: " + path + ": " + advice);
    }
    EXPECT_EQ(run(workplace, {"projects"}).status, 3);
    EXPECT_FALSE(QVAppleEvents::isFCPRunning());

    const Ended launched = run(workplace, {"tidy", path, "--launch"});
    EXPECT_EQ(launched.status, 0) << launched.error;
    EXPECT_EQ(openedItems(), "film.fcp: Reel 1-Tidied\nfilm.fcp: Reel 2-Tidied\n");

    writeFile(project("other.fcp"), reels);
    const Ended closed = run(workplace, {"list", project("other.fcp")});
    EXPECT_EQ(closed.status, 3);
    EXPECT_NE(closed.error.find("is not open in Final Cut Pro; --launch may open it there"),
              std::string::npos);
    // Whatever way the file is named.
    std::filesystem::create_directory_symlink(folder.path(), project("link"));
    for (const std::string name :
         {"other.fcp", "./other.fcp", "link/other.fcp", "link/./other.fcp"})
        EXPECT_EQ(run(workplace, {"list", project(name), "--launch"}).status, 0) << name;
    setFaults("fcLP empty");
    EXPECT_EQ(run(workplace, {"projects"}).error,
              "reelsweep-cli: Final Cut Pro did not list its projects\n");

    bus.stop();
    EXPECT_EQ(run(workplace, {"projects"}).error,
              "reelsweep-cli: there is no session bus over which Final Cut Pro could be "
              "asked\n");
    workplace.write("film.xml", reels);
    const Ended file = run(workplace, {"tidy", "film.xml"});
    EXPECT_EQ(file.status, 0);
    EXPECT_EQ(file.error, "");
}

TEST_F(NativeCommand, TellsWhatFailedByItsExitCode) {
    struct Row {
        const char* faults;
        int status;
        std::string said;  ///< part of standard error
        bool delivered;
    };
    const Row rows[] = {
        {"fcLP refuse", 3, "Final Cut Pro did not list its projects", false},
        {"fcLP mistyped", 3, "Final Cut Pro did not list its projects", false},
        {"eTCX refuse", 3, "Final Cut Pro did not list the sequences", false},
        {"eTCX blank", 3, "Final Cut Pro did not list the sequences", false},
        {"eTCX die", 3, "it went away without an answer", false},
        {"gXML refuse", 5, "could not get XML data for the sequence \"Reel 2\"", true},
        {"gXML drop", 5, "no answer within 2 seconds", true},
        {"gXML hollow", 5, "Unable to load sequence data", true},
        {"iXML refuse", 5, "Processing failed: Could not send data to Final Cut Pro.", false},
        {"iXML die", 5, "Processing failed: Could not send data to Final Cut Pro.", false},
        {"fcOI refuse", 0, "Apple event fcOI: it refused", true},
        {"gXML nul", 0, "", true},
        {"* slow 0.2", 0, "", true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.faults);
        setFaults("");
        const std::string path = openProject("film.fcp", reels);
        setFaults(row.faults);
        const Ended ended = run(workplace, {"tidy", path, "--sequence", "2"});
        EXPECT_EQ(ended.status, row.status) << ended.error;
        EXPECT_NE(ended.error.find(row.said), std::string::npos) << ended.error;
        EXPECT_EQ(ended.error.empty(), row.said.empty()) << ended.error;
        EXPECT_EQ(ended.output.find("Sent to Final Cut Pro") != std::string::npos, row.delivered);
        EXPECT_EQ(contentsOf(path), reels);
    }
}

TEST_F(NativeCommand, EndsAtOnceWhenItIsInterruptedWhileTheHostIsSilent) {
    const std::string path = openProject("film.fcp", reels);
    const std::pair<const char*, const char*> rows[] = {{"gXML drop", "Fetching XML"},
                                                        {"iXML drop", "Sending to"}};
    for (const auto& [silent, label] : rows) {
        SCOPED_TRACE(silent);
        setFaults(silent);
        Program program(workplace, {"tidy", path}, {.errorIsTerminal = true});
        ASSERT_TRUE(program.waitForText(label));
        program.send(SIGINT);
        const Ended ended = program.wait();
        EXPECT_EQ(ended.status, 130);
        // The host may have taken what it did not answer.
        EXPECT_TRUE(ended.error.ends_with("film.fcp: interrupted\r\n") ||
                    ended.error.ends_with("film.fcp: interrupted\n"))
            << ended.error;
    }
}

TEST_F(NativeCommand, RefusesOptionsThatWouldWriteAFile) {
    const std::string path = openProject("film.fcp", reels);
    const std::vector<std::vector<std::string>> rows = {
        {"-o", "out.xml"}, {"--output-dir", "."}, {"--in-place"}, {"--deliver", "standalone"}};
    for (const auto& options : rows) {
        std::vector<std::string> arguments{"tidy", path};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Ended ended = run(workplace, arguments);
        EXPECT_EQ(ended.status, 2);
        EXPECT_NE(ended.error.find("whose result goes to Final Cut Pro"), std::string::npos);
    }
    EXPECT_EQ(workplace.listing(), "");
}

TEST_F(NativeCommand, SharesOneHostWithAnother) {
    const std::string a = openProject("a.fcp", reels);
    const std::string b = openProject("b.fcp", reels);
    setFaults("gXML slow 0.2");  // so that both are at it at once
    Program first(workplace, {"tidy", a});
    Program second(workplace, {"tidy", b, "--sequence", "2"});
    EXPECT_EQ(first.wait().status, 0);
    EXPECT_EQ(second.wait().status, 0);
    EXPECT_EQ(savedSequences(a), sources +
                                     "Reel 1-Tidied: V1: A[0,100)'M C[100,150)\n"
                                     "Reel 2-Tidied: V1: D[0,50)\n");
    EXPECT_EQ(savedSequences(b), sources + "Reel 2-Tidied: V1: D[0,50)\n");
}

}  // namespace
}  // namespace reelsweep::test
