// The window of FCPXML with the passes that are for FCPXML alone, on real files.
#include "tests/app/DocumentWindowTest.h"
#include "tests/timeline/SampleFiles.h"

#include "app/OptionBoxes.h"
#include "tidy/FCPXPasses.h"
#include "xml/XMLDocument.h"
#include "xml/XMLQuery.h"

#include <QTreeView>

#include <filesystem>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;

std::size_t count(const std::string& file, const std::string& query) {
    const Result<XMLDocument> document = XMLDocument::load(file);
    EXPECT_TRUE(document) << file;
    const auto nodes = selectNodes(document->node(), query);
    return nodes ? nodes->size() : 0;
}

QCheckBox* box(const DocumentWindow* window, const std::string& name) {
    return child<QCheckBox>(window, name.c_str());
}

// What stands in no clip that is switched off: that goes with its clip.
std::size_t shownOf(const std::string& file, const std::string& elements) {
    return count(file,
                 "//" + elements + "[not(parent::transition) and not(ancestor::*[@enabled='0'])]");
}

std::string partOf(const char* title, std::size_t changes) {
    return std::string(title) + (changes > 0 ? "\u00a0(" + std::to_string(changes) + ")" : "");
}

TEST_F(AppTest, TidiesRealFCPXMLWithItsOwnPassesAndRemembersThem) {
    const char* const ticked[] = {"fcpxRemoveVideoFilters", "fcpxRemoveAudioFilters",
                                  "fcpxRemoveMarkers", "fcpxRemoveDisabled",
                                  "fcpxRemoveUnusedResources"};
    for (const fs::path& file : sampleFiles(".fcpxml")) {
        SCOPED_TRACE(file);
        const std::string before = contentsOf(file);
        const std::string copy = folder / (file.stem().string() + "-Tidied.fcpxml");
        DocumentWindow* const window = controller.documents().open(toQString(file.string()));
        ASSERT_TRUE(window);
        setOptions(window, {});
        // What takes more out than FCPXML was ever asked for is asked for.
        for (const PassRow& pass : fcpxPassTable())
            EXPECT_TRUE(box(window, std::string(pass.option) + "CheckBox"));
        EXPECT_FALSE(box(window, "markerKindBox")->isEnabled());
        for (const char* const option : ticked)
            QTest::mouseClick(box(window, option + std::string("CheckBox")), Qt::LeftButton, {},
                              QPoint(8, 8));
        for (const char* const kind : {"marker", "chapter-marker", "analysis-marker"})
            box(window, kind + std::string("KindBox"))->setChecked(false);
        EXPECT_EQ(toText(processButton(window)->toolTip()),
                  "Tick the kinds of markers to take out.");
        for (const char* const kind : {"marker", "chapter-marker", "keyword"})
            box(window, kind + std::string("KindBox"))->setChecked(true);

        const std::string told = process(window);
        EXPECT_TRUE(answerAlert("Not Now"));
        ASSERT_TRUE(ends(window));
        const std::pair<const char*, std::size_t> expected[] = {
            {"Remove video effects", shownOf(file, "filter-video")},
            {"Remove audio effects", shownOf(file, "filter-audio")},
            {"Remove markers and chapters",
             shownOf(file, "marker") + shownOf(file, "chapter-marker") + shownOf(file, "keyword")}};
        for (const auto& [title, changes] : expected)
            EXPECT_EQ(told.find(partOf(title, changes)) != std::string::npos, changes > 0)
                << told << "\n"
                << title << " " << changes;
        EXPECT_GT(tree(window)->model()->rowCount(), 0);
        ASSERT_TRUE(window->saveCopyTo(copy));
        EXPECT_EQ(contentsOf(file), before);

        // The next window has the same ticked, and finds nothing left to do.
        DocumentWindow* const again = controller.documents().open(toQString(copy));
        ASSERT_TRUE(again);
        const auto isTicked = [&](std::string_view option) {
            return std::find(std::begin(ticked), std::end(ticked), option) != std::end(ticked);
        };
        for (const PassRow& pass : fcpxPassTable())
            EXPECT_EQ(box(again, std::string(pass.option) + "CheckBox")->isChecked(),
                      isTicked(pass.option))
                << pass.option;
        EXPECT_TRUE(box(again, "keywordKindBox")->isChecked());
        EXPECT_FALSE(box(again, "analysis-markerKindBox")->isChecked());
        EXPECT_EQ(process(again).substr(0, 80),
                  "Processing complete: Please save the XML file.\n\nNothing had to be changed.");
        EXPECT_TRUE(answerAlert("Not Now"));
        ASSERT_TRUE(ends(again));
        again->closeDiscarding();
        window->closeDiscarding();
        Platform::current().userDefaults->removeObject("fcpxMarkerKinds");
    }
}

