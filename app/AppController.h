// AppController: the application: start-up, menus that belong to no document, shut-down.
//
// Owner: main. Thread rule: main thread.
#pragma once

#include "app/DocumentController.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

class QFileDialog;
class QMainWindow;

namespace reelsweep {

class StartWindow;

class AppController final : public QObject {
    Q_OBJECT

public:
    /// Starts the log and registers the default settings. A platform must be installed.
    AppController();
    ~AppController() override;

    /// Opens what the program was started with, or shows the start window.
    void applicationDidFinishLaunching(const QStringList& files);
    /// Shows the open panel, if the user wants that at the start.
    void performStartupAction();
    /// The program ends.
    void applicationWillTerminate();

    /// Shows the panel in which files are chosen to be opened.
    void openFile();

    DocumentController& documents() { return documents_; }

private:
    void registerDefaults();
    void showStartWindow();
    void windowMade(DocumentWindow* window);

    DocumentController documents_;
    QPointer<StartWindow> startWindow_;
    QPointer<QFileDialog> openPanel_;
};

}  // namespace reelsweep
