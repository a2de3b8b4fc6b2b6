// Windows of documents: open, tick, process, save, close.
#include "tests/app/DocumentWindowTest.h"

#include <QComboBox>
#include <QHeaderView>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QTabWidget>

#include <filesystem>
#include <utility>

namespace reelsweep::test {
namespace {

TEST_F(AppTest, TidiesAFileFromOpeningToSavingAndReopening) {
    DocumentWindow* const window = open("film.xml", film());
    ASSERT_TRUE(window);
    EXPECT_FALSE(processButton(window)->isEnabled());
    tick(window, 1);
    EXPECT_TRUE(processButton(window)->isEnabled());
    tick(window, 1);
    EXPECT_FALSE(processButton(window)->isEnabled());
    tick(window, 1);
    EXPECT_FALSE(window->isWindowModified());

    EXPECT_EQ(process(window), completed);
    EXPECT_EQ(shownAlert()->windowModality(), Qt::WindowModal);
    EXPECT_EQ(shownAlert()->parentWidget(), window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_TRUE(tree(window)->isVisible());
    EXPECT_EQ(tree(window)->model()->rowCount(), 1);

    menuItem(window, "saveDocument:")->trigger();
    EXPECT_EQ(alertText().substr(0, 25), "Save over “film.xml”?");
    EXPECT_TRUE(answerAlert("Save Over File"));
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_TRUE(window->close());
    DocumentWindow* const again = controller.documents().open(toQString(folder / "film.xml"));
    ASSERT_TRUE(again);
    ASSERT_TRUE(comesTrue([&] { return table(again)->model()->rowCount() == 3; }));
    EXPECT_EQ(table(again)->model()->index(2, 1).data().toString(), "Harbour-Tidied");
}

TEST_F(AppTest, PutsWhatNeedsAttentionBeforeEverythingElse) {
    DocumentWindow* const window =
        open("film.xml", projectXML({sequenceXML("S: {<rate><timebase>25</timebase></rate>} "
                                                 "V1: A[0,50) x[90,110) C[-1,200)"),
                                     sequenceXML("V1: A[0,50)")}));
    setOptions(window, {"replaceGaps", "removeVideoTransitions"});
    window->selectAllSequences(true);
    EXPECT_NE(process(window).find("2 changes in 2 sequences, 3 need your attention"),
              std::string::npos);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    const QAbstractItemModel* const model = tree(window)->model();
    ASSERT_EQ(model->rowCount(), 3);
    const QModelIndex attention = model->index(0, 0);
    EXPECT_EQ(rowText(model, attention), "Needs your attention | 3 |  |  | ");
    EXPECT_EQ(rowText(model, model->index(0, 0, attention)),
              "start is open | C in Harbour | Its transition is gone and nothing says where it "
              "starts. Set the cut by hand; it ends at 00:00:08:00. |  | V1  transition - "
              "00:00:08:00");
    // What did not change is folded away.
    const QModelIndex unchanged = model->index(2, 0);
    EXPECT_EQ(toText(unchanged.data().toString()), "1 sequence without changes");
    EXPECT_FALSE(tree(window)->isExpanded(unchanged));
    EXPECT_TRUE(tree(window)->isExpanded(attention));
    const QAbstractItemModel* const list = table(window)->model();
    EXPECT_EQ(rowText(list, list->index(0, 0)),
              " | Harbour | 00:00:08:00 | 25 | 1 | 0 | 3 | 2 changes · 1 warning");
}

TEST_F(AppTest, ShowsOneRowForAllThatBecameOfAClip) {
    DocumentWindow* const window = open(
        "film.xml", projectXML({sequenceXML("V1: A[0,100) V2: B[20,60) V3: C[150,200)+Blur")}));
    setOptions(window, {"collapseTracks", "collapseUncompositedClips", "removeFilters"});
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    QAbstractItemModel* const model = tree(window)->model();
    const auto rows = [&](const QModelIndex& parent) {
        std::string text;
        for (int row = 0; row < model->rowCount(parent); ++row)
            text += rowText(model, model->index(row, 0, parent)) + "\n";
        return text;
    };
    const std::string byClip = rows(model->index(0, 0));
    EXPECT_NE(byClip.find("moved, changed V3 to V1 | C | all filters are removed | V3  150 - 200 | "
                          "V1  150 - 200"),
              std::string::npos)
        << byClip;
    auto* const order = child<QComboBox>(window, "changesOrder");
    order->setCurrentIndex(1);
    const std::string byPass = rows(model->index(0, 0));
    EXPECT_NE(byPass.find("Remove filters | 1 change"), std::string::npos) << byPass;
    order->setCurrentIndex(0);
    model->sort(1, Qt::DescendingOrder);
    const QModelIndex sequence = model->index(0, 0);
    const int last = model->rowCount(sequence) - 1;
    EXPECT_LE(toText(model->index(last, 1, sequence).data().toString()),
              toText(model->index(0, 1, sequence).data().toString()));
}

TEST_F(AppTest, TicksAllFromTheHeaderAndSaysWhyNothingCanBeProcessed) {
    DocumentWindow* const window = open("film.xml", film());
    ASSERT_TRUE(comesTrue([&] { return table(window)->model()->rowCount() == 2; }));
    const auto status = [&] { return toText(child<QLabel>(window, "statusLabel")->text()); };
    EXPECT_FALSE(processButton(window)->isEnabled());
    EXPECT_EQ(toText(processButton(window)->toolTip()), "Tick a sequence to process it.");
    EXPECT_NE(status().find("Tick a sequence to process it."), std::string::npos);
    QHeaderView* const header = table(window)->horizontalHeader();
    const QPoint box(header->sectionViewportPosition(0) + header->sectionSize(0) / 2,
                     header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, box);
    EXPECT_EQ(status(), "2 of 2 sequences ticked");
    EXPECT_TRUE(processButton(window)->isEnabled());
    EXPECT_TRUE(processButton(window)->toolTip().isEmpty());
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, box);
    EXPECT_FALSE(processButton(window)->isEnabled());
}

TEST_F(AppTest, OffersPresetsAndKeepsThoseThatTheUserMakes) {
    DocumentWindow* const window = open("film.xml", film());
    auto* const presets = child<QComboBox>(window, "presetsBox");
    auto* const boxes = window->findChild<OptionBoxes*>();
    EXPECT_EQ(presets->currentText(), "Picture turnover");
    setOptions(window, {"collapseTracks", "replaceGaps"});
    EXPECT_EQ(presets->currentText(), "Custom");
    auto* const uncomposited = child<QCheckBox>(window, "collapseUncompositedClipsCheckBox");
    EXPECT_TRUE(uncomposited->isEnabled());
    child<QCheckBox>(window, "collapseTracksCheckBox")->setChecked(false);
    EXPECT_FALSE(uncomposited->isEnabled());
    setOptions(window, {"replaceGaps", "removeMarkers"});
    EXPECT_FALSE(boxes->savePreset("Everything"));
    EXPECT_TRUE(click(child<QPushButton>(window, "savePresetBtn")));
    auto* const question = window->findChild<QInputDialog*>();
    ASSERT_TRUE(question);
    question->setTextValue("Ours");
    question->accept();
    EXPECT_EQ(presets->currentText(), "Ours");
    QTest::keyClicks(presets, "E");
    emit presets->activated(presets->currentIndex());
    EXPECT_EQ(boxes->checkedOptions(), allPasses());
    // Another window has it too.
    DocumentWindow* const other = open("other.xml", film());
    auto* const others = child<QComboBox>(other, "presetsBox");
    EXPECT_GE(others->findText("Ours"), 0);
    other->findChild<OptionBoxes*>()->removePreset("Ours");
    EXPECT_LT(others->findText("Ours"), 0);
}

TEST_F(AppTest, TakesCareOfThePictureUnlessItIsToldNotTo) {
    UserDefaults& defaults = *Platform::current().userDefaults;
    for (const char* const care : {"keepPicture", "importSafe"}) defaults.removeObject(care);
    // The clip above has an alpha channel: what lies below it shows.
    const std::string film =
        projectXML({sequenceXML("V1: A[10,40) V2: B[0,90){<alphatype>straight</alphatype>}")});
    DocumentWindow* const window = open("film.xml", film);
    auto* const keep = child<QCheckBox>(window, "keepPictureCheckBox");
    EXPECT_TRUE(keep->isChecked());
    EXPECT_TRUE(child<QCheckBox>(window, "importSafeCheckBox")->isChecked());
    window->selectAllSequences(true);
    EXPECT_NE(process(window).find("1 change in 1 sequence."), std::string::npos) << alertText();
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));

