// DocumentWindow: the window of one document: running, saving, closing, the report.
//
// What is particular to a kind of document is in QVFCPDocWindow and QVFCPXDocWindow.
// Owner: itself; a window that is closed goes away. Thread rule: main thread.
#pragma once

#include "app/AlertReply.h"
#include "app/ChangeReportView.h"
#include "app/OptionBoxes.h"
#include "app/ProgressSheet.h"
#include "base/AtomicFile.h"
#include "base/Failure.h"
#include "shell/DocumentView.h"
#include "shell/RunResult.h"
#include "timeline/ChangeLedger.h"

#include <QMainWindow>

#include <functional>
#include <memory>
#include <string>

class QLabel;
class QPushButton;
class QTabWidget;

namespace reelsweep {

class DocumentWindow : public QMainWindow, public DocumentView {
    Q_OBJECT

public:
    /// Opens the file. Fails also when the window's description is missing.
    Outcome open(const std::string& path);
    /// True when open failed and the user has been told so.
    virtual bool hasShownFailure() const { return false; }

    virtual const std::string& path() const = 0;
    virtual bool isFCPProject() const { return false; }
    /// True when there are results that can be written to a file of their own.
    bool canExport() const { return !running_ && hasResult(); }
    /// True while a result is in no file yet; the title's mark says so.
    bool hasUnsavedResult() const { return isWindowModified(); }
    /// Where a copy of the results goes when nobody names another place: "film-Tidied.xml" beside
    /// the file; with a number when there is one already.
    QString suggestedCopy() const;
    /// Writes the results to a file of their own.
    Outcome saveCopyTo(const std::string& path, Overwrite overwrite = Overwrite::always);
    /// Closes without asking, whatever is not saved.
    void closeDiscarding();
    /// True when the document has a list of sequences to tick.
    virtual bool hasSequences() const { return false; }
    bool isRunning() const { return running_; }
    bool canProcess() const;
    ChangeReportView& report() { return *report_; }
    bool hasReport() const;

    // Actions of the menus and buttons
    void process();
    void cancelProgress();
    void save();
    void saveAs();
    void revert();
    void findChanges();
    /// Asks for a file and writes the results to it.
    void exportTidied() { saveTidiedCopy({}); }
    virtual void sendToFCP() {}
    virtual void selectAllSequences(bool) {}

signals:
    /// What menus offer may have changed.
    void stateChanged();
    /// The document was opened from, or saved under, this path.
    void pathChanged(const QString& path);

protected:
    enum Page { sequencesPage, changesPage };

    DocumentWindow(const QString& interfaceName, OptionBoxes::For format);

    // What a kind of document does

    /// Reads the file into a new document, which takes the place of the old one when it is good.
    virtual Outcome read(const std::string& path) = 0;
    virtual Outcome write(const std::string& path) = 0;
    /// True when there is something that a run has made.
    virtual bool hasResult() const = 0;
    virtual Outcome writeCopy(const std::string& path, Overwrite overwrite) const = 0;
    /// What saving over the opened file does to it.
    virtual QString overwriteNotice() const = 0;
    /// Whether results of two runs can stand beside each other.
    virtual bool canJoinResults() const { return false; }
    virtual void setResultsAside() = 0;
    virtual void restoreResults() = 0;
    virtual void replaceResults() {}
    virtual void joinResults() {}
    virtual void startRun(const OptionList& options, std::function<void()> ended) = 0;
    virtual void cancelRun() = 0;
    virtual const ChangeLedger& ledger() const = 0;
    virtual const RunResult& runResult() const = 0;
    virtual ReportedDocument reported() const = 0;
    virtual QString idleStatus() const = 0;
    /// Why nothing can be processed at the moment; empty when it can.
    virtual QString whyNotProcess() const = 0;
    /// What a run did, in a few words: "52 changes in 4 sequences".
    virtual QString countedChanges(std::size_t changes) const;
    /// A run has ended, and the ledger is that of what can be saved now.
    virtual void showOutcomes() {}
    virtual QString cancelledStatus() const { return tr("Cancelled. Nothing was changed."); }

    // DocumentView
    void startProgress() override;
    void endProgress() override;
    void setProgressLabelText(const std::string& text) override;
    void setProgressSequence(const std::string& title, std::size_t position,
                             std::size_t count) override;
    void reloadTable() override {}
    void enableProcessButton(bool enabled) override;
    void markChanged() override;
    WindowRef window() override;
    void prepareAlert(AlertRequest& request) override;
    void alertAnswered(long code) override;

    void closeEvent(QCloseEvent* event) override;

    QWidget* content() const { return content_; }
    const OptionList& options() const { return options_; }
    const OptionBoxes& boxes() const { return *boxes_; }
    OptionBoxes& boxes() { return *boxes_; }
    /// Enables the process button, or says why it is grey.
    void updateProcessButton();
    void showStatus(const QString& text);
    /// Tells of something that went wrong, without waiting.
    void tell(const QString& message, const QString& informative);
    /// While work that handles events goes on on the main thread: nothing else begins, and a window
    /// that is closed goes when the work is done.
    void setBusy(bool busy);
    QString displayName() const;
    /// Asks for a file to write to.
    void askForFile(const QString& title, const QString& suggestion,
                    std::function<void(const std::string&)> chosen);

private:
    /// What a run does with a result of an earlier one.
    enum class Earlier { letGo, replace, join };

    void buildInterface(const QString& interfaceName, OptionBoxes::For format);
    bool saveTo(const std::string& path);
    void saveOverFile();
    void saveTidiedCopy(std::function<void()> saved);
    void sayThatNothingChanged();
    void run(Earlier earlier);
    void askAboutEarlierResult();
    void runEnded();
    void runKeepingPicture();
    void settleResults();
    QString outcome() const;
    void setUnsaved(bool unsaved);
    void showReport();
    void askToStop();
    void askToSave();
    void reload();

    QWidget* content_ = nullptr;
    QTabWidget* tabs_ = nullptr;
    QLabel* status_ = nullptr;
    QPushButton* processButton_ = nullptr;
    QPushButton* copyButton_ = nullptr;
    ChangeReportView* report_ = nullptr;
    ProgressSheet* progress_ = nullptr;
    OptionBoxes* boxes_ = nullptr;
    OptionList options_;  ///< of the last run
    AlertReply question_;
    bool running_ = false;
    bool busy_ = false;  ///< running on the main thread
    bool cancelled_ = false;
    bool closeWhenEnded_ = false;
    bool discardChanges_ = false;
    bool documentChanged_ = false;  ///< the file would be another one if it were saved
    bool mayOverwrite_ = false;     ///< nobody need be asked before the file is saved over
    // The alert of the run was answered so.
    bool copyWhenEnded_ = false;
    bool runAgainWhenEnded_ = false;  ///< keeping the picture
    // Of the run before.
    Earlier earlier_ = Earlier::letGo;
    bool hadResult_ = false;
    OptionList earlierOptions_;
};

}  // namespace reelsweep
