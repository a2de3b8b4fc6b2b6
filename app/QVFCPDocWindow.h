// QVFCPDocWindow: the window of an XMEML file or a native Final Cut Pro project.
//
// Thread rule: main thread.
#pragma once

#include "app/DocumentWindow.h"
#include "app/KeptClips.h"
#include "app/RulesPage.h"
#include "app/SequenceModel.h"
#include "app/TidyPreview.h"
#include "app/TimelinePanel.h"
#include "shell/QVFCPDoc.h"

#include <QTimer>

#include <array>

class QFrame;
class QSplitter;
class QTableView;

namespace reelsweep {

class QVFCPDocWindow final : public DocumentWindow {
    Q_OBJECT

public:
    QVFCPDocWindow();

    const std::string& path() const override { return document_->path(); }
    bool isFCPProject() const override { return document_->isFCPProject(); }
    bool hasSequences() const override { return model_->rowCount() > 0; }
    void sendToFCP() override;
    void selectAllSequences(bool selected) override;

protected:
    Outcome read(const std::string& path) override;
    Outcome write(const std::string& path) override { return document_->saveToURL(path); }
    bool hasResult() const override { return !isFCPProject() && document_->hasTidied(); }
    Outcome writeCopy(const std::string& path, Overwrite overwrite) const override {
        return document_->exportResults(path, overwrite);
    }
    QString overwriteNotice() const override;
    bool canJoinResults() const override { return true; }
    void setResultsAside() override { document_->setResultsAside(); }
    void restoreResults() override { document_->restoreResults(); }
    void replaceResults() override { document_->replaceResults(); }
    void joinResults() override { document_->joinResults(); }
    void startRun(const OptionList& options, std::function<void()> ended) override;
    void cancelRun() override;
    const ChangeLedger& ledger() const override { return document_->changeLedger(); }
    const RunResult& runResult() const override { return document_->runResult(); }
    ReportedDocument reported() const override;
    QString idleStatus() const override;
    QString whyNotProcess() const override;
    void showOutcomes() override;

    void reloadTable() override;
    void enableProcessButton(bool enabled) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// What a preview depends on.
    struct Asked {
        OptionList options;
        bool keepsPicture = false;
        bool importsSafely = false;
        std::vector<std::string> kept;
        TidyRules rules;
        std::vector<std::size_t> rows;     ///< of the list, one for each picture
        std::optional<std::size_t> aside;  ///< the row that is shown as it is

        bool operator==(const Asked&) const = default;
    };

    void buildTable();
    void buildTimeline();
    void buildRules();
    void rulesChanged();
    void moveTimeline();
    /// Whether the timeline shows what a run did, not what the next one would do.
    bool showsRun() const;
    Asked whatToPreview() const;
    void schedulePreview();
    void askPreview();
    void previewAnswered(const TidyPreview::Answer& answer);
    void forgetPreview();
    void showTimeline();
    void showPreview();
    void showRunTimeline(std::size_t sequence);
    /// Selects the clip of the selected row of the report.
    void showSubject();
    /// Selects the row of the selected clip.
    void selectReportRow();
    /// What the selected clip is known by, for a run to leave it alone; empty when there is none.
    std::string clipToKeep();
    void showClipMenu(QPoint point);
    void keptClipsChanged();
    void toggleSelectedRows();

    QTableView* table_ = nullptr;
    QFrame* banner_ = nullptr;  ///< says that the file has no project
    SequenceModel* model_ = nullptr;
    TimelinePanel* timeline_ = nullptr;
    RulesPage* rules_ = nullptr;
    std::array<QSplitter*, 2> splitters_{};  ///< of the pages
    QTimer previewDelay_;
    KeptClips keptClips_;
    Asked asked_;
    std::optional<TidyPreview::Answer> previewed_;  ///< the answer to it
    TidyPreview::Picture shownRun_;                 ///< of the report
    bool populated_ = false;                        ///< the list is there
    bool cancelsRun_ = false;  ///< a run that waits for the preview is not wanted any more
    /// The records of the last run: sequences that were fetched live with them, and the report
    /// speaks of those, also when the list was built anew.
    std::shared_ptr<const SequenceArray> processedRecords_;
    /// When it goes it may still have something to say to the others.
    std::unique_ptr<QVFCPDoc> document_;
    /// After the document: it reads the document's tree until it goes.
    TidyPreview preview_;
};

}  // namespace reelsweep
