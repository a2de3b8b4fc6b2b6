// AppController: the application: start-up, menus that belong to no document, shut-down.
//
// Owner: main. Thread rule: main thread.
#pragma once

#include "app/DocumentController.h"
#include "app/ProjectLoaderDialog.h"
#include "app/QVAboutDialogController.h"
#include "services/QVSoftwareUpdate.h"
#include "services/RunMarker.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

#include <optional>

class QFileDialog;
class QMainWindow;

namespace reelsweep {

class PreferencesWindow;
class StartWindow;
class UnsavedDialog;

class AppController final : public QObject {
    Q_OBJECT

public:
    /// Notices a crash of the last run, starts a new log and registers the default settings. A
    /// platform must be installed.
    AppController();
    ~AppController() override;

    /// Opens what the program was started with, or shows the start window.
    void applicationDidFinishLaunching(const QStringList& files);
    /// Shows the open panel, if the user wants that at the start.
    void performStartupAction();
    /// Closes all windows, and so ends the program, unless one of them stays. What is not saved is
    /// asked about before any is closed.
    void terminate();
    /// Records that the program ends as it should, and writes what is kept of its use.
    void applicationWillTerminate();

    /// Shows the panel in which files are chosen to be opened.
    void openFile();

    /// Shows the projects that Final Cut Pro has open, to choose from.
    void openFCPProject() { projectLoader_.showOpenDialog(); }
    /// True while a Final Cut Pro runs, whose projects could be opened.
    static bool isFinalCutProRunning();

    void showPreferences();
    void showAboutDialog();

    // Help menu
    static void helpUserManual();
    static void helpCutbenchHome();
    static void helpReportBug();
    static void helpSuggestFeature();
    static void helpSupport();
    static void helpQVHome();
    static void menuSoftwareUpdate();
    static void viewLog();
    static void viewTaskLog();
    static void gatherLogs();

    DocumentController& documents() { return documents_; }

private:
    void markRun();
    void registerDefaults();
    void showStartWindow();
    void windowMade(DocumentWindow* window);

    std::optional<RunMarker> runMarker_;
    DocumentController documents_;
    QPointer<StartWindow> startWindow_;
    QPointer<QFileDialog> openPanel_;
    QPointer<PreferencesWindow> preferences_;
    QPointer<UnsavedDialog> unsavedDialog_;
    ProjectLoaderDialog projectLoader_;
    QVAboutDialogController about_;
    QVSoftwareUpdate softwareUpdate_;
};

}  // namespace reelsweep