    DocumentWindow* const literal = open("other.xml", film);
    child<QCheckBox>(literal, "keepPictureCheckBox")->setChecked(false);
    literal->selectAllSequences(true);
    EXPECT_NE(process(literal).find("1 needs your attention"), std::string::npos) << alertText();
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(literal));
}

TEST_F(AppTest, KeepsTheStatesOfItsOptions) {
    DocumentWindow* const window = open("film.xml", film());
    const auto checked = [](const DocumentWindow* of) {
        QStringList names;
        for (const QCheckBox* const box : of->findChildren<QCheckBox*>())
            if (box->isChecked()) names += box->objectName().remove("CheckBox");
        names.sort();
        return toText(names.join(' '));
    };
    EXPECT_EQ(checked(window),
              "collapseTracks collapseUncompositedClips "
              "removeDisabledAudioClips "
              "removeDisabledVideoClips removeUnusedTracks");
    EXPECT_EQ(window->findChildren<QCheckBox*>().size(), 14);
    setOptions(window, {"replaceGaps", "collapseTracks"});
    EXPECT_EQ(checked(open("other.xml", film())), "collapseTracks replaceGaps");
    UserDefaults& defaults = *Platform::current().userDefaults;
    EXPECT_EQ(defaults.integerForKey("collapseVideoLayers"), 1);
    EXPECT_EQ(defaults.integerForKey("removeUnusedVideoTracks"), 0);
}

