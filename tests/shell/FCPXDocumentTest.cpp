// The document of an FCPXML file.
#include "shell/QVFCPXDoc.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/timeline/Alerts.h"
#include "tests/timeline/LogCapture.h"
#include "tests/timeline/RecordingView.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

using Strings = std::vector<std::string>;

const std::string sequence =
    "<sequence><spine><clip><filter ref=\"r1\"/><marker/></clip><filter "
    "ref=\"r9\"/><filter/></spine>"
    "<marker/></sequence><sequence><marker/><filter/></sequence>";
const std::string resources =
    "<resources><effect ref=\"r1\"/><effect id=\"r9\" ref=\"r2\"/></resources>";

std::string libraryForm(const std::string& content, const std::string& effects = resources) {
    return "<fcpxml version=\"1.3\">" + effects + "<library><event><project name=\"P\">" + content +
           "</project></event></library></fcpxml>";
}

std::string projectForm(const std::string& content) {
    return "<fcpxml version=\"1.3\"><project>" + resources + content + "</project></fcpxml>";
}

class FCPXDocumentTest : public testing::Test {
protected:
    void open(const std::string& xml) {
        shownAlerts().clear();
        writeFile(path_, xml);
        const Outcome opened = document_.readFromURL(path_);
        ASSERT_TRUE(opened) << opened.failure().description();
    }
    std::string result() const { return document_.xmlDoc()->serialise(XMLFormat::compact); }

    TemporaryFolder folder_;
    std::string path_ = folder_ / "in.fcpxml";
    RecordingView view_;
    QVFCPXDoc document_{view_};
};

TEST_F(FCPXDocumentTest, RemovesFiltersAndMarkersOfTheFirstSequence) {
    // A resource goes with a filter that refers to it by the resource's own ref.
    const std::string leftResources = "<resources><effect id=\"r9\" ref=\"r2\"/></resources>";
    const std::string second = "<sequence><marker/><filter/></sequence>";
    const std::string noFilters =
        "<sequence><spine><clip><marker/></clip></spine><marker/></sequence>" + second;
    const std::string noMarkers =
        "<sequence><spine><clip><filter ref=\"r1\"/></clip><filter ref=\"r9\"/><filter/></spine>"
        "</sequence>" +
        second;
    const std::string neither = "<sequence><spine><clip/></spine></sequence>" + second;
    struct Row {
        OptionList options;
        std::string before;
        std::string after;
    };
    const Row rows[] = {
        {{}, libraryForm(sequence), libraryForm(sequence)},
        {{"removeFilters"}, libraryForm(sequence), libraryForm(noFilters, leftResources)},
        {{"removeMarkers"}, libraryForm(sequence), libraryForm(noMarkers)},
        {{"removeMarkers", "removeFilters", "collapseTracks"},
         libraryForm(sequence),
         libraryForm(neither, leftResources)},
        // Only files of the library form have their filters searched, as it has always been.
        {{"removeFilters", "removeMarkers"}, projectForm(sequence), projectForm(noMarkers)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before);
        open(row.before);
        document_.startProcessing(row.options);
        EXPECT_EQ(result(), row.after);
        EXPECT_EQ(shownAlerts(), Strings{"Processing complete: Please save the XML file."});
        EXPECT_EQ(contentsOf(path_), row.before);
    }
}

TEST_F(FCPXDocumentTest, SaysWhichOfSeveralProjectsItTidies) {
    const std::string project = "<project name=\"%\"><sequence><marker/></sequence></project>";
    const auto named = [&](const std::string& name) {
        return std::string(project).replace(project.find('%'), 1, name);
    };
    const std::pair<std::string, std::string> rows[] = {
        {named("B"), "another one in the file stays as it is."},
        {named("B") + "</event><event>" + named("C"), "2 others in the file stay as they are."}};
    for (const auto& [others, said] : rows) {
        SCOPED_TRACE(others);
        const std::string before = "<fcpxml><library><event>" + named("A") + others;
        open(before + "</event></library></fcpxml>");
        document_.startProcessing({"removeMarkers"});
        EXPECT_EQ(shownAlerts(), Strings{"Processing complete: Please save the XML file. Only the "
                                         "project \"A\" is tidied; " +
                                         said});
        EXPECT_EQ(result(), "<fcpxml><library><event><project name=\"A\"><sequence/></project>" +
                                others + "</event></library></fcpxml>");
    }
}

