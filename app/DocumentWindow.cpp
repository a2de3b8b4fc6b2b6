#include "app/DocumentWindow.h"

#include "app/BusyCursor.h"
#include "app/InterfaceDescription.h"
#include "app/Text.h"
#include "platform/Platform.h"
#include "platform/qt/WindowRefs.h"
#include "report/PictureProof.h"

#include <QFileInfo>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace reelsweep {

namespace {

bool changesPicture(const ChangeLedger& ledger) {
    return std::any_of(
        ledger.sequences.begin(), ledger.sequences.end(),
        [](const SequenceLedger& sequence) { return !unaskedDifferences(sequence).empty(); });
}

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
    copyButton_ = outlet<QPushButton>(*content_, "exportBtn");
    boxes_ = new OptionBoxes(format);
    outlet<QVBoxLayout>(*content_, "optionsLayout")->addWidget(boxes_);
    connect(boxes_, &OptionBoxes::changed, this, &DocumentWindow::updateProcessButton);
    report_ = new ChangeReportView;
    outlet<QVBoxLayout>(*content_, "changesLayout")->addWidget(report_);
    progress_ = new ProgressSheet(this);

    tabs_->setTabEnabled(changesPage, false);
    connect(processButton_, &QPushButton::clicked, this, &DocumentWindow::process);
    connect(copyButton_, &QPushButton::clicked, this, &DocumentWindow::exportTidied);
    connect(this, &DocumentWindow::stateChanged, this, [this] {
        // What comes next is the default: the run, and then its result.
        copyButton_->setVisible(canExport());
        copyButton_->setDefault(canExport());
        processButton_->setDefault(!canExport());
    });
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
    setUnsaved(false);
    documentChanged_ = false;
    mayOverwrite_ = false;
    updateProcessButton();
    showStatus(idleStatus());
    emit pathChanged(toQString(path));
    return Done{};
}

bool DocumentWindow::canProcess() const {
    return !running_ && processButton_ && processButton_->isEnabled();
}

bool DocumentWindow::hasReport() const { return tabs_->isTabEnabled(changesPage); }

QString DocumentWindow::displayName() const { return QFileInfo(toQString(path())).fileName(); }

void DocumentWindow::showStatus(const QString& text) { status_->setText(text); }

void DocumentWindow::tell(const QString& message, const QString& informative) {
    QVAlert::alertSheet(toText(message), {}, {}, {}, toText(informative), windowRef(this), false);
}

// The run

void DocumentWindow::process() {
    if (!canProcess()) return;
    if (hasUnsavedResult())
        askAboutEarlierResult();
    else
        run(Earlier::letGo);
}

void DocumentWindow::askAboutEarlierResult() {
    const bool canJoin = canJoinResults();
    AlertReply::Buttons buttons{toText(canJoin ? tr("Keep Both") : tr("Save Tidied Copy…")),
                                toText(tr("Cancel"))};
    buttons.otherButton = toText(tr("Replace"));
    question_.ask(toText(tr("The tidied copy of “%1” is not saved yet").arg(displayName())),
                  toText(canJoin ? tr("The next run can replace it, or both can be kept.")
                                 : tr("The next run replaces it. To keep it, save it first.")),
                  buttons, windowRef(this), [this, canJoin](long answer) {
                      if (answer == alertOtherReturn) run(Earlier::replace);
                      if (answer != alertDefaultReturn) return;
                      if (canJoin)
                          run(Earlier::join);
                      else
                          saveTidiedCopy([this] { run(Earlier::letGo); });
                  });
}