TEST_F(AppTest, CancelsARunAndChangesNothing) {
    DocumentWindow* const window = open("long.xml", longProject());
    ASSERT_NO_FATAL_FAILURE(startLongRun(window));
    auto* const bar = child<QProgressBar>(progressSheet(window), "progressBar");
    EXPECT_TRUE(comesTrue([&] { return bar->maximum() > 0; }));
    EXPECT_NE(
        toText(child<QLabel>(progressSheet(window), "progressSequence")->text()).find(" (1 of "),
        std::string::npos);
    QTest::keyClick(progressSheet(window), Qt::Key_Escape);
    ASSERT_TRUE(ends(window));
    EXPECT_EQ(shownAlert(), nullptr);
    EXPECT_FALSE(progressSheet(window)->isVisible());
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_FALSE(menuItem(window, "exportTidied:")->isEnabled());
}

TEST_F(AppTest, AsksBeforeItStopsARunToCloseTheWindow) {
    DocumentWindow* const window = open("long.xml", longProject());
    DocumentWindow* const other = open("film.xml", film());
    ASSERT_NO_FATAL_FAILURE(startLongRun(window));
    menuItem(other, "terminate:")->trigger();
    EXPECT_TRUE(other->isVisible());
    EXPECT_EQ(alertText().substr(0, 33), "“long.xml” is being processed");
    // The progress sheet keeps its place: the question stands free.
    EXPECT_EQ(shownAlert()->parentWidget(), nullptr);
    EXPECT_TRUE(answerAlert("Stop and Close"));
    EXPECT_TRUE(comesTrue([&] { return controller.documents().windows().size() == 1; }));
}

TEST_F(AppTest, RunsTwoDocumentsAtOnce) {
    DocumentWindow* const first = open("first.xml", film());
    DocumentWindow* const second = open("second.xml", film());
    for (DocumentWindow* const window : {first, second}) {
        tick(window, 0);
        EXPECT_TRUE(click(processButton(window)));
    }
    ASSERT_TRUE(comesTrue([&] { return first->isWindowModified() && second->isWindowModified(); }));
    for (int alerts = 0; alerts < 2; ++alerts) {
        EXPECT_EQ(alertText(), completed);
        EXPECT_TRUE(answerAlert("Not Now"));
    }
    EXPECT_TRUE(ends(first) && ends(second));
}

TEST_F(AppTest, ReachesTheResultFromWhereverTheKeyboardIs) {
    DocumentWindow* const window = open("film.xml", film());
    EXPECT_TRUE(comesTrue([&] { return window->focusWidget() == table(window); }));
    tick(window, 0);
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    auto* const filter = child<QLineEdit>(window, "changesFilter");
    press(window, QKeySequence::Find);
    ASSERT_TRUE(filter->hasFocus());
    QTest::keyClicks(filter, "B");
    QTest::keyClick(filter, Qt::Key_E, Qt::ControlModifier);
    auto* const panel = window->findChild<QFileDialog*>();
    ASSERT_TRUE(panel);
    panel->reject();
    QTest::qWait(0);
    filter->setFocus();
    QTest::keyClick(filter, Qt::Key_Escape);
    EXPECT_TRUE(filter->text().isEmpty());
    // Whatever page is shown.
    child<QTabWidget>(window, "tabs")->setCurrentIndex(0);
    EXPECT_TRUE(menuItem(window, "exportReport:")->isEnabled());
}

