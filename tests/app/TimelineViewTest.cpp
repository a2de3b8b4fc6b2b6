// The drawn timeline: before a run what it would do, after it what it did.
#include "app/QVFCPDocWindow.h"
#include "app/TimelineView.h"
#include "tests/app/DocumentWindowTest.h"
#include "tests/timeline/SampleFiles.h"

#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QTabWidget>
#include <QWheelEvent>

#include <algorithm>

namespace reelsweep::test {
namespace {

TimelineView* timelineView(const DocumentWindow* window) {
    return child<TimelineView>(window, "timelineView");
}

QCheckBox* option(const DocumentWindow* window, const char* name) {
    return window->findChild<QCheckBox*>(QString::fromLatin1(name) + "CheckBox");
}

std::string note(const DocumentWindow* window) {
    return toText(child<QLabel>(window, "timelineNote")->text());
}

bool waitForNote(const DocumentWindow* window, const std::string& text) {
    return comesTrue([&] { return note(window) == text; });
}

std::string selectedName(const TimelineView* view) {
    const ClipPlace place = view->selected();
    if (!place.isSomewhere()) return "none";
    return std::string(view->picture()->at(place).name) +
           (place.side == PictureSide::before ? " before" : " after");
}

// Of the shape that grading systems export: no project, no ids, tracks above tracks.
std::string gradedCut() {
    return cut(
        "S: {<rate><timebase>24</timebase></rate>} "
        "V1: A[0,140) B[297,548) C[662,784) V2: D[140,297) x[512,530) E[512,662) "
        "V3: !Scene[0,784) V4: !S1[0,140) !S2[140,297)");
}

TEST_F(AppTest, ShowsWhatARunWillDoBeforeItIsStarted) {
    const std::string contents = cut();
    DocumentWindow* const window = open("cut.xml", contents);
    ASSERT_TRUE(window);
    setOptions(window, {"removeDisabledVideoClips"});
    ASSERT_TRUE(waitForNote(window, "Preview: 1 removed")) << note(window);
    QCheckBox* const disabled = option(window, "removeDisabledVideoClips");
    EXPECT_EQ(toText(disabled->text()), "Remove disabled video clips (1)");
    option(window, "collapseTracks")->click();
    ASSERT_TRUE(waitForNote(window, "Preview: 1 removed, 1 moved")) << note(window);
    EXPECT_EQ(option(window, "collapseTracks")->text(), "Collapse tracks (1)");
    disabled->click();
    EXPECT_EQ(disabled->text(), "Remove disabled video clips");
    ASSERT_TRUE(waitForNote(window, "Preview: 1 moved")) << note(window);
    EXPECT_EQ(shownAlert(), nullptr);
    EXPECT_FALSE(window->isWindowModified());

    disabled->click();
    ASSERT_TRUE(waitForNote(window, "Preview: 1 removed, 1 moved")) << note(window);
    const auto seen = timelineView(window)->picture()->changes().size();
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    ASSERT_TRUE(timelineView(window)->isVisible());
    ASSERT_TRUE(timelineView(window)->picture());
    EXPECT_EQ(timelineView(window)->picture()->changes().size(), seen);
    EXPECT_EQ(note(window), "1 removed, 1 moved");
    EXPECT_EQ(contentsOf(folder / "cut.xml"), contents);
    window->closeDiscarding();
}

TEST_F(AppTest, ShowsSequencesThatAreNotTickedAsTheyAre) {
    DocumentWindow* const window = open("film.xml", film());
    setOptions(window, {"removeDisabledVideoClips"});
    ASSERT_TRUE(waitForNote(window, "Not ticked: stays as it is")) << note(window);
    EXPECT_EQ(option(window, "removeDisabledVideoClips")->text(), "Remove disabled video clips");
    tick(window, 0);
    ASSERT_TRUE(waitForNote(window, "Preview: 1 removed")) << note(window);
    tick(window, 1);
    ASSERT_TRUE(comesTrue([&] {
        return option(window, "removeDisabledVideoClips")->text() ==
               "Remove disabled video clips (2)";
    }));
}

TEST_F(AppTest, GoesFromARowToItsClipAndBack) {
    DocumentWindow* const window = open("cut.xml", cut());
    setOptions(window, {"removeDisabledVideoClips", "collapseTracks"});
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    QTreeView* const rows = tree(window);
    TimelineView* const view = timelineView(window);
    ASSERT_TRUE(view && view->picture());
    const QModelIndex sequence = rows->model()->index(0, 0);
    ASSERT_EQ(rows->model()->rowCount(sequence), 2);
    const auto itemOf = [&](const QModelIndex& row) {
        return toText(row.siblingAtColumn(1).data().toString());
    };
    for (int row = 0; row < 2; ++row) {
        const QModelIndex index = rows->model()->index(row, 0, sequence);
        rows->setCurrentIndex(index);
        EXPECT_EQ(selectedName(view),
                  itemOf(index) + (itemOf(index) == "B" ? " before" : " after"));
    }
    view->zoom(20);
    view->setFocus();
    for (const char* const name : {"B", "C"}) {
        const auto changes = view->picture()->changes();
        const auto change = std::find_if(changes.begin(), changes.end(), [&](const auto& c) {
            return view->picture()->at(view->picture()->placeOf(c)).name == name;
        });
        view->select(view->picture()->placeOf(*change));
        const QRect box = view->rectangleOf(view->selected());
        EXPECT_TRUE(view->viewport()->rect().intersects(box)) << name;
        const ClipPlace place = view->selected();
        view->select({});
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                          box.intersected(view->viewport()->rect()).center());
        EXPECT_EQ(view->selected(), place);
        EXPECT_EQ(itemOf(rows->currentIndex()), name);
    }
    window->closeDiscarding();
}

TEST_F(AppTest, LooksAroundInTheTimelineByKeysAndWheel) {
    DocumentWindow* const window = open("cut.xml", gradedCut());
    setOptions(window, {"removeDisabledVideoClips"});
    ASSERT_TRUE(waitForNote(window, "Preview: 3 removed")) << note(window);
    TimelineView* const view = timelineView(window);
    view->setFocus();
    struct Step {
        int key;
        Qt::KeyboardModifiers with;
        const char* selected;
    };
    const Step steps[] = {
        {Qt::Key_Down, {}, "S1 before"},
        {Qt::Key_Right, {}, "S2 before"},
        {Qt::Key_Right, {}, "S2 before"},
        {Qt::Key_Down, {}, "Scene before"},
        {Qt::Key_Down, {}, "D before"},
        {Qt::Key_Right, {}, "Transition before"},
        {Qt::Key_Up, {}, "Scene before"},
        {Qt::Key_Right, Qt::ControlModifier, "S2 before"},
        {Qt::Key_Left, Qt::ControlModifier, "Scene before"},
    };
    for (const Step& step : steps) {
        QTest::keyClick(view, static_cast<Qt::Key>(step.key), step.with);
        EXPECT_EQ(selectedName(view), step.selected);
    }
    EXPECT_TRUE(view->accessibleDescription().contains("disabled"));

    const double whole = view->view().pixelsPerFrame;
    const QPointF point(400, 40);
    const auto frameThere = [&] { return view->frameAt(static_cast<int>(point.x())); };
    const Frames before = frameThere();
    QWheelEvent wheel(point, view->viewport()->mapToGlobal(point), {}, {0, 480}, Qt::NoButton,
                      Qt::ControlModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view->viewport(), &wheel);
    EXPECT_GT(view->view().pixelsPerFrame, whole * 2);
    EXPECT_NEAR(static_cast<double>(frameThere().count), static_cast<double>(before.count), 1);
    QTest::keyClick(view, Qt::Key_End);
    EXPECT_EQ(view->view().range().end, Frames{784});
    QTest::keyClick(view, Qt::Key_0);
    EXPECT_DOUBLE_EQ(view->view().pixelsPerFrame, whole);
    for (int i = 0; i < 60; ++i) QTest::keyClick(view, Qt::Key_Plus);
    EXPECT_LE(view->view().pixelsPerFrame, 40);
}

/// Chooses from the menu of the selected clip, by its keys.
void chooseFromClipMenu(const DocumentWindow* window, const QString& text) {
    TimelineView* const view = timelineView(window);
    QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {});
    QApplication::sendEvent(view->viewport(), &event);
    auto* const menu = window->findChild<QMenu*>("clipMenu");
    ASSERT_TRUE(menu);
    for (QAction* const action : menu->actions())
        if (action->text().remove('&').startsWith(text)) action->trigger();
    delete menu;
}

