// Whatever is wrong, the program says so once, with the place, and leaves nothing behind.
#include "tests/cli/Program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include <unistd.h>

namespace reelsweep::test {
namespace {

std::string nested(int depth) {
    std::string open;
    std::string close;
    for (int i = 0; i < depth; ++i) {
        open += "<a>";
        close += "</a>";
    }
    return "<xmeml>" + open + close + "</xmeml>";
}

std::string billionLaughs() {
    std::string text = "<!DOCTYPE xmeml [\n<!ENTITY l0 \"ha\">\n";
    for (int i = 1; i < 10; ++i) {
        const std::string before = "&l" + std::to_string(i - 1) + ";";
        text += "<!ENTITY l" + std::to_string(i) + " \"";
        for (int copy = 0; copy < 10; ++copy) text += before;
        text += "\">\n";
    }
    return text + "]><xmeml>&l9;</xmeml>";
}

/// "reelsweep-cli: TEXT", one line.
void expectOneError(const Ended& ended, const std::string& text) {
    const std::string prefix = "reelsweep-cli: ";
    EXPECT_EQ(ended.error.substr(0, prefix.size() + text.size()), prefix + text);
    EXPECT_EQ(std::count(ended.error.begin(), ended.error.end(), '\n'), 1) << ended.error;
}

TEST(BadInput, IsRefusedWithFileAndLine) {
    const std::string good = withoutProject({"V1: A[0,10)"});
    struct Row {
        const char* name;
        std::string contents;
        const char* error;  ///< after the file's name
    };
    const std::vector<Row> rows = {
        {"empty.xml", "", ":1: the file is empty"},
        {"truncated.xml", "<?xml version=\"1.0\"?>\n<xmeml>\n<sequence>\n", ":4:1: "},
        {"text.xml", "just some text", ":1:1: "},
        {"tworoots.xml", good + "\n" + good, ":2:1: "},
        {"undeclared.xml", "<xmeml>\n\n&nope;</xmeml>", ":3:1: "},
        {"declared.xml", "<!DOCTYPE xmeml [\n<!ENTITY e \"x\">]><xmeml>&e;</xmeml>", ":2:"},
        {"laughs.xml", billionLaughs(), ":2:"},
        {"external.xml",
         "<!DOCTYPE xmeml [\n<!ENTITY e SYSTEM \"file:///etc/passwd\">]><xmeml>&e;</xmeml>", ":2:"},
        {"utf8.xml", "<xmeml>\n<name>\xff\xfe</name></xmeml>", ":2:7: "},
        {"control.xml", "<xmeml>\n<name>\x01</name></xmeml>", ":2:7: "},
        {"nul.xml", std::string("<xmeml>\n<name>\0</name></xmeml>", 30), ":2:7: "},
        {"nested.xml", nested(100000), ":1:"},
        {"mismatch.xml", "<xmeml>\n<a>\n</b></xmeml>", ":3:"},
        {"page.html", "<html><body/></html>",
         ": neither XMEML nor FCPXML: its root element is \"html\""},
        {"nosequence.xml", "<xmeml><project/></xmeml>", ": holds no sequence"},
        {"broken.fcpxml", "<fcpxml>\n<library></fcpxml>", ":2:"},
        {"event.fcpxml", "<fcpxml><event name=\"Day 1\"/></fcpxml>",
         ": Invalid FCPX project: Please make sure you are importing the XML from an FCPX "
         "project, not an event."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Workplace workplace;
        workplace.write(row.name, row.contents);
        const Ended ended = run(workplace, {"tidy", row.name, "--passes", "removeMarkers"});
        EXPECT_EQ(ended.status, 3);
        EXPECT_EQ(ended.output, "");
        expectOneError(ended, std::string(row.name) + row.error);
        EXPECT_EQ(workplace.listing(), row.name);

        // Through a pipe the file has no name.
        const Ended piped =
            run(workplace, {"tidy", "-", "--passes", "all"}, {.input = row.contents});
        if (std::string_view(row.name) != "project.fcp") {
            EXPECT_EQ(piped.status, 3);
            EXPECT_EQ(piped.output, "");
            expectOneError(piped, std::string("standard input") + row.error);
        }
    }
}

TEST(BadInput, IsNoFileAtAll) {
    const Workplace workplace;
    std::filesystem::create_directory(workplace / "folder");
    expectOneError(run(workplace, {"tidy", "missing.xml"}), "missing.xml: No such file");
    const Ended folder = run(workplace, {"tidy", "folder"});
    EXPECT_EQ(folder.status, 3);
    expectOneError(folder, "folder: holds no file to tidy; --recursive looks deeper");
}

TEST(BadInput, MayNotBeReadable) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may read every file";
    const Workplace workplace;
    const std::string secret = workplace.write("secret.xml", withoutProject({"V1: A[0,10)"}));
    std::filesystem::permissions(workplace / secret, std::filesystem::perms::none);
    const Ended unreadable = run(workplace, {"tidy", secret});
    EXPECT_EQ(unreadable.status, 3);
    expectOneError(unreadable, "secret.xml: Permission denied");
}

TEST(BadOutput, LeavesNothingBehind) {
    const std::string timeline = "V1: A[0,10) B[20,30) C[30,40)";
    struct Row {
        const char* what;
        std::vector<std::string> options;
        Surroundings surroundings;
        const char* error;
    };
    const std::vector<Row> rows = {
        {"no such folder",
         {"-o", "nowhere/out.xml"},
         {},
         "nowhere/out.xml: the folder to write it to does not exist"},
        {"a folder", {"-o", "folder", "--force"}, {}, "folder: is a folder, not a file"},
        {"full disk",
         {"-o", "out.xml"},
         {.fileSizeLimit = 100},
         "out.xml: could not be written: File too large"},
        {"full standard output",
         {"-o", "-", "--quiet"},
         {.outputPath = "/dev/full"},
         "standard output: could not be written: No space left"},
        {"full disk for the table",
         {"-o", "folder/out.xml", "--force"},
         {.outputPath = "/dev/full"},
         "standard output: could not be written: No space left"},
        {"report in no folder",
         {"--report", "nowhere/r.json"},
         {},
         "nowhere/r.json: the folder to write it to does not exist"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Workplace workplace;
        std::filesystem::create_directory(workplace / "folder");
        std::vector<std::string> arguments{"tidy", workplace.write("in.xml", project({timeline}))};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        const Ended ended = run(workplace, arguments, row.surroundings);
        EXPECT_EQ(ended.status, 4);
        EXPECT_EQ(ended.output, "");
        expectOneError(ended, row.error);
        EXPECT_EQ(workplace.listing(), "folder in.xml");
    }
}

TEST(WrongUsage, IsAnsweredBeforeAnyFileIsRead) {
    struct Row {
        std::vector<std::string> arguments;
        const char* error;
    };
    const std::vector<Row> rows = {
        {{"tdy"}, "unknown command \"tdy\"; did you mean \"tidy\"?"},
        {{"tidy"}, "FILE is required"},
        {{"tidy", "x.xml", "--pases", "all"},
         "--pases: unexpected argument; did you mean \"--passes\"?"},
        {{"tidy", "x.xml", "--deliver", "nowhere"},
         "--deliver: there are auto, project, standalone, not \"nowhere\""},
        {{"tidy", "x.xml", "--jobs", "0"}, "--jobs: must be a number from 1 to 256, not \"0\""},
        {{"tidy", "x.xml", "--report"}, "--report: FILE missing"},
        {{"tidy", "x.xml", "--passes", "removFilters"},
         "unknown pass \"removFilters\"; did you mean \"removeFilters\"?"},
        {{"tidy", "x.xml", "--passes", "COLLAPSE"},
         "unknown pass \"COLLAPSE\"; did you mean \"collapseTracks\", "
         "\"collapseUncompositedClips\" or \"collapseMultiClips\"?"},
        {{"tidy", "x.xml", "--passes", "everything"},
         "unknown pass \"everything\"; \"reelsweep-cli passes\" lists them"},
        {{"tidy", "x.xml", "--passes", ""}, "--passes names no pass"},
        {{"tidy", "x.xml", "--output-dir", ""}, "--output-dir: must not be empty"},
        {{"tidy", "x.xml", "-o", "a", "--in-place"},
         "-o, --output-dir and --in-place exclude each other"},
        {{"tidy", "x.xml", "y.xml", "-o", "a"},
         "-o takes the result of one file; use --output-dir for several"},
        {{"tidy", "x.xml", "--in-place", "--deliver", "standalone"},
         "--in-place with --deliver standalone would throw the rest of the file away"},
        {{"tidy", "-", "--in-place"}, "--in-place needs a file, not standard input"},
        {{"tidy", "-", "--output-dir", "."}, "standard input has no name to write under; use -o"},
        {{"tidy", "-", "--report", "-"},
         "standard output: standard input and the report would both be written there"},
        {{"tidy", "a/x.xml", "b/x.xml", "--output-dir", "."},
         "./x-Tidied.xml: a/x.xml and b/x.xml would both be written there"},
        {{"tidy", "here.xml", "-o", "./here.xml"},
         "./here.xml: is an input too; to replace it, use --in-place"},
        {{"tidy", "here.xml", "--report", "link.xml"},
         "link.xml: is an input; the report would replace it"},
    };
    const Workplace workplace;
    // Not even a file that could be refused is looked into.
    workplace.write("here.xml", "not XML");
    std::filesystem::create_symlink("here.xml", workplace / "link.xml");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.error);
        const Ended ended = run(workplace, row.arguments);
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.output, "");
        EXPECT_EQ(ended.error.substr(0, ended.error.find('\n')),
                  std::string("reelsweep-cli: ") + row.error);
    }
    EXPECT_EQ(workplace.listing(), "here.xml link.xml");
}