TEST_F(AppTest, LetsGoOfASheetThatAFailedRunLeavesUp) {
    for (const bool cancelsFirst : {true, false}) {
        const std::string name = cancelsFirst ? "a.fcpxml" : "b.fcpxml";
        DocumentWindow* const window =
            open(name, "<fcpxml><project><sequence/></project></fcpxml>");
        ASSERT_TRUE(window);
        setOptions(window, {"removeMarkers"});
        writeFile(folder / name, "<fcpxml>");
        EXPECT_EQ(process(window).substr(0, 23), "Unable to load XML data");
        EXPECT_TRUE(progressSheet(window)->isVisible());
        if (cancelsFirst) QTest::keyClick(progressSheet(window), Qt::Key_Escape);
        EXPECT_TRUE(answerAlert("OK"));
        ASSERT_TRUE(ends(window));
        EXPECT_EQ(progressSheet(window)->isVisible(), !cancelsFirst);
        if (!cancelsFirst) QTest::keyClick(progressSheet(window), Qt::Key_Escape);
        EXPECT_FALSE(progressSheet(window)->isVisible());
    }
}

TEST_F(AppTest, SaysWhyAFileCannotBeOpened) {
    const struct {
        const char* name;
        const char* contents;
        const char* alert;
    } rows[] = {
        {"broken.xml", "<xmeml>\n<sequence>", "broken.xml:2:"},
        {"early.xml", "<xmeml>\n<sequence>", "The file ends too early. Export it again.\n\n"},
        {"damaged.xml", "<xmeml>\n</sequence>", "The file is damaged. Export it again.\n\n"},
        {"page.xml", "<html/>", "neither XMEML nor FCPXML: its root element is \"html\""},
        {"event.fcpxml", "<fcpxml><library><event/></library></fcpxml>", "Invalid FCPX project"},
    };
    for (const auto& row : rows) {
        // The opening of an event waits for its alert itself.
        std::string shown;
        QTimer looking;
        QObject::connect(&looking, &QTimer::timeout, [&] {
            if (!shownAlert()) return;
            shown = alertText();
            shownAlert()->close();
        });
        looking.start(1);
        EXPECT_EQ(open(row.name, row.contents), nullptr);
        EXPECT_TRUE(comesTrue([&] { return !shown.empty(); }));
        EXPECT_NE(shown.find(row.alert), std::string::npos) << shown;
    }
    EXPECT_TRUE(controller.documents().windows().isEmpty());
}

TEST_F(AppTest, BringsTheWindowOfAnOpenFileToTheFront) {
    DocumentWindow* const window = open("film.xml", film());
    EXPECT_EQ(controller.documents().open(toQString(folder.path() + "/./film.xml")), window);
    EXPECT_EQ(DocumentController::recentFiles().constFirst(), toQString(folder / "film.xml"));
}

TEST_F(AppTest, TidiesFCPXMLAsAWhole) {
    DocumentWindow* const window =
        open("film.fcpxml",
             "<fcpxml><library><event><project name=\"P\"><sequence><spine><clip name=\"A\">"
             "<marker/></clip></spine></sequence></project></event></library></fcpxml>");
    ASSERT_TRUE(window);
    EXPECT_FALSE(processButton(window)->isEnabled());
    EXPECT_EQ(toText(processButton(window)->toolTip()), "Tick what is to be done.");
    setOptions(window, {"removeMarkers"});
    EXPECT_EQ(
        process(window),
        "Processing complete: Please save the XML file.\n\n1 change: Remove markers\u00a0(1).");
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    menuItem(window, "exportTidied:")->trigger();
    EXPECT_EQ(window->suggestedCopy(), toQString(folder / "film-Tidied.fcpxml"));
    choose(window, folder / "film-Tidied.fcpxml");
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_EQ(contentsOf(folder / "film-Tidied.fcpxml").find("marker"), std::string::npos);
    EXPECT_NE(contentsOf(folder / "film.fcpxml").find("marker"), std::string::npos);
    menuItem(window, "saveDocument:")->trigger();
    alertText();
    EXPECT_TRUE(answerAlert("Save Over File"));
    EXPECT_EQ(contentsOf(folder / "film.fcpxml").find("marker"), std::string::npos);
}

}  // namespace
}  // namespace reelsweep::test
