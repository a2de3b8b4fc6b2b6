// Projects that are open in Final Cut Pro, tidied in a window: a real bus, the demo host on it, and
// the command line beside it.
#include "tests/app/AppTest.h"
#include "tests/cli/Program.h"
#include "tests/hosts/BusTest.h"

#include <QListWidget>
#include <QMenuBar>

namespace reelsweep::test {
namespace {

class NativeWindowTest : public AppTest {
protected:
    ~NativeWindowTest() override {
        Platform::current().workspace = std::move(workspace_);
        Platform::current().appleEvents = std::move(appleEvents_);
    }

    bool offersProjects() const {
        // A menu looks anew whenever it is opened.
        auto* const file = qobject_cast<QMenu*>(start_.menuBar()->actions().constFirst()->menu());
        emit file->aboutToShow();
        return menu_->item("openFCPProject:")->isEnabled();
    }
    void chooseProjects() const { menu_->item("openFCPProject:")->trigger(); }

    /// The list of projects on the screen; null when there is none.
    static QListWidget* projectList() {
        auto* const dialog = shown<QDialog>("QVFCPProjectLoader");
        return dialog ? child<QListWidget>(dialog, "projectsTable") : nullptr;
    }
    DocumentWindow* openFromList(int row) {
        QListWidget* const list = projectList();
        list->setCurrentRow(row);
        QTest::mouseClick(child<QPushButton>(list->window(), "openBtn"), Qt::LeftButton);
        EXPECT_TRUE(comesTrue([&] { return !controller.documents().windows().isEmpty(); }));
        DocumentWindow* const window = controller.documents().windows().constLast();
        EXPECT_TRUE(comesTrue([&] { return table(window)->model()->rowCount() > 0; }));
        return window;
    }

private:
    std::unique_ptr<Workspace> workspace_ = std::move(Platform::current().workspace);
    std::unique_ptr<AppleEventTransport> appleEvents_ = std::move(Platform::current().appleEvents);

protected:
    HostOnABus host;

private:
    QMainWindow start_;
    MainMenu* menu_ = new MainMenu(&start_, controller, nullptr);
};

const std::string film = project({"V1: A[0,100)'M !B[100,200) V2: C[200,250)", "V1: D[0,50)"});

TEST_F(NativeWindowTest, GivesWhatTheCommandLineAndTheFileFlowGive) {
    const std::string a = host.openProject("a.fcp", film);
    const std::string b = host.openProject("b.fcp", film);
    const std::string c = host.openProject("c.fcp", film);
    ASSERT_TRUE(offersProjects());
    chooseProjects();
    ASSERT_TRUE(projectList());
    EXPECT_EQ(projectList()->count(), 3);
    DocumentWindow* const window = openFromList(0);
    EXPECT_EQ(window->path(), a);
    tick(window, 1);
    tick(window, 0);
    setOptions(window, {"removeDisabledVideoClips", "collapseTracks", "removeUnusedTracks"});
    EXPECT_EQ(process(window),
              "Processing complete: A duplicate of the sequence has been added to the Reelsweep "
              "bin.\n\n3 changes in 2 sequences.");
    EXPECT_TRUE(answerAlert("OK"));
    ASSERT_TRUE(ends(window));
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_EQ(table(window)->model()->rowCount(), 4);
    EXPECT_FALSE(processButton(window)->isEnabled());
    EXPECT_EQ(tree(window)->model()->rowCount(), 2);

    Workplace workplace;
    const std::string passes = "removeDisabledVideoClips,collapseTracks,removeUnusedTracks";
    workplace.write("film.xml", film);
    EXPECT_EQ(run(workplace, {"tidy", b, "--passes", passes, "--literal"}).status, 0);
    EXPECT_EQ(run(workplace, {"tidy", "film.xml", "--passes", passes, "--literal"}).status, 0);
    EXPECT_EQ(host.openedItems(),
              "a.fcp: Reel 1-Tidied\na.fcp: Reel 2-Tidied\n"
              "b.fcp: Reel 1-Tidied\nb.fcp: Reel 2-Tidied\n");
    EXPECT_EQ(contentsOf(a), film);
    for (const std::string& path : {a, b, c}) ASSERT_TRUE(QVAppleEvents::saveProject(path));
    const std::string expected = withoutUuids(workplace.read("film-Tidied.xml"));
    EXPECT_NE(expected.find("<bin>"), std::string::npos);
    EXPECT_EQ(withoutUuids(contentsOf(a)), expected);
    EXPECT_EQ(withoutUuids(contentsOf(b)), expected);
    EXPECT_EQ(contentsOf(c).find("<bin>"), std::string::npos);
}

TEST_F(NativeWindowTest, StaysWhileItSendsByItself) {
    const std::string path = host.openProject("a.fcp", film);
    ASSERT_TRUE(offersProjects());
    chooseProjects();
    DocumentWindow* const window = openFromList(0);
    tick(window, 0);
    // The send handles events until its alert is answered: here the user quits meanwhile.
    bool quits = false;
    QTimer looking;
    QObject::connect(&looking, &QTimer::timeout, [&] {
        if (quits || !shownAlert()) return;
        quits = true;
        EXPECT_FALSE(menuItem(window, "sendToFCP:")->isEnabled());
        QApplication::closeAllWindows();
        QCoreApplication::processEvents();
        EXPECT_TRUE(window->isVisible());
    });
    looking.start(1);
    menuItem(window, "sendToFCP:")->trigger();
    EXPECT_TRUE(quits);
    EXPECT_TRUE(controller.documents().windows().isEmpty());
    ASSERT_TRUE(QVAppleEvents::saveProject(path));
    EXPECT_NE(contentsOf(path).find("<bin>"), std::string::npos);
}

TEST_F(NativeWindowTest, OutlivesAHostThatComesAndGoesWhileAMenuOrItsListIsOpen) {
    const auto goAway = [&] {
        host.setFaults("fcLP die");
        QVAppleEvents::listOfOpenFCPProjects();
        EXPECT_TRUE(comesTrue([] { return !QVAppleEvents::isFCPRunning(); }));
        host.setFaults("");
    };
    EXPECT_FALSE(offersProjects());
    host.openProject("film.fcp", film);
    EXPECT_TRUE(offersProjects());
    // Gone after the menu was opened: there is nothing to choose.
    goAway();
    chooseProjects();
    ASSERT_TRUE(projectList());
    EXPECT_EQ(projectList()->count(), 0);
    projectList()->window()->close();
    QTest::qWait(0);  // it goes when events are handled
    EXPECT_FALSE(offersProjects());

    // Gone after the list was shown: it is started again for the project that was chosen.
    host.openProject("film.fcp", film);
    EXPECT_TRUE(offersProjects());
    chooseProjects();
    ASSERT_TRUE(projectList());
    EXPECT_EQ(projectList()->count(), 1);
    goAway();
    EXPECT_EQ(table(openFromList(0))->model()->rowCount(), 2);
    EXPECT_TRUE(QVAppleEvents::isFCPRunning());
}

}  // namespace
}  // namespace reelsweep::test