TEST_F(AppTest, SeesItFirstSavesTheCopyAndLosesNothing) {
    const std::string contents = gradedCut();
    DocumentWindow* const window = open("graded.xml", contents);
    ASSERT_TRUE(window);
    setOptions(window, {"removeDisabledVideoClips", "collapseTracks", "removeUnusedTracks",
                        "keepPicture", "importSafe"});
    ASSERT_TRUE(comesTrue([&] { return note(window).starts_with("Preview: 3 removed"); }))
        << note(window);
    TimelineView* const view = timelineView(window);
    view->setFocus();
    for (const int key : {Qt::Key_Down, Qt::Key_Down})
        QTest::keyClick(view, static_cast<Qt::Key>(key));
    ASSERT_EQ(selectedName(view), "Scene before");
    ASSERT_NO_FATAL_FAILURE(chooseFromClipMenu(window, "Leave This Clip Alone"));
    ASSERT_TRUE(comesTrue([&] { return note(window).starts_with("Preview: 2 removed"); }))
        << note(window);
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));

    window->close();
    EXPECT_EQ(alertText().substr(0, 28), "Do you want to save the tidi");
    EXPECT_TRUE(answerAlert("Cancel"));
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(click(child<QPushButton>(window, "exportBtn")));
    const std::string copy = folder / "graded-Tidied.xml";
    choose(window, copy);
    ASSERT_TRUE(comesTrue([&] { return !window->hasUnsavedResult(); }));
    EXPECT_EQ(contentsOf(folder / "graded.xml"), contents);
    EXPECT_TRUE(window->close());
    EXPECT_EQ(shownAlert(), nullptr);

    DocumentWindow* const again = controller.documents().open(toQString(copy));
    ASSERT_TRUE(again);
    ASSERT_TRUE(comesTrue([&] { return table(again)->model()->rowCount() == 1; }));
    EXPECT_EQ(table(again)->model()->index(0, 1).data().toString(), "Harbour-Tidied");
    // The scene that was to be left alone is all that is switched off in the copy.
    const std::string saved = contentsOf(copy);
    const std::size_t off = saved.find("<enabled>FALSE");
    EXPECT_NE(off, std::string::npos);
    EXPECT_EQ(saved.find("<enabled>FALSE", off + 1), std::string::npos);
}

