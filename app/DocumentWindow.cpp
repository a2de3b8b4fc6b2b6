#include "app/DocumentWindow.h"

#include "app/InterfaceDescription.h"
#include "app/Text.h"
#include "platform/Platform.h"
#include "platform/qt/WindowRefs.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include <utility>

namespace reelsweep {

namespace {

enum Page { sequencesPage, changesPage };

// Long work on the main thread shows itself by the cursor.
class BusyCursor {
public:
    BusyCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyCursor() { QGuiApplication::restoreOverrideCursor(); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
};

}  // namespace

DocumentWindow::DocumentWindow(const QString& interfaceName, OptionBoxes::For format) {
    setAttribute(Qt::WA_DeleteOnClose);
    buildInterface(interfaceName, format);
}

void DocumentWindow::buildInterface(const QString& interfaceName, OptionBoxes::For format) {
    content_ = InterfaceDescription::load(interfaceName).release();
    if (!content_) return;
    setCentralWidget(content_);
    tabs_ = outlet<QTabWidget>(*content_, "tabs");
    status_ = outlet<QLabel>(*content_, "statusLabel");
    processButton_ = outlet<QPushButton>(*content_, "processBtn");
    boxes_ =
        std::make_unique<OptionBoxes>(*outlet<QVBoxLayout>(*content_, "optionsLayout"), format);
    report_ = new ChangeReportView;
    outlet<QVBoxLayout>(*content_, "changesLayout")->addWidget(report_);
    progress_ = new ProgressSheet(this);

    tabs_->setTabEnabled(changesPage, false);
    connect(processButton_, &QPushButton::clicked, this, &DocumentWindow::process);
    connect(progress_, &ProgressSheet::cancelled, this, &DocumentWindow::cancelProgress);
    connect(report_, &ChangeReportView::selectionChanged, this, &DocumentWindow::stateChanged);
    connect(tabs_, &QTabWidget::currentChanged, this, &DocumentWindow::stateChanged);
}

Outcome DocumentWindow::open(const std::string& path) {
    if (!content_)
        return Failure{FailureCode::internal,
                       "the description of its window is missing; install the program again",
                       path,
                       0,
                       0,
                       ""};
    const BusyCursor busy;
    if (Outcome opened = read(path); !opened) return opened;
    setWindowFilePath(toQString(path));
    setWindowModified(false);
    showStatus(idleStatus());
    emit pathChanged(toQString(path));
    return Done{};
}

bool DocumentWindow::canProcess() const {
    return !running_ && processButton_ && processButton_->isEnabled();
}

bool DocumentWindow::isShowingReport() const { return tabs_->currentIndex() == changesPage; }

QString DocumentWindow::displayName() const { return QFileInfo(toQString(path())).fileName(); }

void DocumentWindow::showStatus(const QString& text) { status_->setText(text); }

void DocumentWindow::tell(const QString& message, const QString& informative) {
    QVAlert::alertSheet(toText(message), {}, {}, {}, toText(informative), windowRef(this), false);
}

// The run

void DocumentWindow::process() {
    if (!canProcess()) return;
    running_ = true;
    cancelled_ = false;
    options_ = boxes_->checkedOptions();
    // A run makes a new ledger; nobody may look at the old one meanwhile.
    report_->showLedger(nullptr, {});
    tabs_->setTabEnabled(changesPage, false);
    tabs_->setCurrentIndex(sequencesPage);
    emit stateChanged();
    startRun(options_, [self = QPointer(this)] {
        if (self) self->runEnded();
    });
}

void DocumentWindow::setBusy(bool busy) {
    running_ = busy_ = busy;
    emit stateChanged();
    if (!busy && closeWhenEnded_) close();
}

void DocumentWindow::cancelProgress() {
    cancelled_ = true;
    if (running_)
        cancelRun();
    else
        // A run that could not read its file leaves its sheet behind.
        endProgress();
}

void DocumentWindow::startProgress() { progress_->begin(); }

void DocumentWindow::endProgress() {
    progress_->end();
    // The run is over, but for the alert that it shows next: its ledger stays as it is from here.
    if (!cancelled_) showReport();
}

void DocumentWindow::setProgressLabelText(const std::string& text) {
    progress_->setLabelText(toQString(text));
}

void DocumentWindow::enableProcessButton(bool enabled) {
    processButton_->setEnabled(enabled);
    emit stateChanged();
}

void DocumentWindow::markChanged() {
    setWindowModified(true);
    emit stateChanged();
}

WindowRef DocumentWindow::window() { return windowRef(this); }

void DocumentWindow::showReport() {
    if (ledger().sequences.empty() || tabs_->isTabEnabled(changesPage)) return;
    report_->showLedger(&ledger(), reported());
    tabs_->setTabEnabled(changesPage, true);
    tabs_->setCurrentIndex(changesPage);
}

void DocumentWindow::runEnded() {
    running_ = false;
    // A run that could not read its file leaves its sheet up, to be cancelled once more.
    if (cancelled_) progress_->end();
    // Also when the cancel came too late.
    if (!runResult().cancelled) showReport();
    std::size_t changes = 0;
    for (const SequenceLedger& sequence : ledger().sequences) changes += sequence.changes.size();
    if (runResult().cancelled)
        showStatus(cancelledStatus());
    else
        showStatus(
            tr("%1 in %2").arg(changeCount(changes), sequenceCount(ledger().sequences.size())));
    for (const Failure& failure : runResult().failures)
        // The run has shown all others itself.
        if (failure.code == FailureCode::internal)
            tell(tr("Processing failed"), toQString(failure.description()));
    emit stateChanged();
    if (closeWhenEnded_) close();
}

void DocumentWindow::findChanges() {
    if (!tabs_->isTabEnabled(changesPage)) return;
    tabs_->setCurrentIndex(changesPage);
    report_->focusFilter();
}

// Saving

bool DocumentWindow::saveTo(const std::string& path) {
    Outcome saved = Done{};
    {
        const BusyCursor busy;
        saved = write(path);
    }
    if (!saved) {
        question_.ask(toText(tr("“%1” could not be saved").arg(displayName())),
                      saved.failure().description(), {toText(tr("Save As…")), toText(tr("Cancel"))},
                      windowRef(this), [this](long answer) {
                          if (answer == alertDefaultReturn) saveAs();
                      });
        return false;
    }
    setWindowModified(false);
    setWindowFilePath(toQString(path));
    showStatus(tr("Saved to %1").arg(toQString(path)));
    emit pathChanged(toQString(path));
    emit stateChanged();
    return true;
}

void DocumentWindow::save() {
    if (!running_) saveTo(path());
}

void DocumentWindow::saveAs() {
    if (running_) return;
    askForFile(tr("Save As"), displayName(), [this](const std::string& path) { saveTo(path); });
}

void DocumentWindow::askForFile(const QString& title, const QString& suggestion,
                                std::function<void(const std::string&)> chosen) {
    auto* const dialog = new QFileDialog(this, title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilters({tr("XML files (*.xml *.fcpxml)"), tr("All files (*)")});
    dialog->setDefaultSuffix(QFileInfo(toQString(path())).suffix());
    dialog->setDirectory(QFileInfo(toQString(path())).absolutePath());
    dialog->selectFile(suggestion);
    connect(dialog, &QFileDialog::fileSelected, this,
            [chosen = std::move(chosen)](const QString& path) { chosen(toText(path)); });
    dialog->open();
}

void DocumentWindow::revert() {
    if (running_) return;
    if (!isWindowModified()) {
        reload();
        return;
    }
    question_.ask(
        toText(tr("Do you want to go back to the saved version of “%1”?").arg(displayName())),
        toText(tr("What was done since will be lost.")),
        {toText(tr("Revert")), toText(tr("Cancel"))}, windowRef(this), [this](long answer) {
            if (answer == alertDefaultReturn) reload();
        });
}

void DocumentWindow::reload() {
    setBusy(true);
    const int page = tabs_->currentIndex();
    const bool hasReport = tabs_->isTabEnabled(changesPage);
    report_->showLedger(nullptr, {});
    tabs_->setCurrentIndex(sequencesPage);
    tabs_->setTabEnabled(changesPage, false);
    const std::string path = this->path();
    if (const Outcome opened = open(path); !opened) {
        if (hasReport) showReport();
        tabs_->setCurrentIndex(page);
        if (!hasShownFailure())
            tell(tr("“%1” could not be read").arg(displayName()),
                 toQString(opened.failure().description()));
    }
    setBusy(false);
}

// Closing

void DocumentWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    if (busy_) {
        closeWhenEnded_ = true;
    } else if (question_.isOpen()) {
        QApplication::beep();
    } else if (running_) {
        askToStop();
    } else if (isWindowModified() && !discardChanges_) {
        askToSave();
    } else {
        event->accept();
    }
}

void DocumentWindow::askToStop() {
    question_.ask(toText(tr("“%1” is being processed").arg(displayName())),
                  toText(tr("To close the window, stop the processing. Nothing is changed then.")),
                  {toText(tr("Stop and Close")), toText(tr("Cancel"))}, windowRef(this),
                  [this](long answer) {
                      if (answer != alertDefaultReturn) return;
                      closeWhenEnded_ = true;
                      if (running_)
                          cancelProgress();
                      else
                          close();
                  });
}

void DocumentWindow::askToSave() {
    question_.ask(toText(tr("Do you want to save the changes to “%1”?").arg(displayName())),
                  toText(tr("They will be lost otherwise.")),
                  {toText(tr("Save")), toText(tr("Cancel")), toText(tr("Don't Save"))},
                  windowRef(this), [this](long answer) {
                      closeWhenEnded_ = false;
                      if (answer == alertAlternateReturn) return;
                      discardChanges_ = answer == alertOtherReturn;
                      if (discardChanges_ || saveTo(path())) close();
                  });
}

}  // namespace reelsweep
