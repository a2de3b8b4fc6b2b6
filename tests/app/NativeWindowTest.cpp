// Projects that are open in Final Cut Pro, tidied in a window: a real bus, the demo host on it, and
// the command line beside it.
#include "app/TerminationSignals.h"
#include "tests/app/AppTest.h"
#include "tests/cli/Program.h"
#include "tests/hosts/BusTest.h"
#include "xml/XMLDocument.h"

#include <QElapsedTimer>
#include <QListWidget>
#include <QMenuBar>
#include <QTimer>

#include <csignal>

namespace reelsweep::test {
namespace {

std::string inOneLayout(const std::string& bytes) {
    const auto document = XMLDocument::parse(bytes);
    return document ? document->serialise(XMLFormat::pretty) : document.failure().description();
}

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
        EXPECT_TRUE(click(child<QPushButton>(list->window(), "openBtn")));
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
    // The command line keeps the layout of the lines that were there, the host has one of its own.
    const std::string expected = withoutUuids(inOneLayout(workplace.read("film-Tidied.xml")));
    EXPECT_NE(expected.find("<bin>"), std::string::npos);
    EXPECT_EQ(withoutUuids(inOneLayout(contentsOf(a))), expected);
    EXPECT_EQ(withoutUuids(inOneLayout(contentsOf(b))), expected);
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

// The time-out of the host's answers is a minute: whoever waited for one would take that long.
class Promptly {
public:
    Promptly() { clock_.start(); }
    ~Promptly() { EXPECT_LT(clock_.elapsed(), 30'000); }
    Promptly(const Promptly&) = delete;
    Promptly& operator=(const Promptly&) = delete;

private:
    QElapsedTimer clock_;
};

TEST_F(NativeWindowTest, GoesWhileTheHostIsSilent) {
    const std::string path = host.openProject("a.fcp", film);
    for (const char* const silent : {"eTCX drop", "fcLP drop"}) {
        SCOPED_TRACE(silent);
        const Promptly promptly;
        host.setFaults(silent);
        const QPointer<DocumentWindow> window = controller.documents().open(toQString(path));
        ASSERT_TRUE(window);
        EXPECT_TRUE(comesTrue([&] { return window->isVisible(); }));
        window->close();
        EXPECT_TRUE(comesTrue([&] { return !window; }));
        EXPECT_EQ(shownAlert(), nullptr);
    }
}

TEST_F(NativeWindowTest, AsksForProjectsOnceAndGivesThatUpWhenItIsToEnd) {
    host.openProject("a.fcp", film);
    ASSERT_TRUE(offersProjects());
    host.setFaults("fcLP drop");
    const Promptly promptly;
    {
        bool asked = false;
        const TerminationSignals requests([&] {
            asked = true;
            controller.terminate();
        });
        // While the answer is waited for.
        QTimer::singleShot(0, [&] {
            chooseProjects();
            ::raise(SIGTERM);
        });
        chooseProjects();
        EXPECT_TRUE(asked);
        EXPECT_EQ(projectList(), nullptr);
    }
    host.setFaults("");
    chooseProjects();
    ASSERT_TRUE(projectList());
    EXPECT_EQ(projectList()->count(), 1);
}

TEST_F(NativeWindowTest, SendsOnceAndClosesWhileTheHostIsSilent) {
    host.openProject("a.fcp", film);
    ASSERT_TRUE(offersProjects());
    chooseProjects();
    const QPointer<DocumentWindow> window = openFromList(0);
    tick(window, 0);
    host.setFaults("iXML drop");
    const Promptly promptly;
    QTimer::singleShot(0, [&] {
        EXPECT_TRUE(window->isRunning());
        menuItem(window, "sendToFCP:")->trigger();
        EXPECT_TRUE(window->isRunning());
        EXPECT_FALSE(window->close());
    });
    menuItem(window, "sendToFCP:")->trigger();
    EXPECT_TRUE(comesTrue([&] { return !window; }));
    EXPECT_EQ(shownAlert(), nullptr);
}

TEST_F(NativeWindowTest, CancelsARunThatTheHostKeepsWaiting) {
    host.openProject("a.fcp", film);
    ASSERT_TRUE(offersProjects());
    chooseProjects();
    DocumentWindow* const window = openFromList(0);
    tick(window, 0);
    setOptions(window, {"removeDisabledVideoClips"});
    const std::pair<const char*, const char*> rows[] = {{"gXML drop", "Fetching XML"},
                                                        {"iXML drop", "Sending to"}};
    for (const auto& [silent, label] : rows) {
        SCOPED_TRACE(silent);
        host.setFaults(silent);
        const Promptly promptly;
        EXPECT_TRUE(click(processButton(window)));
        EXPECT_TRUE(comesTrue([&, label = QString(label)] {
            return child<QLabel>(window, "progressLabel")->text().startsWith(label);
        }));
        window->cancelProgress();
        EXPECT_TRUE(ends(window));
        EXPECT_EQ(shownAlert(), nullptr);
        EXPECT_TRUE(window->isVisible());
    }
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
