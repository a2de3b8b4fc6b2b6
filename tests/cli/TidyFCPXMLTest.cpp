// What `tidy` does with FCPXML: files with and without projects, and bundles.
#include "tests/cli/Program.h"

#include "tests/timeline/Timeline.h"
#include "xml/XMLDocument.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace reelsweep::test {
namespace {

using Json = nlohmann::json;

TEST(TidyFCPXML, IsDoneAsAWhole) {
    const std::string library =
        "<fcpxml version=\"1.9\"><resources><effect id=\"r1\" "
        "ref=\"r1\"/></resources><library><event>"
        "<project name=\"P\"><sequence><spine><clip><filter ref=\"r1\"/><marker "
        "value=\"m\"/></clip>"
        "</spine></sequence></project></event></library></fcpxml>";
    const Workplace workplace;
    workplace.write("in.fcpxml", library);
    const Ended ended =
        run(workplace, {"tidy", "in.fcpxml", "--passes", "all,fcpx", "--report", "r.json"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    const Result<XMLDocument> tidied = XMLDocument::load(workplace / "in-Tidied.fcpxml");
    ASSERT_TRUE(tidied);
    EXPECT_EQ(serialise(tidied->rootElement()),
              "<fcpxml version=\"1.9\"><resources/><library><event><project name=\"P\"><sequence>"
              "<spine><clip/></spine></sequence></project></event></library></fcpxml>");
    const Json document = Json::parse(workplace.read("r.json"))["documents"].at(0);
    EXPECT_EQ(document["format"], "fcpxml");
    EXPECT_EQ(document["sequences"].at(0)["changes"].size(), 3U);
}

TEST(TidyFCPXML, AsksForWhatIsForFCPXMLAloneByName) {
    const Workplace workplace;
    workplace.write("in.fcpxml",
                    "<fcpxml version=\"1.9\"><library><event><project name=\"P\"><sequence><spine>"
                    "<clip><chapter-marker value=\"c\"/></clip></spine></sequence></project>"
                    "</event></library></fcpxml>");
    for (const auto& [passes, stays] : {std::pair("all", true), std::pair("all,fcpx", false)}) {
        const Ended ended = run(
            workplace, {"tidy", "in.fcpxml", "--passes", passes, "-o", "out.fcpxml", "--force"});
        EXPECT_EQ(ended.status, 0) << ended.error;
        const std::string tidied = workplace.read("out.fcpxml");
        EXPECT_EQ(tidied.find("<chapter-marker") != std::string::npos, stays) << passes;
    }
}

TEST(TidyFCPXML, TakesFilesWithoutAProjectAndBundles) {
    const std::string clips =
        "<fcpxml version=\"1.11\"><resources/><event name=\"Day 1\"><clip name=\"A\" "
        "duration=\"1s\"><marker start=\"0s\" value=\"m\"/><rating value=\"r\"/></clip></event>"
        "</fcpxml>";
    struct Row {
        std::vector<std::string> arguments;
        int status;
        std::string file;  ///< to look into
        bool hasMarker;
        bool hasRating;
    };
    const std::vector<Row> rows = {
        {{"in.fcpxml", "--passes", "fcpxRemoveMarkers"}, 0, "in-Tidied.fcpxml", false, true},
        {{"in.fcpxml", "--passes", "fcpxRemoveMarkers", "--marker-kinds", "all", "-o", "b.fcpxmld"},
         0,
         "b.fcpxmld/Info.fcpxml",
         false,
         false},
        {{"in.fcpxml", "--passes", "removeMarkers"}, 3, "in.fcpxml", true, true},
        {{"in.fcpxml", "--passes", "fcpxRemoveMarkers", "--marker-kinds", "chapters"},
         2,
         "in.fcpxml",
         true,
         true},
        {{"old.fcpxmld/", "--passes", "fcpxRemoveMarkers"},
         0,
         "old-Tidied.fcpxmld/Info.fcpxml",
         false,
         true},
        {{"old.fcpxmld", "--passes", "fcpxRemoveMarkers", "--in-place"},
         0,
         "old.fcpxmld/Info.fcpxml",
         false,
         true},
        {{"old.fcpxmld", "--passes", "fcpxRemoveMarkers", "-o", "taken.fcpxmld"},
         4,
         "old.fcpxmld/Info.fcpxml",
         true,
         true},
        {{"old.fcpxmld", "--passes", "fcpxRemoveMarkers", "-o", "taken.fcpxmld", "--force"},
         0,
         "taken.fcpxmld/Info.fcpxml",
         false,
         true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        const Workplace workplace;
        workplace.write("in.fcpxml", clips);
        std::filesystem::create_directories(workplace / "old.fcpxmld/Media");
        std::filesystem::create_directory(workplace / "taken.fcpxmld");
        workplace.write("old.fcpxmld/Info.fcpxml", clips);
        workplace.write("old.fcpxmld/Media/tracking.bin", "data");
        std::vector<std::string> arguments{"tidy"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        const Ended ended = run(workplace, arguments);
        EXPECT_EQ(ended.status, row.status) << ended.error;
        const std::string result = workplace.read(row.file);
        EXPECT_EQ(result.find("<marker") != std::string::npos, row.hasMarker) << result;
        EXPECT_EQ(result.find("<rating") != std::string::npos, row.hasRating) << result;
        // What else was in a bundle is in its result too.
        const std::string bundle = row.file.substr(0, row.file.find('/'));
        if (row.status == 0 && row.arguments[0] != "in.fcpxml") {
            EXPECT_EQ(workplace.read(bundle + "/Media/tracking.bin"), "data");
        }
        EXPECT_EQ(workplace.read("in.fcpxml"), clips);
        // No folder of a save is left behind.
        EXPECT_EQ(workplace.listing().find("fcpxmld."), std::string::npos) << workplace.listing();
    }
}

}  // namespace
}  // namespace reelsweep::test
