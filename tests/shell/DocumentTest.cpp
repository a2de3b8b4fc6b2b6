// The document of an XMEML file: listing, the run, renaming, delivery, saving.
#include "base/FinderInfo.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/timeline/Alerts.h"
#include "tests/timeline/LogCapture.h"
#include "tests/timeline/Project.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>
#include <regex>
#include <thread>

namespace reelsweep::test {
namespace {

using Strings = std::vector<std::string>;

const std::string uuidPattern = "[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}";

std::string withoutUuids(const std::string& text) {
    return std::regex_replace(text, std::regex(uuidPattern), "UUID");
}

XMLNode projectChildren(Project& project) {
    return project.document.projectController().firstNodeForQuery("./xmeml/project/children");
}

TEST(Document, ListsEverySequenceThatHasAName) {
    const TemporaryFolder folder;
    const std::string path = folder / "cut.xml";
    writeFile(
        path,
        "<xmeml version='4'><sequence id='a'><name>One%20A</name><media><video><track><clipitem>"
        "<sequence id='b'><name>Nested</name></sequence></clipitem></track></video></media>"
        "</sequence><sequence id='c'/><bin><children><sequence id='d'><uuid>u4</uuid><name/>"
        "</sequence></children></bin></xmeml>");
    Project project;
    const LogCapture log;
    ASSERT_TRUE(project.document.readFromURL(path));
    project.document.waitUntilPopulated();
    Strings titles;
    for (const auto& record : *project.document.sequenceArray()) {
        titles.push_back(record->title);
        EXPECT_FALSE(record->selected);
    }
    EXPECT_EQ(titles, (Strings{"One A", "Nested", "d"}));
    EXPECT_EQ(project.record(2).uuid(), "u4");
    EXPECT_FALSE(project.document.isFCPProject());
    EXPECT_FALSE(project.document.hasProjectNode());
    EXPECT_EQ(log.lines(), Strings{"Loading XML file"});

    project.document.setSelected(1, true);
    project.document.setSelected(2, true);
    project.document.setSelected(1, false);
    project.document.setSelected(2, false);
    project.document.setSelected(99, true);
    EXPECT_EQ(project.view.events,
              (Strings{"reload", "enable", "enable", "enable", "disable", "disable"}));
}

TEST(Document, SaysWhyAFileCannotBeOpened) {
    const TemporaryFolder folder;
    writeFile(folder / "broken.xml", "<xmeml>\n<sequence>\n</xmeml>");
    const std::pair<std::string, FailureCode> rows[] = {
        {folder / "broken.xml", FailureCode::inputInvalid},
        {folder / "absent.xml", FailureCode::inputUnreadable},
    };
    for (const auto& [path, code] : rows) {
        Project project;
        const Outcome opened = project.document.readFromURL(path);
        project.document.waitUntilPopulated();
        ASSERT_FALSE(opened) << path;
        EXPECT_EQ(opened.failure().code, code);
        EXPECT_EQ(opened.failure().file, path);
        EXPECT_EQ(opened.failure().line, path.ends_with("broken.xml") ? 3 : 0);
        EXPECT_TRUE(project.document.sequenceArray()->empty());
    }
}

TEST(Document, RenamesACopy) {
    const std::pair<const char*, const char*> rows[] = {
        {"<sequence id='s' a='1' b='2'><uuid>u</uuid><name>Cut</name></sequence>",
         "<sequence id=\"s-Tidied\"><uuid>UUID</uuid><name>Cut-Tidied</name></sequence>"},
        {"<sequence a='1'><name/></sequence>",
         "<sequence id=\"Sequence-Tidied\"><name>-Tidied</name></sequence>"},
        // Only its own name and uuid, and only the first of each; none is made.
        {"<sequence><x><name>n</name><uuid>u</uuid></x></sequence>",
         "<sequence id=\"Sequence-Tidied\"><x><name>n</name><uuid>u</uuid></x></sequence>"},
        {"<sequence><name>a</name><name>b</name><uuid/></sequence>",
         "<sequence id=\"Sequence-Tidied\"><name>a-Tidied</name><name>b</name>"
         "<uuid>UUID</uuid></sequence>"},
        {"<sequence><name><![CDATA[a&b]]></name></sequence>",
         "<sequence id=\"Sequence-Tidied\"><name>a&amp;b-Tidied</name></sequence>"},
    };
    for (const auto& [before, after] : rows) {
        const auto parsed = XMLDocument::parse(before);
        Project project;
        const XMLNode root = parsed->rootElement();
        EXPECT_EQ(project.document.renameSequence(root), root);
        EXPECT_EQ(withoutUuids(serialise(root)), after);
    }
}

TEST(Document, DeliversTheTickedSequencesAsABin) {
    Project project({"V1: !A[0,9) B[9,20)", "V1: !C[0,9)", "V1: !D[0,9)"});
    project.document.setSelected(2, true);
    const std::string sources = serialise(projectChildren(project));
    project.view.events.clear();
    shownAlerts().clear();
    project.document.startProcessing({"removeDisabledVideoClips"});

    EXPECT_TRUE(project.document.runResult().delivered);
    EXPECT_TRUE(project.document.runResult().failures.empty());
    const XMLNode bin = projectChildren(project).lastChild();
    const std::string before =
        "<sequence id=\"sequence-1-Tidied\"><uuid>UUID</uuid><name>Harbour-Tidied"
        "</name><media><video><track>";
    const std::string after = "</track></video><audio/></media></sequence>";
    const std::string clip =
        "<clipitem id=\"B\"><name>B</name><start>9</start><end>20</end><in>0</in>"
        "<out>11</out></clipitem>";
    std::string expected =
        "<bin><uuid>UUID</uuid><updatebehavior>add</updatebehavior><name>Reelsweep</"
        "name><children>" +
        before + clip + after + before + after + "</children></bin>";
    expected.replace(expected.find("<track></track>"), 15, "<track/>");
    EXPECT_EQ(withoutUuids(serialise(bin)), expected);
    EXPECT_EQ(sources,
              serialise(projectChildren(project)).substr(0, sources.size() - 11) + "</children>");
    EXPECT_NE(project.record(0).newUUID, project.record(2).newUUID);
    EXPECT_EQ(project.record(0).newUUID, project.result(0).child("uuid").stringValue());
    EXPECT_FALSE(project.result(1));
    EXPECT_EQ(shownAlerts(), Strings{"Processing complete: Please save the XML file."});
    const std::string label = "Removing disabled video clips...";
    EXPECT_EQ(project.view.events,
              (Strings{"start", "Initializing...", label, label, "changed", "end", "end"}));

    // The bin as text is the same, with or without the header of a document.
    const std::string output = *project.document.generateXMLOutput(false);
    EXPECT_EQ(withoutUuids(output), expected);
    EXPECT_EQ(withoutUuids(*project.document.generateXMLOutput()),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE xmeml><xmeml version=\"5\">" +
                  expected + "</xmeml>");

    // A second run makes new copies in a bin of their own and leaves the first bin alone.
    const std::string firstBin = serialise(bin);
    project.document.startProcessing({"removeFilters"});
    EXPECT_EQ(serialise(bin), firstBin);
    EXPECT_EQ(projectChildren(project).lastChild().previousSibling(), bin);
    EXPECT_NE(serialise(projectChildren(project).lastChild()).find("\"A\""), std::string::npos);
}

TEST(Document, DeliversAnEmptyBinWhenNothingIsTicked) {
    Project project({"V1: !A[0,9)"});
    project.document.setSelected(0, false);
    project.document.startProcessing(allPasses());
    EXPECT_EQ(withoutUuids(serialise(projectChildren(project).lastChild())),
              "<bin><uuid>UUID</uuid><updatebehavior>add</updatebehavior><name>Reelsweep</name>"
              "<children/></bin>");
    EXPECT_TRUE(project.document.runResult().delivered);
}

TEST(Document, DeliversNoBinIntoAFileWithoutAProject) {
    const TemporaryFolder folder;
    writeFile(folder / "cut.xml", "<xmeml version='5'>" + sequenceXML("V1: !A[0,9)") + "</xmeml>");
    Project project;
    ASSERT_TRUE(project.document.readFromURL(folder / "cut.xml"));
    project.document.waitUntilPopulated();
    project.document.setSelected(0, true);
    const std::string before = project.xml();
    shownAlerts().clear();
    const LogCapture log;
    project.document.startProcessing({"removeDisabledVideoClips"});
    const std::string why =
        "Please perform this task on an XML document for the entire project, not a "
        "specific sequence or element.";
    EXPECT_EQ(log.lines().back(), "No project node found. " + why);
    EXPECT_EQ(shownAlerts(), Strings{"No project node found: " + why});
    const RunResult& result = project.document.runResult();
    EXPECT_FALSE(result.delivered);
    ASSERT_EQ(result.failures.size(), 1u);
    EXPECT_EQ(result.failures[0].code, FailureCode::processing);
    EXPECT_EQ(project.xml(), before);
    // The passes had run by then.
    EXPECT_EQ(notation(project.result()), "V1:");

    project.view.onLabel = [&](const std::string&) { project.document.cancelProgress(); };
    project.document.startProcessing({"removeDisabledVideoClips"});
    EXPECT_EQ(shownAlerts().size(), 1u);
}

TEST(Document, DeliversNothingWhenCancelledBeforeTheSecondSequence) {
    Project project({"V1: !A[0,9)", "V1: !B[0,9)"});
    project.document.setSelected(1, true);
    const std::string before = project.xml();
    shownAlerts().clear();
    project.view.onLabel = [&](const std::string& label) {
        if (label == "Removing markers...") project.document.cancelProgress();
    };
    // The second sequence is not begun, even when the first one got through all its passes.
    project.document.startProcessing({"removeDisabledVideoClips", "removeMarkers"});
    EXPECT_TRUE(project.document.runResult().cancelled);
    EXPECT_FALSE(project.document.runResult().delivered);
    EXPECT_EQ(notation(project.result(0)), "V1:");
    EXPECT_FALSE(project.record(1).newUUID);
    EXPECT_EQ(project.document.changeLedger().sequences.size(), 1u);
    EXPECT_EQ(project.xml(), before);
    EXPECT_TRUE(shownAlerts().empty());
    EXPECT_EQ(project.view.events.back(), "end");
    EXPECT_FALSE(project.document.generateXMLOutput());

    // The next run starts afresh.
    project.view.onLabel = nullptr;
    project.document.startProcessing({"removeDisabledVideoClips"});
    EXPECT_FALSE(project.document.runResult().cancelled);
    EXPECT_TRUE(project.document.runResult().delivered);
}

TEST(Document, DeliversNothingWhenClipsAreSplitWithoutEnd) {
    // A clip that ends before it starts doubles what lies below it.
    std::string timeline = "V1: A[0,1000) V2:";
    for (int i = 0; i < 40; ++i) timeline += " B[200,100)";
    Project project({timeline});
    const std::string before = project.xml();
    shownAlerts().clear();
    project.document.startProcessing({"collapseTracks", "collapseUncompositedClips"});
    const RunResult& result = project.document.runResult();
    EXPECT_FALSE(result.delivered);
    ASSERT_EQ(result.failures.size(), 1u);
    EXPECT_EQ(result.failures[0].code, FailureCode::processing);
    ASSERT_EQ(shownAlerts().size(), 1u);
    EXPECT_TRUE(shownAlerts()[0].starts_with(
        "Unable to tidy: Sequence \"Harbour\". Clips were split again and again, 10"))
        << shownAlerts()[0];
    EXPECT_TRUE(shownAlerts()[0].ends_with("hidden under B on V2 from 200 to 100."));
    EXPECT_EQ(project.xml(), before);
}

TEST(Document, RunsOnAThreadOfItsOwnAndTellsTheMainThread) {
    Project project({"V1: !A[0,9)"});
    bool onMain = true;
    const auto here = std::this_thread::get_id();
    project.view.onLabel = [&](const std::string&) {
        onMain = onMain && std::this_thread::get_id() == here;
    };
    project.document.process({"removeDisabledVideoClips"});
    project.document.waitUntilProcessed();
    EXPECT_EQ(project.view.labels, 2);
    EXPECT_TRUE(onMain);
    EXPECT_TRUE(project.document.runResult().delivered);
}

// A document that was read from a file.
class SavedDocument : public testing::Test {
protected:
    SavedDocument() {
        writeFile(path, projectXML({sequenceXML("V1: A[0,9)")}));
        EXPECT_TRUE(project.document.readFromURL(path));
        project.document.waitUntilPopulated();
    }
    const TemporaryFolder folder;
    const std::string path = folder / "cut.xml";
    Project project;
};

TEST_F(SavedDocument, HasTheCodesOfAnInterchangeFile) {
    EXPECT_FALSE(project.document.writeToURL(path, Overwrite::never));
    ASSERT_TRUE(project.document.writeToURL(folder / "out.xml", Overwrite::never));
    EXPECT_EQ(contentsOf(folder / "out.xml"), project.xml());
    if (const auto codes = readHFSCodes(folder / "out.xml")) {
        EXPECT_EQ(codes->type, 0x584D4C20u);
        EXPECT_EQ(codes->creator, 0x4B657947u);
    }
    ASSERT_TRUE(project.document.writeToURL(path, Overwrite::always, true));
    writeFile(path, "somebody else's");
    EXPECT_FALSE(project.document.writeToURL(path, Overwrite::always, true));
    EXPECT_EQ(contentsOf(path), "somebody else's");
}

TEST_F(SavedDocument, IsSavedAgainAndAgainButNeverOverAnothersWork) {
    ASSERT_TRUE(project.document.saveToURL(path));
    ASSERT_TRUE(project.document.saveToURL(path));
    const std::string other = folder / "other.xml";
    ASSERT_TRUE(project.document.saveToURL(other));
    EXPECT_EQ(project.document.path(), other);
    ASSERT_TRUE(project.document.saveToURL(other));
    writeFile(other, "somebody else's");
    EXPECT_FALSE(project.document.saveToURL(other));
    EXPECT_EQ(contentsOf(other), "somebody else's");
    EXPECT_EQ(project.document.path(), other);
    EXPECT_TRUE(project.document.saveToURL(path));
}

}  // namespace
}  // namespace reelsweep::test
