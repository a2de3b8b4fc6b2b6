// reelsweep-shots FOLDER [PREFIX] [dark]: pictures of every window and state, to be looked at.
//
// Everything is real: the windows, the sample project, a run over it. HOME should be a folder of
// its own.
#include "app/InterfaceDescription.h"
#include "app/ManualWindow.h"
#include "app/RulesPage.h"
#include "app/StartWindow.h"
#include "platform/posix/CommandLinePlatform.h"
#include "platform/qt/QtAlertPresenter.h"
#include "platform/qt/QtMainThread.h"
#include "tests/app/AppTest.h"
#include "tests/timeline/Timeline.h"

#include <QComboBox>
#include <QIcon>
#include <QLineEdit>
#include <QStyleFactory>
#include <QTabWidget>

#include <cstdio>

namespace reelsweep::test {
namespace {

QPalette darkPalette() {
    QPalette palette(QColor(53, 53, 53), QColor(35, 35, 35));
    palette.setColor(QPalette::Base, QColor(38, 38, 38));
    palette.setColor(QPalette::AlternateBase, QColor(46, 46, 46));
    palette.setColor(QPalette::Window, QColor(53, 53, 53));
    palette.setColor(QPalette::Highlight, QColor(61, 110, 165));
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText,
                            QPalette::HighlightedText, QPalette::BrightText})
        palette.setColor(role, QColor(235, 235, 235));
    palette.setColor(QPalette::PlaceholderText, QColor(150, 150, 150));
    palette.setColor(QPalette::Link, QColor(120, 170, 230));
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(130, 130, 130));
    return palette;
}

class Photographer {
public:
    Photographer(QString folder, QString prefix)
        : folder_(std::move(folder)), prefix_(std::move(prefix)) {}

    void take(QWidget* window, const char* name) {
        const bool exposed = QTest::qWaitForWindowExposed(window);
        QCoreApplication::processEvents();
        if (!exposed || !window->grab().save(folder_ + '/' + prefix_ + name + ".png")) {
            std::fprintf(stderr, "reelsweep-shots: cannot write %s\n", name);
            failed_ = true;
        }
    }
    void answer(const char* button) {
        if (answerAlert(button)) return;
        std::fprintf(stderr, "reelsweep-shots: no alert with the button %s\n", button);
        failed_ = true;
    }
    bool failed() const { return failed_; }

private:
    QString folder_;
    QString prefix_;
    bool failed_ = false;
};

void closeDown(DocumentWindow* window) {
    window->setWindowModified(false);
    window->close();
}

void tickOptions(const DocumentWindow* window, bool on) {
    for (QCheckBox* const box : window->findChildren<QCheckBox*>())
        if (box->objectName().endsWith("CheckBox")) box->setChecked(on);
}

void waitForTimeline(const DocumentWindow* window, const char* note) {
    comesTrue([&] { return child<QLabel>(window, "timelineNote")->text().startsWith(note); });
}

// Selects a clip that has moved, in the timeline and in the list.
void showMovedClip(const DocumentWindow* window) {
    auto* const tree = child<QTreeView>(window, "changesTree");
    const QModelIndexList moved =
        tree->model()->match(tree->model()->index(0, 0), Qt::DisplayRole, "moved", 5,
                             Qt::MatchStartsWith | Qt::MatchRecursive);
    if (!moved.isEmpty()) tree->setCurrentIndex(moved.constLast());
}

// What is asked before a result would be lost.
void shootQuestions(DocumentWindow* window, AppController& controller, Photographer& photographer) {
    window->process();
    alertText();
    photographer.take(shownAlert(), "alert-second-run");
    photographer.answer("Cancel");
    window->save();
    alertText();
    photographer.take(shownAlert(), "alert-save-over");
    photographer.answer("Cancel");
    child<QLineEdit>(window, "changesFilter")->setText("disabled");
    comesTrue([&] { return child<QLabel>(window, "changesTotals")->text().contains(" of "); });
    photographer.take(window, "document-changes-filtered");
    window->close();
    alertText();
    photographer.take(shownAlert(), "alert-close");
    photographer.answer("Cancel");
    controller.terminate();
    photographer.take(shown<QDialog>("unsavedDialog"), "quit");
    shown<QDialog>("unsavedDialog")->reject();
    window->closeDiscarding();
}

void shootDocument(AppController& controller, Photographer& photographer) {
    DocumentWindow* const window =
        controller.documents().open(REELSWEEP_SOURCE_FOLDER "/resources/sample/harbour.xml");
    comesTrue([&] { return window->hasSequences(); });
    waitForTimeline(window, "Not ticked");
    photographer.take(window, "document-opened");
    window->selectAllSequences(true);
    child<QTableView>(window, "sequenceTableView")->selectRow(2);
    waitForTimeline(window, "Preview");
    photographer.take(window, "document-ticked");
    child<QTabWidget>(window, "tabs")->setCurrentIndex(2);
    photographer.take(window, "document-rules");
    child<QLineEdit>(window, "excludeTracksEdit")->setText("V3");
    child<QLineEdit>(window, "filtersKeepEdit")->setText("Color*; Gaussian Blur");
    photographer.take(window, "document-rules-filled");
    window->findChild<RulesPage*>()->setRules({});
    child<QTabWidget>(window, "tabs")->setCurrentIndex(0);
    window->process();
    auto* const sheet = child<QDialog>(window, "windowProgress");
    comesTrue([&] { return sheet->isVisible() || shownAlert(); });
    alertText();
    photographer.take(shownAlert(), "alert-complete");
    photographer.answer("Not Now");
    comesTrue([&] { return !window->isRunning(); });
    showMovedClip(window);
    photographer.take(window, "document-changes");
    child<QTabWidget>(window, "tabs")->setCurrentIndex(0);
    photographer.take(window, "document-results");
    child<QTabWidget>(window, "tabs")->setCurrentIndex(1);
    child<QComboBox>(window, "changesOrder")->setCurrentIndex(1);
    photographer.take(window, "document-changes-by-pass");
    child<QComboBox>(window, "changesOrder")->setCurrentIndex(0);
    shootQuestions(window, controller, photographer);
}

