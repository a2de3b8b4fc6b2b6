#include "app/MainMenu.h"

#include "app/AppController.h"
#include "app/DocumentWindow.h"
#include "app/QVSiteLinks.h"
#include "app/Text.h"

#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>

#include <utility>

namespace reelsweep {

namespace {

QAction* separator(QMenu* menu) { return menu->addSeparator(); }

}  // namespace

MainMenu::MainMenu(QMainWindow* window, AppController& controller, DocumentWindow* document)
    : QObject(window), window_(*window), controller_(controller), document_(document) {
    buildFileMenu();
    buildEditMenu();
    if (document_) buildSequenceMenu();
    buildWindowMenu();
    buildHelpMenu();
    if (document_) connect(document_, &DocumentWindow::stateChanged, this, &MainMenu::validate);
    validate();
    validateHost();
}

QAction* MainMenu::item(const char* name) const {
    return findChild<QAction*>(QString::fromLatin1(name));
}

QAction* MainMenu::add(QMenu* menu, const char* name, const QString& text, const QKeySequence& keys,
                       std::function<void()> action) {
    auto* const item = new QAction(text, this);
    item->setObjectName(QString::fromLatin1(name));
    item->setShortcut(keys);
    connect(item, &QAction::triggered, this, [run = std::move(action)] { run(); });
    menu->addAction(item);
    return item;
}

void MainMenu::buildFileMenu() {
    QMenu* const menu = window_.menuBar()->addMenu(tr("&File"));
    connect(menu, &QMenu::aboutToShow, this, &MainMenu::validateHost);
    add(menu, "openFile:", tr("&Open…"), QKeySequence::Open, [this] { controller_.openFile(); });
    add(menu, "openFCPProject:", tr("Open &Final Cut Pro Project…"), {},
        [this] { controller_.openFCPProject(); });
    recentMenu_ = menu->addMenu(tr("Open &Recent"));
    connect(recentMenu_, &QMenu::aboutToShow, this, &MainMenu::fillRecentMenu);
    separator(menu);
    add(menu, "performClose:", tr("&Close"), QKeySequence::Close, [this] { window_.close(); });
    if (document_) {
        add(menu, "saveDocument:", tr("&Save"), QKeySequence::Save, [this] { document_->save(); });
        add(menu, "saveDocumentAs:", tr("Save &As…"), QKeySequence(tr("Ctrl+Shift+S")),
            [this] { document_->saveAs(); });
        add(menu, "revertDocumentToSaved:", tr("Re&vert to Saved"), {},
            [this] { document_->revert(); });
        add(menu, "sendToFCP:", tr("&Send to Final Cut Pro"), QKeySequence::Save,
            [this] { document_->sendToFCP(); });
        separator(menu);
        add(menu, "exportTidied:", tr("Save &Tidied Copy…"), QKeySequence(tr("Ctrl+E")),
            [this] { document_->exportTidied(); });
        add(menu, "exportReport:", tr("Export Re&port…"), QKeySequence(tr("Ctrl+Shift+E")),
            [this] { document_->report().exportReport(); });
    }
    separator(menu);
    add(menu, "terminate:", tr("&Quit"), QKeySequence::Quit, [this] { controller_.terminate(); });
}

void MainMenu::buildEditMenu() {
    QMenu* const menu = window_.menuBar()->addMenu(tr("&Edit"));
    if (document_) {
        add(menu, "copy:", tr("&Copy"), QKeySequence::Copy, [this] {
            auto* const field = qobject_cast<QLineEdit*>(QApplication::focusWidget());
            if (field && field->hasSelectedText())
                field->copy();
            else
                document_->report().copySelection();
        });
        add(menu, "findChanges:", tr("&Find in Changes"), QKeySequence::Find,
            [this] { document_->findChanges(); });
        separator(menu);
    }
    add(menu, "showPreferences:", tr("P&references…"), QKeySequence(tr("Ctrl+,")),
        [this] { controller_.showPreferences(); });
}

void MainMenu::buildSequenceMenu() {
    QMenu* const menu = window_.menuBar()->addMenu(tr("&Sequence"));
    add(menu, "process:", tr("&Process"), QKeySequence(tr("Ctrl+Return")),
        [this] { document_->process(); });
    separator(menu);
    add(menu, "tickAll:", tr("&Tick All"), QKeySequence(tr("Ctrl+T")),
        [this] { document_->selectAllSequences(true); });
    add(menu, "untickAll:", tr("&Untick All"), QKeySequence(tr("Ctrl+Shift+T")),
        [this] { document_->selectAllSequences(false); });
}

void MainMenu::buildWindowMenu() {
    windowMenu_ = window_.menuBar()->addMenu(tr("&Window"));
    connect(windowMenu_, &QMenu::aboutToShow, this, &MainMenu::fillWindowMenu);
}

void MainMenu::buildHelpMenu() {
    QMenu* const menu = window_.menuBar()->addMenu(tr("&Help"));
    add(menu, "helpUserManual:", tr("User &Manual"), QKeySequence::HelpContents,
        AppController::helpUserManual);
    // Without a web site there are no pages to show.
    if (QVSiteLinks::quorvaneURL()) {
        add(menu, "helpCutbenchHome:", tr("Cutbench &Home Page"), {},
            AppController::helpCutbenchHome);
        add(menu, "helpSupport:", tr("&Support"), {}, AppController::helpSupport);
        add(menu, "helpReportBug:", tr("Report a &Bug…"), {}, AppController::helpReportBug);
        add(menu, "helpSuggestFeature:", tr("Suggest a &Feature…"), {},
            AppController::helpSuggestFeature);
        add(menu, "helpQVHome:", tr("&Quorvane Home Page"), {}, AppController::helpQVHome);
    }
    QMenu* const logs = menu->addMenu(tr("&Logs"));
    add(logs, "viewLog:", tr("View &Log"), {}, AppController::viewLog);
    add(logs, "viewTaskLog:", tr("View &Task Log"), {}, AppController::viewTaskLog);
    add(logs, "gatherLogs:", tr("&Gather Logs"), {}, AppController::gatherLogs);
    separator(menu);
    add(menu, "menuSoftwareUpdate:", tr("Check for &Updates…"), {},
        AppController::menuSoftwareUpdate);
    add(menu, "showAboutDialog:", tr("&About Reelsweep"), {},
        [this] { controller_.showAboutDialog(); });
}

void MainMenu::fillRecentMenu() {
    recentMenu_->clear();
    for (const QString& path : DocumentController::recentFiles()) {
        QString name = QFileInfo(path).fileName();
        QAction* const item = recentMenu_->addAction(name.replace('&', "&&"));
        item->setToolTip(path);
        connect(item, &QAction::triggered, this,
                [this, path] { controller_.documents().open(path); });
    }
    recentMenu_->addSeparator();
    connect(recentMenu_->addAction(tr("&Clear Menu")), &QAction::triggered, this,
            [this] { controller_.documents().clearRecentFiles(); });
}

void MainMenu::fillWindowMenu() {
    windowMenu_->clear();
    for (DocumentWindow* const window : controller_.documents().windows()) {
        QString name = QFileInfo(toQString(window->path())).fileName();
        QAction* const item = windowMenu_->addAction(name.replace('&', "&&"));
        item->setCheckable(true);
        item->setChecked(window == &window_);
        connect(item, &QAction::triggered, window, [window] {
            window->raise();
            window->activateWindow();
        });
    }
    if (windowMenu_->isEmpty()) windowMenu_->addAction(tr("No documents"))->setEnabled(false);
}

// The bus is asked for the host, which is too slow for every change of state.
void MainMenu::validateHost() {
    item("openFCPProject:")->setEnabled(AppController::isFinalCutProRunning());
}

void MainMenu::validate() {
    if (!document_) return;
    validateSaving();
    const bool running = document_->isRunning();
    const bool hasReport = document_->hasReport();
    item("exportTidied:")->setEnabled(document_->canExport());
    item("exportReport:")->setEnabled(hasReport);
    item("findChanges:")->setEnabled(!running);
    item("process:")->setEnabled(document_->canProcess());
    item("tickAll:")->setEnabled(document_->hasSequences() && !running);
    item("untickAll:")->setEnabled(document_->hasSequences() && !running);
}

// Ctrl+S is for whatever hands the results back: a file is saved, a native project is sent.
void MainMenu::validateSaving() {
    const bool isNative = document_->isFCPProject();
    for (const char* const name : {"saveDocument:", "saveDocumentAs:", "revertDocumentToSaved:"}) {
        item(name)->setVisible(!isNative);
        item(name)->setEnabled(!isNative);
    }
    item("saveDocument:")->setShortcut(isNative ? QKeySequence() : QKeySequence::Save);
    item("sendToFCP:")->setVisible(isNative);
    item("sendToFCP:")->setEnabled(isNative && !document_->isRunning());
    item("sendToFCP:")->setShortcut(isNative ? QKeySequence::Save : QKeySequence());
}

}  // namespace reelsweep