TEST(WrongUsage, DependsOnWhatTheFileHolds) {
    const std::string library =
        "<fcpxml><library><event><project name=\"P\"/></event></library></fcpxml>";
    struct Row {
        std::string contents;
        std::vector<std::string> options;
        const char* error;
    };
    const std::string reels = project({"V1: A[0,10)", "V1: B[0,10)"});
    const std::vector<Row> rows = {
        {reels,
         {"--sequence", "Rel 2"},
         "in: no sequence \"Rel 2\"; did you mean \"Reel 2\" or \"Reel 1\"?"},
        {reels, {"--sequence", "3"}, "in: no sequence 3; the file holds 2"},
        {project({"V1: A[0,10)"}),
         {"--sequence", "quay"},
         "in: no sequence \"quay\"; \"reelsweep-cli list FILE\" lists the sequences"},
        {withoutProject({"V1: A[0,10)"}), {"--in-place"}, "in: holds no project to deliver into"},
        {library,
         {},
         "in: only removeFilters, removeMarkers and the fcpx passes apply to FCPXML, not "
         "removeDisabledVideoClips; "
         "use --passes fcpx or --passes removeFilters,removeMarkers"},
        {library,
         {"--passes", "removeFilters,replaceGaps"},
         "in: only removeFilters, removeMarkers and the fcpx passes apply to FCPXML, not "
         "replaceGaps"},
        {library,
         {"--passes", "all", "--sequence", "1"},
         "in: --sequence does not apply to FCPXML"},
        {library,
         {"--passes", "all", "--deliver", "project"},
         "in: --deliver does not apply to FCPXML"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.error);
        const Workplace workplace;
        std::vector<std::string> arguments{"tidy", workplace.write("in", row.contents)};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        const Ended ended = run(workplace, arguments);
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.output, "");
        expectOneError(ended, row.error);
        EXPECT_EQ(workplace.listing(), "in");
        EXPECT_EQ(workplace.read("in"), row.contents);
    }
}

}  // namespace
}  // namespace reelsweep::test
