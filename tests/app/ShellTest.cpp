// The application around its documents: start, menus, preferences, About box, end.
#include "app/InterfaceDescription.h"
#include "app/PreferencesWindow.h"
#include "app/QVSiteLinks.h"
#include "app/StartWindow.h"
#include "services/QVLocalPaths.h"
#include "services/QVLog.h"
#include "tests/app/AppTest.h"
#include "tests/support/Fakes.h"
#include "tests/timeline/Timeline.h"

#include <QDropEvent>
#include <QGroupBox>
#include <QLineEdit>
#include <QListView>
#include <QMenuBar>
#include <QMimeData>
#include <QProcess>
#include <QTabWidget>
#include <QTextBrowser>
#include <QUrl>

#include <filesystem>

#include <unistd.h>

namespace reelsweep::test {
namespace {

QFileDialog* openPanel() { return shown<QFileDialog>(); }
StartWindow* startWindow() { return shown<StartWindow>(); }

TEST_F(AppTest, AsksForFilesAtTheStartOnlyWhenThatIsWanted) {
    controller.applicationDidFinishLaunching({});
    ASSERT_TRUE(startWindow());
    EXPECT_EQ(openPanel(), nullptr);
    EXPECT_TRUE(controller.documents().windows().isEmpty());

    Platform::current().userDefaults->setObject("showOpenDialogAtStartup", 1);
    controller.performStartupAction();
    ASSERT_TRUE(openPanel());
    writeFile(folder / "film.xml", projectXML({sequenceXML("V1: A[0,9)")}));
    openPanel()->selectFile(toQString(folder / "film.xml"));
    QMetaObject::invokeMethod(openPanel(), "accept");
    EXPECT_TRUE(comesTrue([] { return startWindow() == nullptr; }));
    EXPECT_EQ(controller.documents().windows().size(), 1);
}

TEST_F(AppTest, OpensFilesThatAreDroppedOnAWindow) {
    controller.applicationDidFinishLaunching({});
    QList<QUrl> urls;
    for (const char* const name : {"a.xml", "b.xml"}) {
        writeFile(folder / name, projectXML({sequenceXML("V1: A[0,9)")}));
        urls += QUrl::fromLocalFile(toQString(folder / name));
    }
    QMimeData files;
    files.setUrls(urls);
    QDragEnterEvent enter(QPoint(1, 1), Qt::MoveAction | Qt::CopyAction, &files, Qt::LeftButton,
                          {});
    QApplication::sendEvent(startWindow(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(1, 1), Qt::CopyAction | Qt::MoveAction, &files, Qt::LeftButton, {});
    QApplication::sendEvent(startWindow(), &drop);
    EXPECT_EQ(drop.dropAction(), Qt::CopyAction);
    EXPECT_EQ(controller.documents().windows().size(), 2);
}

TEST_F(AppTest, OffersFinalCutProProjectsOnlyWhileItRuns) {
    DocumentWindow* const window = open("film.xml", projectXML({sequenceXML("V1: A[0,9)")}));
    EXPECT_FALSE(menuItem(window, "openFCPProject:")->isEnabled());
    for (const char* const name : {"saveDocument:", "saveDocumentAs:", "revertDocumentToSaved:"})
        EXPECT_TRUE(menuItem(window, name)->isEnabled()) << name;
    EXPECT_EQ(menuItem(window, "saveDocument:")->shortcut(), QKeySequence("Ctrl+S"));
    EXPECT_FALSE(menuItem(window, "exportTidied:")->isEnabled());
    EXPECT_FALSE(menuItem(window, "sendToFCP:")->isVisible());
    EXPECT_TRUE(menuItem(window, "sendToFCP:")->shortcut().isEmpty());

    // A native project goes back to Final Cut Pro where a file is saved.
    writeFile(folder / "film.fcp", "KG");
    DocumentWindow* const native = controller.documents().open(toQString(folder / "film.fcp"));
    ASSERT_TRUE(native);
    EXPECT_NE(alertText().find("The sequences could not be listed"), std::string::npos);
    EXPECT_TRUE(answerAlert("OK"));
    for (const char* const name : {"saveDocument:", "saveDocumentAs:", "revertDocumentToSaved:"})
        EXPECT_FALSE(menuItem(native, name)->isVisible()) << name;
    EXPECT_TRUE(menuItem(native, "saveDocument:")->shortcut().isEmpty());
    EXPECT_TRUE(menuItem(native, "sendToFCP:")->isEnabled());
    EXPECT_EQ(menuItem(native, "sendToFCP:")->shortcut(), QKeySequence("Ctrl+S"));
}

TEST_F(AppTest, OffersNoProjectToOpenWhileFinalCutProHasNone) {
    controller.openFCPProject();
    auto* const dialog = shown<QDialog>("QVFCPProjectLoader");
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->windowModality(), Qt::ApplicationModal);
    EXPECT_FALSE(child<QPushButton>(dialog, "openBtn")->isEnabled());
    QTest::keyClick(dialog, Qt::Key_Escape);
    EXPECT_FALSE(shown<QDialog>("QVFCPProjectLoader"));
}

std::vector<std::string> exclusions() {
    return Platform::current().userDefaults->stringArrayForKey("ignoredFilters");
}

TEST_F(AppTest, EditsTheFilterExclusions) {
    controller.showPreferences();
    auto* const window = shown<PreferencesWindow>();
    ASSERT_TRUE(window);
    auto* const list = child<QListView>(window, "exclusionsList");
    auto* const add = child<QPushButton>(window, "addExclusionBtn");
    auto* const remove = child<QPushButton>(window, "removeExclusionBtn");
    ASSERT_TRUE(list && add && remove);
    EXPECT_FALSE(remove->isEnabled());
    EXPECT_TRUE(click(add));
    EXPECT_EQ(exclusions(), std::vector<std::string>{""});
    // The new row is being edited, where it can be seen.
    auto* const editor = list->findChild<QLineEdit*>();
    ASSERT_TRUE(editor);
    EXPECT_TRUE(editor->isVisible());
    EXPECT_GE(editor->height(), editor->fontMetrics().height());
    QTest::keyClicks(editor, "Blur");
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_TRUE(comesTrue([] { return exclusions() == std::vector<std::string>{"Blur"}; }));
    list->clearSelection();
    EXPECT_FALSE(remove->isEnabled());
    list->selectAll();
    EXPECT_TRUE(click(remove));
    EXPECT_TRUE(exclusions().empty());
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(AppTest, OpensItsDialogsAndTheManualOverTheirParent) {
    DocumentWindow* const window = open("film.xml", projectXML({sequenceXML("V1: A[0,9)")}));
    press(window, QKeySequence("Ctrl+,"));
    auto* const preferences = shown<PreferencesWindow>();
    ASSERT_TRUE(preferences);
    const QPoint middle = preferences->frameGeometry().center() - window->frameGeometry().center();
    EXPECT_LE(middle.manhattanLength(), 60);
    preferences->close();
    press(window, QKeySequence::HelpContents);
    auto* const manual = shown<QTextBrowser>();
    ASSERT_TRUE(manual);
    EXPECT_NE(manual->toPlainText().indexOf("Leave This Clip Alone"), -1);
    ASSERT_TRUE(comesTrue([&] { return manual->isActiveWindow(); }));
    QTest::keyClick(manual, Qt::Key_Escape);
    EXPECT_TRUE(comesTrue([] { return !shown<QTextBrowser>(); }));
}

// The keys after Alt of what a window shows.
QStringList altKeys(QWidget* window) {
    QStringList keys;
    const auto add = [&](const QString& text) {
        const QKeySequence key = QKeySequence::mnemonic(text);
        if (!key.isEmpty()) keys += key.toString();
    };
    for (const auto* const button : window->findChildren<QAbstractButton*>()) add(button->text());
    for (const auto* const label : window->findChildren<QLabel*>())
        if (label->buddy()) add(label->text());
    for (const auto* const box : window->findChildren<QGroupBox*>()) add(box->title());
    for (const auto* const tabs : window->findChildren<QTabWidget*>())
        for (int page = 0; page < tabs->count(); ++page) add(tabs->tabText(page));
    for (const auto* const bar : window->findChildren<QMenuBar*>())
        for (const QAction* const menu : bar->actions()) add(menu->text());
    return keys;
}

TEST_F(AppTest, GivesNoKeyToTwoThingsOfAWindow) {
    controller.applicationDidFinishLaunching({});
    open("film.xml", projectXML({sequenceXML("V1: A[0,9)")}));
    open("film.fcpxml", "<fcpxml><project><sequence/></project></fcpxml>");
    controller.showPreferences();
    controller.showAboutDialog();
    controller.openFCPProject();
    int windows = 0;
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (!window->isVisible()) continue;
        QStringList keys = altKeys(window);
        const auto all = keys.size();
        EXPECT_EQ(keys.removeDuplicates(), 0)
            << toText(window->windowTitle()) << " of " << all << ": " << toText(keys.join(' '));
        ++windows;
    }
    EXPECT_EQ(windows, 5);
}

TEST_F(AppTest, StoresWhetherUsageMayBeLogged) {
    const std::string path = *QVLocalPaths::prefsDirectory(true) + "/com.quorvane.qc.plist";
    PreferencesWindow window;
    auto* const box = child<QCheckBox>(&window, "usageLoggingCheckBox");
    for (const bool on : {true, false}) {
        box->setChecked(on);
        const auto settings = readPropertyList(path);
        ASSERT_TRUE(settings && settings->find("logQC"));
        EXPECT_EQ(settings->find("logQC")->boolValue(), on);
        EXPECT_EQ(PreferencesWindow().findChild<QCheckBox*>("usageLoggingCheckBox")->isChecked(),
                  on);
    }
}

TEST_F(AppTest, SaysWhatItIs) {
    controller.showAboutDialog();
    auto* const window = shown<QWidget>("QVAbout");
    ASSERT_TRUE(window);
    const std::string version = *Platform::current().bundle->infoValue("CFBundleVersion");
    EXPECT_EQ(toText(child<QLabel>(window, "versionLabel")->text()), "Version " + version);
    EXPECT_EQ(toText(window->windowTitle()), "About Reelsweep");
    EXPECT_TRUE(QTest::qWaitForWindowActive(window));
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_FALSE(shown<QWidget>("QVAbout"));
}

TEST_F(AppTest, TakesTheClosingOfAQuestionForNoAnswer) {
    const struct {
        const char* alternate;
        bool escapes;
        long answer;
    } rows[] = {{"More Info", false, alertDismissedReturn},
                {"More Info", true, alertDismissedReturn},
                {"Cancel", false, alertAlternateReturn},
                {"Cancel", true, alertAlternateReturn}};
    for (const auto& row : rows) {
        AlertReply reply;
        std::optional<long> answer;
        reply.ask("May we?", "", {"Allow", row.alternate, "Don't Allow"}, {},
                  [&](long code) { answer = code; });
        ASSERT_EQ(alertText(), "May we?: ");
        if (row.escapes)
            QTest::keyClick(shownAlert(), Qt::Key_Escape);
        else
            shownAlert()->close();
        ASSERT_TRUE(comesTrue([&] { return answer.has_value(); }));
        EXPECT_EQ(*answer, row.answer) << row.alternate;
        QTest::qWait(0);
    }
}

TEST_F(AppTest, SaysThatThereIsNoUpdater) {
    menuItem(open("film.xml", projectXML({sequenceXML("V1:")})), "menuSoftwareUpdate:")->trigger();
    EXPECT_NE(alertText().find("There is no updater"), std::string::npos);
    EXPECT_TRUE(answerAlert("OK"));
}

TEST_F(AppTest, SaysWhichWindowIsMissing) {
    InterfaceDescription::setFolder(":/nowhere");
    std::string shown;
    QTimer looking;
    QObject::connect(&looking, &QTimer::timeout, [&] {
        if (!shownAlert()) return;
        shown += alertText() + "\n";
        EXPECT_TRUE(answerAlert("OK"));
    });
    looking.start(1);
    controller.showAboutDialog();
    controller.openFCPProject();
    InterfaceDescription::setFolder(":/interface");
    const std::string about = "Error: unable to load About dialog.";
    const std::string report = "Please report this error to Quorvane.";
    EXPECT_EQ(shown, about + ": " + report +
                         "\nCritical error: unable to load FCP project loader dialog.: "
                         "You must reinstall the application.\n");
    QVLog::finishWriting();
    EXPECT_NE(contentsOf(QVLog::availableLogs().at(0)).find(about + " " + report),
              std::string::npos);
}

TEST_F(AppTest, LeadsToPagesOfTheSiteWhenThereIsOne) {
    EXPECT_FALSE(QVSiteLinks::quorvaneURL());
    QMainWindow without;
    const MainMenu plain(&without, controller, nullptr);
    EXPECT_EQ(plain.item("helpSupport:"), nullptr);

    std::unique_ptr<Bundle> bundle =
        std::make_unique<FakeBundle>("", FakeBundle::Info{{"QVSiteRoot", "https://example.org"},
                                                          {"CFBundleShortVersionString", "1.2 b"}});
    bundle.swap(Platform::current().bundle);
    QMainWindow with;
    const MainMenu full(&with, controller, nullptr);
    EXPECT_NE(full.item("helpSupport:"), nullptr);
    const std::string root = "https://example.org";
    const std::optional<std::string> sub = "cut bench";
    const std::pair<QVSiteLinks::URL, std::string> rows[] = {
        {QVSiteLinks::quorvaneURL(), ""},
        {QVSiteLinks::cutbenchURL(), "/cutbench"},
        {QVSiteLinks::supportURLForAppName("cutbench"), "/support/cutbench"},
        {QVSiteLinks::bugReportURLWithAppName("a", sub),
         "/support/a/bugreport/?app=cut bench&version=1.2%20b"},
        {QVSiteLinks::bugReportURLWithAppName("a", {}), "/support/a/bugreport/?version=1.2%20b"},
        {QVSiteLinks::bugReportURLWithAppName("a", {}, {}), "/support/a/bugreport/"},
        {QVSiteLinks::featureRequestURLWithAppName("a", sub),
         "/support/a/featurerequest/?app=cut bench"},
    };
    for (const auto& [address, path] : rows) EXPECT_EQ(address, root + path);
    bundle.swap(Platform::current().bundle);
}

// The program itself, in a home of its own.
class RunningProgram {
public:
    explicit RunningProgram(const std::string& home) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", toQString(home));
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        process_.setProcessEnvironment(environment);
        if (::geteuid() == 0) {
            // The log of root lies elsewhere; an ordinary user's is what matters here.
            constexpr uid_t nobody = 65534;
            std::filesystem::permissions(home, std::filesystem::perms::all);
            process_.setChildProcessModifier(
                [] { [[maybe_unused]] const int done = ::setuid(nobody); });
        }
        process_.start(REELSWEEP_APP, QStringList());
    }
    QProcess& process() { return process_; }
    bool ends() { return process_.waitForFinished(10'000); }

private:
    QProcess process_;
};

std::string logsOf(const std::string& home) {
    std::string text;
    for (const char* const number : {"1", "2", "3"})
        text += contentsOf(home + "/Library/Logs/Quorvane/Reelsweep." + number + ".log");
    return text;
}

bool hasLaunched(const std::string& home) {
    const std::string settings = home + "/Library/Preferences/com.quorvane.Reelsweep.plist";
    const auto list = readPropertyList(settings);
    return list && list->find("launch") && !logsOf(home).empty();
}

TEST(Program, NoticesThatItsLastRunCrashedButNotThatItWasAskedToEnd) {
    const struct {
        bool killed;
        bool noticed;
    } rows[] = {{false, false}, {true, true}};
    for (const auto& row : rows) {
        const TemporaryFolder home;
        RunningProgram first(home.path());
        ASSERT_TRUE(comesTrue([&] { return hasLaunched(home.path()); }));
        row.killed ? first.process().kill() : first.process().terminate();
        ASSERT_TRUE(first.ends());
        RunningProgram second(home.path());
        ASSERT_TRUE(comesTrue([&] {
            return !contentsOf(home / "Library/Logs/Quorvane/Reelsweep.2.log").empty() &&
                   !contentsOf(home / "Library/Logs/Quorvane/Reelsweep.1.log").empty();
        }));
        second.process().terminate();
        ASSERT_TRUE(second.ends());
        EXPECT_EQ(second.process().exitCode(), 0);
        EXPECT_EQ(
            logsOf(home.path()).find("Application crashed on last launch") != std::string::npos,
            row.noticed);
    }
}

TEST(Program, AnswersQuestionsAboutItselfWithoutADisplay) {
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "xcb");
    environment.remove("DISPLAY");
    program.setProcessEnvironment(environment);
    program.start(REELSWEEP_APP, {"--help"});
    ASSERT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_EQ(toText(program.readAllStandardOutput()).substr(0, 26), "usage: reelsweep [FILE...]");
}

}  // namespace
}  // namespace reelsweep::test