// A real export, when the folder of exports is there: its default passes would leave an edge that
// nothing places, and it has no project.
TEST_F(AppTest, TidiesARealExportFromOpeningToOpeningTheCopy) {
    const std::vector<std::filesystem::path> files = sampleFiles();
    const auto file = std::find_if(files.begin(), files.end(), [](const auto& one) {
        return one.filename() == "resolve_export.xml";
    });
    if (file == files.end()) GTEST_SKIP() << "the folder of exports is not there";
    const std::string contents = contentsOf(*file);
    DocumentWindow* const window = open("resolve.xml", contents);
    ASSERT_TRUE(window);
    EXPECT_TRUE(child<QLabel>(window, "bannerLabel")->isVisible());
    setOptions(window, {"collapseTracks", "removeUnusedTracks", "keepPicture", "importSafe"});
    ASSERT_TRUE(comesTrue([&] { return note(window).starts_with("Preview: "); })) << note(window);
    const std::string all = note(window);
    TimelineView* const view = timelineView(window);
    view->selectChange(1);
    const std::string moved = selectedName(view);
    ASSERT_NE(moved, "none");
    ASSERT_NO_FATAL_FAILURE(chooseFromClipMenu(window, "Leave This Clip Alone"));
    ASSERT_TRUE(comesTrue([&] {
        return note(window).starts_with("Preview: ") && note(window) != all;
    })) << note(window);
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));

    window->close();
    EXPECT_EQ(alertText().substr(0, 28), "Do you want to save the tidi");
    EXPECT_TRUE(answerAlert("Cancel"));
    EXPECT_TRUE(click(child<QPushButton>(window, "exportBtn")));
    const std::string copy = folder / "resolve-Tidied.xml";
    choose(window, copy);
    ASSERT_TRUE(comesTrue([&] { return !window->hasUnsavedResult(); }));
    EXPECT_TRUE(window->close());
    EXPECT_EQ(shownAlert(), nullptr);
    EXPECT_EQ(contentsOf(folder / "resolve.xml"), contents);

    DocumentWindow* const again = controller.documents().open(toQString(copy));
    ASSERT_TRUE(again);
    ASSERT_TRUE(comesTrue([&] { return table(again)->model()->rowCount() == 1; }));
    EXPECT_EQ(table(again)->model()->index(0, 1).data().toString(), "edit_v02 (Resolve)-Tidied");
}