void DocumentWindow::run(Earlier earlier) {
    if (!canProcess()) return;
    earlier_ = earlier;
    hadResult_ = hasResult();
    earlierOptions_ = options_;
    setResultsAside();
    running_ = true;
    cancelled_ = false;
    copyWhenEnded_ = runAgainWhenEnded_ = false;
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

void DocumentWindow::setProgressSequence(const std::string& title, std::size_t position,
                                         std::size_t count) {
    progress_->setSequence(toQString(title), position, count);
}

void DocumentWindow::enableProcessButton(bool) { updateProcessButton(); }

void DocumentWindow::updateProcessButton() {
    const QString reason = whyNotProcess();
    processButton_->setEnabled(reason.isEmpty());
    processButton_->setToolTip(reason);
    if (!running_ && path().size() > 0 && !hasUnsavedResult()) showStatus(idleStatus());
    emit stateChanged();
}

void DocumentWindow::markChanged() {
    // A run that was cancelled leaves the file as it was.
    if (!hasResult()) return;
    documentChanged_ = true;
    setUnsaved(true);
}

void DocumentWindow::setUnsaved(bool unsaved) {
    setWindowModified(unsaved);
    emit stateChanged();
}

QString DocumentWindow::countedChanges(std::size_t changes) const {
    return tr("%1 in %2").arg(changeCount(changes), sequenceCount(ledger().sequences.size()));
}

// "52 changes in 4 sequences, 1 needs your attention"
QString DocumentWindow::outcome() const {
    std::size_t changes = 0;
    std::size_t attention = 0;
    for (const SequenceLedger& sequence : ledger().sequences) {
        changes += sequence.changes.size();
        attention += sequence.looseClips.size() + unaskedDifferences(sequence).size();
    }
    const QString counted = countedChanges(changes);
    if (attention == 0) return counted;
    if (attention == 1) return tr("%1, 1 needs your attention").arg(counted);
    return tr("%1, %L2 need your attention").arg(counted).arg(attention);
}

// The texts of the run stay as they are. What it made follows them, and the way to a file.
void DocumentWindow::prepareAlert(AlertRequest& request) {
    if (ledger().sequences.empty() || cancelled_) return;
    const bool hasCopies = hasResult();
    if (!hasCopies && !runResult().delivered) return;
    const QString note = runResult().delivered
                             ? tr("%1.").arg(outcome())
                             : tr("The tidied copies are made all the same: %1. Save them to a "
                                  "file of their own.")
                                   .arg(outcome());
    request.informativeText += "\n\n" + toText(note);
    if (!boxes_->keepsPicture() && changesPicture(ledger()))
        request.otherButtonTitle = toText(tr("Run Again Keeping the Picture"));
    if (!hasCopies) return;
    request.defaultButtonTitle = toText(tr("Save Tidied Copy…"));
    request.alternateButtonTitle = toText(tr("Not Now"));
}

void DocumentWindow::alertAnswered(long code) {
    copyWhenEnded_ = hasResult() && code == alertDefaultReturn;
    runAgainWhenEnded_ = code == alertOtherReturn;
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
    for (const Failure& failure : runResult().failures)
        // The run has shown all others itself.
        if (failure.code == FailureCode::internal)
            tell(tr("Processing failed"), toQString(failure.description()));
    const bool cancelled = runResult().cancelled;
    settleResults();
    showOutcomes();
    // Also when the cancel came too late.
    showReport();
    showStatus(cancelled ? cancelledStatus() : outcome());
    emit stateChanged();
    if (closeWhenEnded_)
        close();
    else if (std::exchange(runAgainWhenEnded_, false))
        runKeepingPicture();
    else if (std::exchange(copyWhenEnded_, false))
        exportTidied();
}

// In place of the result that has changed the picture.
void DocumentWindow::runKeepingPicture() {
    boxes_->keepPicture();
    run(Earlier::replace);
}

// A run that made nothing leaves what was there before it.
void DocumentWindow::settleResults() {
    // The ledger is about to change under whoever shows it.
    const auto hideReport = [this] {
        report_->showLedger(nullptr, {});
        tabs_->setTabEnabled(changesPage, false);
    };
    if (runResult().cancelled || (hadResult_ && !hasResult())) {
        hideReport();
        restoreResults();
        options_ = earlierOptions_;
        return;
    }
    if (earlier_ == Earlier::replace) replaceResults();
    if (earlier_ == Earlier::join) {
        hideReport();
        joinResults();
    }
    if (hasResult()) setUnsaved(true);
}

void DocumentWindow::findChanges() {
    if (!tabs_->isTabEnabled(changesPage)) return;
    tabs_->setCurrentIndex(changesPage);
    report_->focusFilter();
}

}  // namespace reelsweep
