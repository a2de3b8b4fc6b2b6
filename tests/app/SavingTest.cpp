// Nothing is lost: saving, reverting, a second run, quitting.
#include "tests/app/DocumentWindowTest.h"

#include <QLineEdit>
#include <QListWidget>
#include <QTabWidget>

#include <filesystem>
#include <utility>

namespace reelsweep::test {
namespace {

TEST_F(AppTest, KeepsTheFirstResultWhenTheSecondRunIsCancelled) {
    std::string xml = longProject();
    xml.insert(xml.find("<sequence"), sequenceXML(timeline));
    DocumentWindow* const window = open("long.xml", xml);
    tick(window, 0);
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    const auto totals = [&] { return toText(child<QLabel>(window, "changesTotals")->text()); };
    const std::string before = totals();
    // Not even begun.
    menuItem(window, "process:")->trigger();
    EXPECT_EQ(alertText().substr(0, 35), "The tidied copy of “long.xml” i");
    EXPECT_TRUE(answerAlert("Cancel"));
    EXPECT_FALSE(window->isRunning());
    EXPECT_EQ(totals(), before);
    // Begun, and cancelled on the way.
    window->selectAllSequences(true);
    window->process();
    alertText();
    EXPECT_TRUE(answerAlert("Replace"));
    ASSERT_TRUE(comesTrue([&] { return progressSheet(window)->isVisible(); }));
    QTest::keyClick(progressSheet(window), Qt::Key_Escape);
    ASSERT_TRUE(ends(window));
    EXPECT_EQ(totals(), before);
    EXPECT_TRUE(window->isWindowModified());
    menuItem(window, "exportTidied:")->trigger();
    choose(window, folder / "out.xml");
    EXPECT_EQ(timesIn(contentsOf(folder / "out.xml"), "<sequence "), 1u);
}

TEST_F(AppTest, ReplacesAnUnsavedResultOrKeepsBoth) {
    const struct {
        const char* answer;
        std::size_t copies;
        const char* changes;
    } rows[] = {{"Replace", 1, "3 changes: "}, {"Keep Both", 2, "6 changes: "}};
    for (const auto& row : rows) {
        const std::string name = std::string(row.answer) + ".xml";
        DocumentWindow* const window = open(name, film());
        tick(window, 0);
        process(window);
        EXPECT_TRUE(answerAlert("Not Now"));
        ASSERT_TRUE(ends(window));
        window->process();
        alertText();
        EXPECT_TRUE(answerAlert(row.answer));
        ASSERT_TRUE(comesTrue([] { return shownAlert() != nullptr; }));
        EXPECT_TRUE(answerAlert("Not Now"));
        ASSERT_TRUE(ends(window));
        EXPECT_TRUE(child<QLabel>(window, "changesTotals")->text().startsWith(row.changes));
        EXPECT_EQ(tree(window)->model()->rowCount(), static_cast<int>(row.copies));
        // The ticks of the moment are of no interest to what was made.
        window->selectAllSequences(false);
        menuItem(window, "exportTidied:")->trigger();
        choose(window, folder / "out.xml");
        const std::string written = contentsOf(folder / "out.xml");
        EXPECT_EQ(timesIn(written, "<sequence id="), row.copies) << row.answer;
        EXPECT_EQ(timesIn(written, "<name>Harbour-Tidied 2</name>"), row.copies - 1);
        EXPECT_FALSE(window->isWindowModified());
        menuItem(window, "saveDocument:")->trigger();
        alertText();
        EXPECT_TRUE(answerAlert("Save Over File"));
        EXPECT_EQ(timesIn(contentsOf(folder / name), "<name>Reelsweep</name>"), row.copies);
        std::filesystem::remove(folder / "out.xml");
    }
}

TEST_F(AppTest, SavesTheTidiedCopyOfAFileWithoutAProjectAndLeavesTheFileAlone) {
    const std::string source = cut();
    DocumentWindow* const window = open("cut.xml", source);
    EXPECT_TRUE(child<QLabel>(window, "bannerLabel")->isVisible());
    EXPECT_EQ(toText(child<QLabel>(window, "bannerLabel")->text()),
              "This file holds sequences without a project. Tidied copies go to a file of their "
              "own.");
    // The only sequence is ticked, and there is nothing to save yet.
    ASSERT_TRUE(comesTrue([&] { return processButton(window)->isEnabled(); }));
    menuItem(window, "saveDocument:")->trigger();
    EXPECT_EQ(shownAlert(), nullptr);
    EXPECT_NE(toText(child<QLabel>(window, "statusLabel")->text()).find("has not changed"),
              std::string::npos);
    EXPECT_FALSE(child<QPushButton>(window, "exportBtn")->isVisible());

    const std::string text = process(window);
    EXPECT_EQ(text.find("No project node found: Please perform this task on an XML document for "
                        "the entire project, not a specific sequence or element.\n\n"),
              0u);
    EXPECT_NE(text.find("The tidied copies are made all the same: 3 changes in 1 sequence."),
              std::string::npos);
    EXPECT_EQ(shownAlert()->defaultButton()->text(), "Save Tidied Copy…");
    QTest::keyClick(shownAlert(), Qt::Key_Escape);
    ASSERT_TRUE(ends(window));
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_TRUE(child<QPushButton>(window, "exportBtn")->isVisible());
    EXPECT_TRUE(child<QPushButton>(window, "exportBtn")->isDefault());

    // Save would write a file that has not changed: it leads to the copy instead.
    menuItem(window, "saveDocument:")->trigger();
    EXPECT_NE(alertText().find("Nothing was saved"), std::string::npos);
    EXPECT_TRUE(answerAlert("Cancel"));
    window->close();
    EXPECT_EQ(alertText(),
              "Do you want to save the tidied copy of “cut.xml”?: It will be lost otherwise.");
    EXPECT_TRUE(answerAlert("Save Tidied Copy…"));
    choose(window, folder / "cut-Tidied.xml");
    EXPECT_TRUE(comesTrue([&] { return controller.documents().windows().isEmpty(); }));
    EXPECT_EQ(shownAlert(), nullptr);
    EXPECT_EQ(contentsOf(folder / "cut.xml"), source);

    DocumentWindow* const copy = controller.documents().open(toQString(folder / "cut-Tidied.xml"));
    ASSERT_TRUE(copy);
    ASSERT_TRUE(comesTrue([&] { return table(copy)->model()->rowCount() == 1; }));
    EXPECT_EQ(table(copy)->model()->index(0, 1).data().toString(), "Harbour-Tidied");
}

TEST_F(AppTest, SavesTheCopyFromTheAlertAtTheEndOfARun) {
    DocumentWindow* const window = open("film.xml", film());
    EXPECT_FALSE(child<QLabel>(window, "bannerLabel")->isVisible());
    tick(window, 0);
    process(window);
    EXPECT_TRUE(answerAlert("Save Tidied Copy…"));
    ASSERT_TRUE(comesTrue([&] { return window->findChild<QFileDialog*>() != nullptr; }));
    EXPECT_EQ(window->suggestedCopy(), toQString(folder / "film-Tidied.xml"));
    // Not over the opened file.
    EXPECT_FALSE(window->saveCopyTo(folder / "film.xml"));
    window->findChild<QFileDialog*>()->reject();
    QTest::qWait(0);
    EXPECT_TRUE(window->isWindowModified());
    menuItem(window, "exportTidied:")->trigger();
    choose(window, folder / "copy.xml");
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_TRUE(window->close());
    EXPECT_EQ(shownAlert(), nullptr);
    EXPECT_EQ(contentsOf(folder / "film.xml"), film());
}

TEST_F(AppTest, ListsAllThatIsNotSavedBeforeItQuits) {
    const auto tidied = [&](const char* name) {
        DocumentWindow* const window = open(name, cut());
        comesTrue([&] { return processButton(window)->isEnabled(); });
        process(window);
        EXPECT_TRUE(answerAlert("Not Now"));
        ends(window);
        return window;
    };
    DocumentWindow* const first = tidied("first.xml");
    tidied("second.xml");
    open("third.xml", cut());
    const auto list = [] {
        auto* const dialog = shown<QDialog>("unsavedDialog");
        return dialog ? child<QListWidget>(dialog, "unsavedList") : nullptr;
    };
    menuItem(first, "terminate:")->trigger();
    ASSERT_TRUE(list());
    EXPECT_EQ(list()->count(), 2);
    EXPECT_EQ(list()->item(0)->text(), "first.xml — save as first-Tidied.xml");
    QTest::keyClick(list()->window(), Qt::Key_Escape);
    EXPECT_EQ(controller.documents().windows().size(), 3);

    QTest::qWait(0);
    menuItem(first, "terminate:")->trigger();
    ASSERT_TRUE(list());
    list()->item(1)->setCheckState(Qt::Unchecked);
    EXPECT_TRUE(click(child<QPushButton>(list()->window(), "saveAndQuitBtn")));
    EXPECT_TRUE(comesTrue([&] { return controller.documents().windows().isEmpty(); }));
    EXPECT_NE(contentsOf(folder / "first-Tidied.xml").find("Harbour-Tidied"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder / "second-Tidied.xml"));
}

TEST_F(AppTest, RefusesToSaveOverWhatAnotherProgramWrote) {
    DocumentWindow* const window = open("film.xml", film());
    tick(window, 0);
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    writeFile(folder / "film.xml", "somebody else's");
    press(window, QKeySequence::Save);
    alertText();
    EXPECT_TRUE(answerAlert("Save Over File"));
    EXPECT_NE(alertText().find("was changed by another program"), std::string::npos);
    EXPECT_TRUE(answerAlert("Save As…"));
    EXPECT_EQ(contentsOf(folder / "film.xml"), "somebody else's");
    EXPECT_TRUE(window->isWindowModified());
    auto* const panel = window->findChild<QFileDialog*>();
    ASSERT_TRUE(panel);
    panel->selectFile(toQString(folder / "mine.xml"));
    QMetaObject::invokeMethod(panel, "accept");
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_EQ(window->path(), folder / "mine.xml");
}

TEST_F(AppTest, AsksWhatToDoWithUnsavedChanges) {
    const std::string source = film();
    const struct {
        const char* answer;
        bool closes;
        bool saves;
    } rows[] = {{"Cancel", false, false},
                {"", false, false},  // the button of its title bar
                {"Don't Save", true, false},
                {"Save Tidied Copy…", true, true}};
    for (const auto& row : rows) {
        const std::string name = std::string(row.answer) + ".xml";
        const QPointer<DocumentWindow> window = open(name, source);
        tick(window, 0);
        process(window);
        EXPECT_TRUE(answerAlert("Not Now"));
        ASSERT_TRUE(ends(window));
        window->close();
        EXPECT_EQ(alertText(), "Do you want to save the tidied copy of “" + name +
                                   "”?: It will be lost otherwise.");
        EXPECT_TRUE(*row.answer ? answerAlert(row.answer) : shownAlert()->close());
        const std::string copy = folder / ("copy of " + name);
        if (row.saves) choose(window, copy);
        // What was closed goes away by itself.
        EXPECT_EQ(window && window->isVisible(), !row.closes);
        if (!row.closes) {
            window->close();
            EXPECT_NE(alertText().find("save the tidied copy"), std::string::npos);
            EXPECT_TRUE(answerAlert("Cancel"));
        }
        EXPECT_EQ(std::filesystem::exists(copy), row.saves) << row.answer;
        EXPECT_EQ(contentsOf(folder / name), source) << row.answer;
    }
}

TEST_F(AppTest, RevertsToTheFile) {
    DocumentWindow* const window = open("film.xml", film());
    tick(window, 0);
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    menuItem(window, "revertDocumentToSaved:")->trigger();
    alertText();
    EXPECT_TRUE(answerAlert("Revert"));
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_TRUE(comesTrue([&] { return table(window)->model()->rowCount() == 2; }));
    EXPECT_FALSE(tree(window)->isVisible());
    EXPECT_FALSE(processButton(window)->isEnabled());
}

TEST_F(AppTest, StaysAsItIsWhenTheFileCannotBeRevertedTo) {
    DocumentWindow* const window = open("cut.xml", cut());
    process(window);
    EXPECT_TRUE(shownAlert()->close());
    ASSERT_TRUE(ends(window));
    writeFile(folder / "cut.xml", "<xmeml>");
    menuItem(window, "revertDocumentToSaved:")->trigger();
    EXPECT_NE(alertText().find("Its tidied copy is not saved"), std::string::npos);
    EXPECT_TRUE(answerAlert("Revert"));
    EXPECT_NE(alertText().find("could not be read"), std::string::npos);
    EXPECT_TRUE(answerAlert("OK"));
    EXPECT_TRUE(processButton(window)->isEnabled());
    EXPECT_TRUE(menuItem(window, "exportTidied:")->isEnabled());
    EXPECT_TRUE(tree(window)->isVisible());

    // Also while its own list is still on the way.
    writeFile(folder / "film.xml", film());
    DocumentWindow* const unlisted = controller.documents().open(toQString(folder / "film.xml"));
    writeFile(folder / "film.xml", "<xmeml>");
    menuItem(unlisted, "revertDocumentToSaved:")->trigger();
    EXPECT_TRUE(comesTrue([&] { return table(unlisted)->model()->rowCount() == 2; }));
}

TEST_F(AppTest, StaysUntilARevertIsOverWhenItIsClosedMeanwhile) {
    DocumentWindow* const window =
        open("film.fcpxml", "<fcpxml><project><sequence/></project></fcpxml>");
    writeFile(folder / "film.fcpxml", "<fcpxml><library><event/></library></fcpxml>");
    bool quits = false;
    QTimer looking;
    QObject::connect(&looking, &QTimer::timeout, [&] {
        if (std::exchange(quits, shownAlert() != nullptr) || !quits) return;
        EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::ArrowCursor);
        QApplication::closeAllWindows();
        // What is to be deleted goes now.
        QCoreApplication::processEvents();
        EXPECT_TRUE(window->isVisible());
    });
    looking.start(1);
    menuItem(window, "revertDocumentToSaved:")->trigger();
    EXPECT_TRUE(quits);
    EXPECT_TRUE(controller.documents().windows().isEmpty());
}

TEST_F(AppTest, SavesNothingOfAnFCPXMLFileBeforeARun) {
    const std::string xml = "<fcpxml><project><sequence/></project></fcpxml>";
    DocumentWindow* const window = open("film.fcpxml", xml);
    menuItem(window, "saveDocument:")->trigger();
    EXPECT_EQ(shownAlert(), nullptr);
    EXPECT_NE(toText(child<QLabel>(window, "statusLabel")->text()).find("Nothing was saved"),
              std::string::npos);
    EXPECT_EQ(contentsOf(folder / "film.fcpxml"), xml);
}

}  // namespace
}  // namespace reelsweep::test
