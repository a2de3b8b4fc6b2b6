#include "app/AppController.h"

#include "app/DocumentWindow.h"
#include "app/FileDrop.h"
#include "app/MainMenu.h"
#include "app/ManualWindow.h"
#include "app/OptionBoxes.h"
#include "app/Placement.h"
#include "app/PreferencesWindow.h"
#include "app/QVSiteLinks.h"
#include "app/StartWindow.h"
#include "app/Text.h"
#include "app/UnsavedDialog.h"
#include "platform/Platform.h"
#include "platform/qt/WindowRefs.h"
#include "services/QVAlert.h"
#include "services/QVBugReporter.h"
#include "services/QVLocalPaths.h"
#include "services/QVLog.h"
#include "services/QVQC.h"
#include "services/QVTroubleshootingUtils.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <functional>

namespace reelsweep {

namespace {

constexpr const char* logName = "Reelsweep";
constexpr const char* openPanelKey = "showOpenDialogAtStartup";
// Files that the desktop hands over may come a little later than the start.
constexpr std::chrono::seconds startupPause{1};

constexpr const char* aboutFailure = "Error: unable to load About dialog.";
constexpr const char* reportProblem = "Please report this error to Quorvane.";
constexpr std::string_view webName = "cutbench";

// The name of this program on web forms.
std::string shortName() {
    return Platform::current().bundle->infoValue("QVShortName").value_or("cut_bench");
}

void openPage(const QVSiteLinks::URL& address) {
    if (address) Platform::current().workspace->openURL(*address);
}

}  // namespace

AppController::AppController()
    : projectLoader_(
          [this](const QString& path) { documents_.open(path, tr("Error loading project")); }) {
    // Before the log is a new one: what is said of the last run belongs to that run's log.
    QVLog::sharedController().setAppName(logName);
    markRun();
    QVBugReporter::startBugReporter();
    QVLog::createNewLog(logName, true);
    registerDefaults();
    connect(&documents_, &DocumentController::windowMade, this, &AppController::windowMade);
    connect(qApp, &QGuiApplication::lastWindowClosed, this,
            [this] { projectLoader_.stopAsking(); });
}

AppController::~AppController() { delete preferences_; }

void AppController::markRun() {
    const auto caches = QVLocalPaths::cacheDirectory(true);
    const auto logs = QVLocalPaths::logDirectory(true);
    const auto program = Platform::current().bundle->infoValue("CFBundleName");
    if (caches && logs && program)
        runMarker_.emplace(*caches + "/Quorvane/Running", *logs + "/DiagnosticReports", *program);
}

void AppController::registerDefaults() {
    OptionBoxes::registerDefaults();
    Platform::current().userDefaults->registerDefaults({{openPanelKey, PropertyList(1)}});
}

void AppController::applicationDidFinishLaunching(const QStringList& files) {
    softwareUpdate_.awakeFromNib();
    documents_.open(files);
    if (documents_.windows().isEmpty()) {
        showStartWindow();
        if (files.isEmpty()) performStartupAction();
    }
    QTimer::singleShot(startupPause, this, [this] {
        const QWidgetList windows = QApplication::topLevelWidgets();
        // Which window is active is the window manager's affair, and may come late.
        if (std::none_of(windows.begin(), windows.end(), std::mem_fn(&QWidget::isVisible)))
            performStartupAction();
    });
    QVQC::sharedController().loadQC({});
}

void AppController::performStartupAction() {
    if (Platform::current().userDefaults->integerForKey(openPanelKey) == 1) openFile();
}

void AppController::terminate() {
    projectLoader_.stopAsking();
    // The sheet of a run is a window too, and to close that one cancels the run unasked.
    bool anyStays = false;
    for (DocumentWindow* const window : documents_.windows())
        if (window->isRunning() && !window->close()) anyStays = true;
    if (anyStays) return;
    QList<DocumentWindow*> unsaved;
    for (DocumentWindow* const window : documents_.windows())
        if (window->hasUnsavedResult()) unsaved += window;
    if (unsaved.isEmpty()) {
        QApplication::closeAllWindows();
        return;
    }
    if (unsavedDialog_) return;
    unsavedDialog_ = new UnsavedDialog(unsaved, QApplication::activeWindow());
    connect(unsavedDialog_, &UnsavedDialog::settled, this, [this] {
        for (DocumentWindow* const window : documents_.windows()) window->closeDiscarding();
        QApplication::closeAllWindows();
    });
    unsavedDialog_->show();
}

void AppController::applicationWillTerminate() {
    QVBugReporter::stopBugReporter();
    runMarker_.reset();
    QVQC::sharedController().willTerminate();
}

bool AppController::isFinalCutProRunning() {
    const auto running = Platform::current().workspace->runningApplicationIdentifiers();
    return std::find(running.begin(), running.end(), "com.apple.FinalCutPro") != running.end();
}

void AppController::showPreferences() {
    if (!preferences_) {
        preferences_ = new PreferencesWindow;
        placeOver(*preferences_, QApplication::activeWindow());
    }
    preferences_->show();
    preferences_->raise();
    preferences_->activateWindow();
}

void AppController::showAboutDialog() {
    if (about_.show()) return;
    QVLog::appendLog("%@ %@", aboutFailure, reportProblem);
    QVAlert::alertSheet(aboutFailure, reportProblem, {});
}

// The manual of the whole group of programs, where somebody has it; else the program's own.
void AppController::helpUserManual() {
    const auto library = QVLocalPaths::libraryDirectory(false);
    const std::string manual =
        library.value_or("") + "/Documentation/Quorvane/Cutbench User Manual.pdf";
    if (library && QFileInfo::exists(toQString(manual)) &&
        Platform::current().workspace->openFile(manual))
        return;
    showManual(QApplication::activeWindow());
}

void AppController::helpCutbenchHome() { openPage(QVSiteLinks::cutbenchURL()); }

void AppController::helpReportBug() {
    openPage(QVSiteLinks::bugReportURLWithAppName(webName, shortName()));
}

void AppController::helpSuggestFeature() {
    openPage(QVSiteLinks::featureRequestURLWithAppName(webName, shortName()));
}

void AppController::helpSupport() { openPage(QVSiteLinks::supportURLForAppName(webName)); }

void AppController::helpQVHome() { openPage(QVSiteLinks::quorvaneURL()); }

// The updater by its identifier, wherever it is installed, else where this family keeps it.
void AppController::menuSoftwareUpdate() {
    Workspace& workspace = *Platform::current().workspace;
    const auto updater = workspace.applicationPath("com.quorvane.SoftwareUpdate");
    if ((updater && workspace.openApplication(*updater)) || QVSoftwareUpdate::manualUpdateCheck())
        return;
    QVAlert::alertSheet(toText(tr("There is no updater on this computer")), {}, {}, {},
                        toText(tr("Updates come with the system's packages.")), {}, false);
}

void AppController::viewLog() { QVTroubleshootingUtils::viewLogForApp(logName); }

void AppController::viewTaskLog() { QVTroubleshootingUtils::viewTaskLogForApp(logName); }

void AppController::gatherLogs() { QVTroubleshootingUtils::gatherLogsForAppWithName(logName); }

void AppController::openFile() {
    if (openPanel_) {
        openPanel_->raise();
        openPanel_->activateWindow();
        return;
    }
    openPanel_ = new QFileDialog(QApplication::activeWindow(),
                                 tr("Browse for a Final Cut Pro project or XML file"));
    openPanel_->setAttribute(Qt::WA_DeleteOnClose);
    openPanel_->setFileMode(QFileDialog::ExistingFiles);
    openPanel_->setNameFilters(
        {tr("Projects and XML files (*.fcp *.xml *.fcpxml *.fcpxmld)"), tr("All files (*)")});
    if (const QStringList recent = DocumentController::recentFiles(); !recent.isEmpty())
        openPanel_->setDirectory(QFileInfo(recent.constFirst()).absolutePath());
    connect(openPanel_, &QFileDialog::filesSelected, &documents_,
            [this](const QStringList& paths) { documents_.open(paths); });
    openPanel_->open();
}

void AppController::showStartWindow() {
    startWindow_ = new StartWindow;
    new MainMenu(startWindow_, *this, nullptr);
    startWindow_->setRecentFiles(DocumentController::recentFiles());
    connect(&documents_, &DocumentController::recentFilesChanged, startWindow_,
            [this] { startWindow_->setRecentFiles(DocumentController::recentFiles()); });
    connect(startWindow_, &StartWindow::openRequested, this, &AppController::openFile);
    connect(startWindow_, &StartWindow::fileChosen, this,
            [this](const QString& path) { documents_.open(path); });
    connect(new FileDrop(startWindow_), &FileDrop::dropped, &documents_,
            [this](const QStringList& paths) { documents_.open(paths); });
    startWindow_->show();
}

void AppController::windowMade(DocumentWindow* window) {
    new MainMenu(window, *this, window);
    connect(new FileDrop(window), &FileDrop::dropped, &documents_,
            [this](const QStringList& paths) { documents_.open(paths); });
    // Only now: a program whose last window goes has ended.
    if (startWindow_) QTimer::singleShot(0, startWindow_, &QObject::deleteLater);
}

}  // namespace reelsweep
