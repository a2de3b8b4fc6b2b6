// Saving, reverting and closing a document, and the questions before.
#include "app/BusyCursor.h"
#include "app/DocumentWindow.h"
#include "app/Text.h"
#include "platform/qt/WindowRefs.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QTabWidget>

#include <utility>

namespace reelsweep {

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
    // Results that are not part of the file are as unsaved as before.
    if (documentChanged_) setUnsaved(false);
    documentChanged_ = false;
    mayOverwrite_ = true;
    setWindowFilePath(toQString(path));
    showStatus(tr("Saved to %1").arg(toQString(path)));
    emit pathChanged(toQString(path));
    emit stateChanged();
    return true;
}

void DocumentWindow::save() {
    if (running_) return;
    if (!documentChanged_)
        sayThatNothingChanged();
    else if (mayOverwrite_)
        saveTo(path());
    else
        saveOverFile();
}

void DocumentWindow::sayThatNothingChanged() {
    const QString unchanged = tr("“%1” has not changed. Nothing was saved.").arg(displayName());
    showStatus(unchanged);
    if (!hasUnsavedResult()) return;
    question_.ask(toText(unchanged), toText(tr("The tidied copies go to a file of their own.")),
                  {toText(tr("Save Tidied Copy…")), toText(tr("Cancel"))}, windowRef(this),
                  [this](long answer) {
                      if (answer == alertDefaultReturn) exportTidied();
                  });
}

void DocumentWindow::saveOverFile() {
    AlertReply::Buttons buttons{toText(tr("Save Tidied Copy…")), toText(tr("Cancel"))};
    buttons.otherButton = toText(tr("Save Over File"));
    question_.ask(toText(tr("Save over “%1”?").arg(displayName())), toText(overwriteNotice()),
                  buttons, windowRef(this), [this](long answer) {
                      if (answer == alertDefaultReturn) exportTidied();
                      if (answer == alertOtherReturn) saveTo(path());
                  });
}

void DocumentWindow::saveAs() {
    if (running_) return;
    askForFile(tr("Save As"), displayName(), [this](const std::string& path) { saveTo(path); });
}

QString DocumentWindow::suggestedCopy() const {
    const QFileInfo file(toQString(path()));
    const QString suffix = file.suffix().isEmpty() ? QStringLiteral("xml") : file.suffix();
    const QString base = tr("%1-Tidied").arg(file.completeBaseName());
    const QDir folder = file.absoluteDir();
    QString name = base + '.' + suffix;
    for (int number = 2; folder.exists(name); ++number)
        name = tr("%1 %2").arg(base).arg(number) + '.' + suffix;
    return folder.filePath(name);
}

Outcome DocumentWindow::saveCopyTo(const std::string& path, Overwrite overwrite) {
    if (!canExport()) return Failure{FailureCode::outputFailed, "there is no result to save", path};
    if (QFileInfo(toQString(path)) == QFileInfo(toQString(this->path())))
        return Failure{FailureCode::outputFailed,
                       "a tidied copy cannot take the place of the opened file; choose another "
                       "name for it",
                       path};
    const BusyCursor busy;
    Outcome written = writeCopy(path, overwrite);
    if (written) {
        setUnsaved(false);
        showStatus(tr("Saved to %1").arg(toQString(path)));
    }
    return written;
}

void DocumentWindow::saveTidiedCopy(std::function<void()> saved) {
    if (!canExport()) return;
    askForFile(tr("Save Tidied Copy"), QFileInfo(suggestedCopy()).fileName(),
               [this, saved = std::move(saved)](const std::string& chosen) {
                   if (const Outcome written = saveCopyTo(chosen); !written)
                       tell(tr("The tidied copy could not be saved"),
                            toQString(written.failure().description()));
                   else if (saved)
                       saved();
               });
}

void DocumentWindow::askForFile(const QString& title, const QString& suggestion,
                                std::function<void(const std::string&)> chosen) {
    auto* const dialog = new QFileDialog(this, title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilters({tr("XML files (*.xml *.fcpxml *.fcpxmld)"), tr("All files (*)")});
    dialog->setDefaultSuffix(QFileInfo(toQString(path())).suffix());
    dialog->setDirectory(QFileInfo(toQString(path())).absolutePath());
    dialog->selectFile(suggestion);
    connect(dialog, &QFileDialog::fileSelected, this,
            [chosen = std::move(chosen)](const QString& path) { chosen(toText(path)); });
    dialog->open();
}

void DocumentWindow::revert() {
    if (running_) return;
    if (!hasUnsavedResult()) {
        reload();
        return;
    }
    AlertReply::Buttons buttons{toText(tr("Save Tidied Copy…")), toText(tr("Cancel"))};
    buttons.otherButton = toText(tr("Revert"));
    question_.ask(
        toText(tr("Do you want to go back to the saved version of “%1”?").arg(displayName())),
        toText(tr("Its tidied copy is not saved, and will be lost.")), buttons, windowRef(this),
        [this](long answer) {
            if (answer == alertDefaultReturn) saveTidiedCopy([this] { reload(); });
            if (answer == alertOtherReturn) reload();
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
        // Nobody waits on Final Cut Pro to be rid of a window.
        closeWhenEnded_ = true;
        cancelRun();
    } else if (question_.isOpen()) {
        QApplication::beep();
    } else if (running_) {
        askToStop();
    } else if (hasUnsavedResult() && !discardChanges_) {
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
    AlertReply::Buttons buttons{toText(tr("Save Tidied Copy…")), toText(tr("Cancel"))};
    buttons.otherButton = toText(tr("Don't Save"));
    question_.ask(toText(tr("Do you want to save the tidied copy of “%1”?").arg(displayName())),
                  toText(tr("It will be lost otherwise.")), buttons, windowRef(this),
                  [this](long answer) {
                      closeWhenEnded_ = false;
                      if (answer == alertDefaultReturn) saveTidiedCopy([this] { close(); });
                      if (answer == alertOtherReturn) closeDiscarding();
                  });
}

void DocumentWindow::closeDiscarding() {
    discardChanges_ = true;
    close();
}

}  // namespace reelsweep