TEST_F(AppTest, LeavesAClipAloneAndRemembersIt) {
    DocumentWindow* window = open("cut.xml", cut());
    const QStringList options = {"removeDisabledVideoClips", "collapseTracks"};
    setOptions(window, options);
    ASSERT_TRUE(waitForNote(window, "Preview: 1 removed, 1 moved")) << note(window);
    TimelineView* view = timelineView(window);
    view->selectChange(1);
    ASSERT_EQ(selectedName(view), "B before");
    ASSERT_NO_FATAL_FAILURE(chooseFromClipMenu(window, "Leave This Clip Alone"));
    ASSERT_TRUE(waitForNote(window, "Preview: 1 moved; 1 kept")) << note(window);

    EXPECT_TRUE(window->close());
    window = controller.documents().open(toQString(folder / "cut.xml"));
    setOptions(window, options);
    ASSERT_TRUE(waitForNote(window, "Preview: 1 moved; 1 kept")) << note(window);
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    EXPECT_EQ(note(window), "1 moved; 1 kept");
    const QAbstractItemModel* const changes = tree(window)->model();
    const QModelIndex left = changes->index(changes->rowCount() - 1, 0);
    EXPECT_EQ(rowText(changes, left), "Left as they are | 1 |  |  | ");
    EXPECT_FALSE(tree(window)->isExpanded(left));
    EXPECT_EQ(rowText(changes, changes->index(0, 0, left)).substr(0, 15), "left as asked |");
    tree(window)->setCurrentIndex(changes->index(0, 0, left));
    child<QLineEdit>(window, "changesFilter")->setText("no such clip");
    EXPECT_TRUE(comesTrue([&] { return changes->rowCount() == 0; }));
    child<QLineEdit>(window, "changesFilter")->clear();
    ASSERT_TRUE(window->saveCopyTo(folder / "copy.xml"));
    EXPECT_NE(contentsOf(folder / "copy.xml").find("<enabled>FALSE"), std::string::npos);

    view = timelineView(window);
    view->selectChange(1);
    ASSERT_NO_FATAL_FAILURE(chooseFromClipMenu(window, "Leave No Clip Alone (1)"));
    child<QTabWidget>(window, "tabs")->setCurrentIndex(0);
    EXPECT_TRUE(waitForNote(window, "Preview: 1 removed, 1 moved")) << note(window);
    window->closeDiscarding();
}

TEST_F(AppTest, OffersToRunAgainKeepingThePicture) {
    DocumentWindow* const window =
        open("cut.xml", cut("V1: A[10,40) V2: B[0,90){<alphatype>straight</alphatype>}"));
    setOptions(window, {"collapseTracks", "collapseUncompositedClips"});
    process(window);
    EXPECT_TRUE(answerAlert("Run Again Keeping the Picture"));
    ASSERT_TRUE(comesTrue([&] { return window->isRunning(); }));
    ASSERT_TRUE(comesTrue([] { return shownAlert() != nullptr; }));
    EXPECT_FALSE(answerAlert("Run Again Keeping the Picture"));
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    EXPECT_TRUE(option(window, "keepPicture")->isChecked());
    EXPECT_TRUE(window->hasUnsavedResult());
    window->closeDiscarding();
}

TEST_F(AppTest, SortsTimesByTheirFrames) {
    DocumentWindow* const window =
        open("cut.xml", cut("S: {<rate><timebase>25</timebase></rate>} "
                            "V1: !Early[0,9) !Later[900000,900010) !Middle[9000,9010)"));
    setOptions(window, {"removeDisabledVideoClips"});
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    const auto names = [&](Qt::SortOrder order) {
        tree(window)->sortByColumn(ChangeReportModel::beforeColumn, order);
        const QAbstractItemModel* const model = tree(window)->model();
        QStringList texts;
        for (int row = 0; row < 3; ++row)
            texts += model->index(row, ChangeReportModel::itemColumn, model->index(0, 0))
                         .data()
                         .toString();
        return toText(texts.join(' '));
    };
    EXPECT_EQ(names(Qt::AscendingOrder), "Early Middle Later");
    EXPECT_EQ(names(Qt::DescendingOrder), "Later Middle Early");
    window->closeDiscarding();
}

}  // namespace
}  // namespace reelsweep::test