TEST_F(AppTest, TidiesClipsThatStandInNoProject) {
    DocumentWindow* const window =
        open("day.fcpxml",
             "<fcpxml version=\"1.10\"><event name=\"Day 1\"><clip name=\"A\" duration=\"1s\">"
             "<marker start=\"0s\" value=\"m\"/></clip></event></fcpxml>");
    ASSERT_TRUE(window);
    setOptions(window, {"removeMarkers"});
    EXPECT_FALSE(box(window, "removeMarkersCheckBox")->isEnabled());
    EXPECT_EQ(toText(processButton(window)->toolTip()), "Tick what is to be done.");
    setOptions(window, {"removeMarkers", "fcpxRemoveMarkers"});
    EXPECT_NE(process(window).find("1 change: "), std::string::npos);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    ASSERT_TRUE(window->saveCopyTo(folder / "out.fcpxml"));
    EXPECT_EQ(count(folder / "out.fcpxml", "//marker"), 0U);
}

// A bundle is a folder; its copy is one too, with whatever else belongs to it.
TEST_F(AppTest, TidiesABundleAndSavesOne) {
    const std::string bundle = folder / "Cut.fcpxmld";
    fs::create_directory(bundle);
    writeFile(bundle + "/Info.fcpxml",
              "<fcpxml version=\"1.10\"><library><event><project name=\"P\"><sequence><spine>"
              "<clip><marker value=\"m\"/></clip></spine></sequence></project></event></library>"
              "</fcpxml>");
    writeFile(bundle + "/tracking.bin", "data");
    DocumentWindow* const window = controller.documents().open(toQString(bundle));
    ASSERT_TRUE(window);
    setOptions(window, {"fcpxRemoveMarkers"});
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    EXPECT_EQ(window->suggestedCopy(), toQString(folder / "Cut-Tidied.fcpxmld"));
    ASSERT_TRUE(window->saveCopyTo(toText(window->suggestedCopy())));
    EXPECT_EQ(contentsOf(folder / "Cut-Tidied.fcpxmld/tracking.bin"), "data");
    EXPECT_EQ(count(folder / "Cut-Tidied.fcpxmld/Info.fcpxml", "//marker"), 0U);
    EXPECT_EQ(count(bundle + "/Info.fcpxml", "//marker"), 1U);
    // Over itself, unless somebody else wrote there meanwhile.
    writeFile(bundle + "/Info.fcpxml", contentsOf(bundle + "/Info.fcpxml") + " ");
    window->save();
    alertText();
    EXPECT_TRUE(answerAlert("Save Over File"));
    EXPECT_NE(alertText().find("was changed by another program"), std::string::npos);
    EXPECT_TRUE(answerAlert("Cancel"));
    EXPECT_EQ(count(bundle + "/Info.fcpxml", "//marker"), 1U);
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    window->save();
    alertText();
    EXPECT_TRUE(answerAlert("Save Over File"));
    EXPECT_EQ(count(bundle + "/Info.fcpxml", "//marker"), 0U);
    EXPECT_EQ(contentsOf(bundle + "/tracking.bin"), "data");
}

}  // namespace
}  // namespace reelsweep::test
