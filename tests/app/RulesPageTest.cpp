// The page of rules: what is written there holds in the preview, in runs, in presets and in the
// next window.
#include "tests/app/DocumentWindowTest.h"
#include "tests/timeline/RulesOnSamples.h"

#include "app/OptionBoxes.h"
#include "app/RulesPage.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QTabWidget>

namespace reelsweep::test {
namespace {

std::string rulesTitle(const DocumentWindow* window) {
    auto* const tabs = child<QTabWidget>(window, "tabs");
    return toText(tabs->tabText(tabs->indexOf(window->findChild<RulesPage*>())));
}

TEST_F(AppTest, MindsTheRulesInPreviewRunPresetsAndTheNextWindow) {
    DocumentWindow* const window = open("film.xml", film());
    setOptions(window, {"collapseTracks"});
    tick(window, 0);
    auto* const box = child<QCheckBox>(window, "collapseTracksCheckBox");
    ASSERT_TRUE(comesTrue([&] { return box->text() == "Collapse tracks (1)"; }));
    EXPECT_EQ(rulesTitle(window), "R&ules");

    child<QTabWidget>(window, "tabs")->setCurrentIndex(2);
    auto* const tracks = child<QLineEdit>(window, "excludeTracksEdit");
    QTest::keyClicks(tracks, "A7; v2 ");
    QTest::keyClick(tracks, Qt::Key_Return);
    EXPECT_EQ(rulesTitle(window), "R&ules (1)");
    ASSERT_TRUE(comesTrue([&] { return box->text() == "Collapse tracks (0)"; }));
    EXPECT_EQ(process(window).find("3 changes"), std::string::npos);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    EXPECT_EQ(window->findChild<RulesPage*>()->rules(), (TidyRules{.tracks = {"A7", "v2"}}));

    auto* const boxes = window->findChild<OptionBoxes*>();
    EXPECT_TRUE(boxes->savePreset("With titles"));
    DocumentWindow* const other = open("other.xml", film());
    auto* const page = other->findChild<RulesPage*>();
    EXPECT_EQ(page->rules(), (TidyRules{.tracks = {"A7", "v2"}}));
    auto* const presets = child<QComboBox>(other, "presetsBox");
    EXPECT_EQ(toText(presets->currentText()), "With titles");
    child<QLineEdit>(other, "excludeTracksEdit")->clear();
    child<QLineEdit>(other, "filtersKeepEdit")->setText("Color*");
    EXPECT_EQ(toText(presets->currentText()), "Custom");
    presets->setCurrentText("With titles");
    emit presets->activated(presets->currentIndex());
    EXPECT_EQ(page->rules(), (TidyRules{.tracks = {"A7", "v2"}}));
    // The built-in ones have no rules of their own, and take none away.
    presets->setCurrentText("Everything");
    emit presets->activated(presets->currentIndex());
    EXPECT_EQ(page->rules(), (TidyRules{.tracks = {"A7", "v2"}}));
    boxes->removePreset("With titles");
    page->setRules({});
}

TEST_F(AppTest, AnswersToEachRuleOnRealFiles) {
    for (const RuleOnSample& row : rulesOnSamples()) {
        const auto file = sampleNamed(row.file);
        if (!file) continue;
        SCOPED_TRACE(std::string(row.rule) + " " + row.value);
        DocumentWindow* const window = controller.documents().open(toQString(*file));
        ASSERT_TRUE(window);
        ASSERT_TRUE(comesTrue([&] { return window->hasSequences(); }));
        setOptions(window, toQString(row.passes).split(','));
        window->selectAllSequences(true);
        child<QTabWidget>(window, "tabs")->setCurrentIndex(2);
        auto* const edit = child<QLineEdit>(window, (row.rule + std::string("Edit")).c_str());
        ASSERT_TRUE(edit);
        edit->clear();
        QTest::keyClicks(edit, toQString(row.value));
        process(window);
        EXPECT_TRUE(answerAlert("Not Now"));
        ASSERT_TRUE(ends(window));
        const std::string copy = folder / "copy.xml";
        ASSERT_TRUE(window->saveCopyTo(copy));
        expectRule(row, *file, copy);
        window->findChild<RulesPage*>()->setRules({});
        window->closeDiscarding();
    }
}

}  // namespace
}  // namespace reelsweep::test