TEST_F(FCPXDocumentTest, ReportsARunToItsWindowAndLedger) {
    open(libraryForm(sequence));
    // A window shows what was done when the progress ends.
    view_.onEnd = [&] { EXPECT_TRUE(document_.runResult().delivered); };
    document_.startProcessing({"removeFilters"});
    EXPECT_EQ(view_.events, (Strings{"start", "Initializing...", "Removing filters...", "end",
                                     "changed", "end"}));
    const SequenceLedger& ledger = document_.changeLedger().sequences.front();
    EXPECT_EQ(ledger.title, "P");
    EXPECT_EQ(ledger.totals("removeFilters")[static_cast<std::size_t>(ChangeKind::removed)], 4u);
    // Every run starts again from the file.
    document_.process({"removeMarkers"});
    document_.waitUntilProcessed();
    EXPECT_NE(result().find("<filter"), std::string::npos);
    EXPECT_EQ(document_.changeLedger().sequences.size(), 1u);
}

TEST_F(FCPXDocumentTest, RefusesFilesWithoutAProject) {
    const std::string event = "<fcpxml><event name=\"E\"><clip/></event></fcpxml>";
    const std::string text =
        "Please make sure you are importing the XML from an FCPX project, not an event.";
    shownAlerts().clear();
    writeFile(path_, event);
    const Outcome opened = document_.readFromURL(path_);
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.failure().code, FailureCode::inputInvalid);
    EXPECT_EQ(shownAlerts(), Strings{"Invalid FCPX project: " + text});

    writeFile(path_, "<fcpxml>\n<project>");
    const Outcome broken = document_.readFromURL(path_);
    ASSERT_FALSE(broken);
    EXPECT_EQ(broken.failure().line, 2);
    EXPECT_EQ(shownAlerts().size(), 1u);
}

TEST_F(FCPXDocumentTest, ReportsAFileThatBrokeBeforeTheRun) {
    open(libraryForm(sequence));
    writeFile(path_, "<fcpxml>");
    const LogCapture log;
    document_.startProcessing({"removeFilters"});
    ASSERT_EQ(shownAlerts().size(), 1u);
    EXPECT_TRUE(shownAlerts()[0].starts_with("Unable to load XML data: ")) << shownAlerts()[0];
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_TRUE(log.lines()[0].starts_with("Unable to load XML data - "));
    EXPECT_EQ(document_.runResult().failures.size(), 1u);
    // The progress sheet is not ended on this path, as it never was.
    EXPECT_EQ(view_.events, (Strings{"start", "Initializing..."}));
}

TEST_F(FCPXDocumentTest, HasNoResultAfterACancelledRun) {
    open(libraryForm(sequence));
    EXPECT_FALSE(document_.writeToURL(folder_ / "out.fcpxml"));
    document_.startProcessing({});
    ASSERT_TRUE(document_.writeToURL(folder_ / "out.fcpxml"));
    view_.onLabel = [&](const std::string& label) {
        if (label == "Removing filters...") document_.cancelProgress();
    };
    document_.startProcessing({"removeFilters", "removeMarkers"});
    EXPECT_TRUE(document_.runResult().cancelled);
    EXPECT_FALSE(document_.xmlDoc());
    EXPECT_FALSE(document_.writeToURL(folder_ / "out.fcpxml"));
    // The alert of a finished run is shown all the same.
    EXPECT_EQ(shownAlerts().size(), 2u);
}

TEST_F(FCPXDocumentTest, SavesPrettyWithCDATA) {
    open(libraryForm("<sequence><note><![CDATA[a < b]]></note><marker/></sequence>", ""));
    document_.startProcessing({"removeMarkers"});
    ASSERT_TRUE(document_.writeToURL(folder_ / "out.fcpxml", Overwrite::never));
    const std::string saved = contentsOf(folder_ / "out.fcpxml");
    EXPECT_NE(saved.find("\t<note><![CDATA[a < b]]></note>\n"), std::string::npos) << saved;
    EXPECT_EQ(saved.find("marker"), std::string::npos);
}

}  // namespace
}  // namespace reelsweep::test