void shootProgress(AppController& controller, Photographer& photographer) {
    // The sheet, as it is while a run is going.
    auto* const busy =
        controller.documents().open(REELSWEEP_SOURCE_FOLDER "/resources/sample/harbour.xml");
    auto* const progress = busy->findChild<ProgressSheet*>("windowProgress");
    progress->begin();
    progress->setSequence("Reel 2", 3, 13);
    progress->setLabelText("Removing disabled video clips...");
    photographer.take(progress, "progress");
    progress->end();
    closeDown(busy);
}

void shootOthers(AppController& controller, Photographer& photographer,
                 const TemporaryFolder& folder) {
    DocumentWindow* const fcpx =
        controller.documents().open(REELSWEEP_SOURCE_FOLDER "/resources/sample/harbour.fcpxml");
    photographer.take(fcpx, "fcpxml-opened");
    tickOptions(fcpx, true);
    photographer.take(fcpx, "fcpxml-ticked");
    fcpx->process();
    alertText();
    photographer.take(shownAlert(), "alert-fcpxml");
    photographer.answer("Not Now");
    comesTrue([&] { return !fcpx->isRunning(); });
    photographer.take(fcpx, "fcpxml-changes");
    tickOptions(fcpx, false);
    closeDown(fcpx);

    writeFile(folder / "cut.xml",
              "<xmeml version=\"5\">" +
                  sequenceXML("S: {<rate><timebase>25</timebase></rate>} V1: Wide[0,100) "
                              "!Spare[100,150) x[160,180) Close[-1,300) "
                              "V2: Insert[20,60)") +
                  "</xmeml>");
    DocumentWindow* const cut = controller.documents().open(toQString(folder / "cut.xml"));
    comesTrue([&] { return cut->hasSequences(); });
    waitForTimeline(cut, "Preview");
    photographer.take(cut, "document-without-project-opened");
    child<QCheckBox>(cut, "removeVideoTransitionsCheckBox")->setChecked(true);
    cut->selectAllSequences(true);
    cut->process();
    alertText();
    photographer.take(shownAlert(), "alert-no-project");
    photographer.answer("Not Now");
    comesTrue([&] { return !cut->isRunning(); });
    photographer.take(cut, "document-without-project");
    closeDown(cut);

    writeFile(folder / "broken.xml", "<xmeml version=\"5\">\n<sequence>\n");
    controller.documents().open(toQString(folder / "broken.xml"));
    alertText();
    photographer.take(shownAlert(), "alert-broken");
    photographer.answer("OK");

    Platform::current().userDefaults->setObject(
        "ignoredFilters", PropertyList::Array{PropertyList("Colour Corrector 3-way")});
    controller.showPreferences();
    photographer.take(shown<QWidget>("preferencesWindow"), "preferences");
    controller.showAboutDialog();
    photographer.take(shown<QWidget>("QVAbout"), "about");
    showManual(nullptr);
    photographer.take(shown<QWidget>("manual"), "manual");
    controller.openFCPProject();
    photographer.take(shown<QDialog>("QVFCPProjectLoader"), "project-loader");
}

int run(const QStringList& arguments) {
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    if (arguments.contains("dark")) QApplication::setPalette(darkPalette());
    Platform::current().userDefaults->setObject("showOpenDialogAtStartup", 0);
    Photographer photographer(arguments.value(1), arguments.value(2));
    const TemporaryFolder folder;
    AppController controller;
    controller.applicationDidFinishLaunching({});
    controller.documents().clearRecentFiles();
    photographer.take(shown<StartWindow>(), "start");
    shootDocument(controller, photographer);
    shootProgress(controller, photographer);
    shootOthers(controller, photographer, folder);
    return photographer.failed() ? 1 : 0;
}

}  // namespace
}  // namespace reelsweep::test

int main(int argc, char** argv) {
    using namespace reelsweep;
    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName("Reelsweep");
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(QIcon(":/images/com.quorvane.Reelsweep.svg"));
    if (argc < 2) {
        std::fputs("usage: reelsweep-shots FOLDER [PREFIX] [dark]\n", stderr);
        return 2;
    }
    Platform platform = commandLinePlatform();
    platform.mainThread = std::make_unique<QtMainThread>();
    platform.alertPresenter = std::make_unique<QtAlertPresenter>();
    Platform::install(std::move(platform));
    return test::run(QApplication::arguments());
}
