// QVFCPDocWindow: the window of an XMEML file or a native Final Cut Pro project.
//
// Thread rule: main thread.
#pragma once

#include "app/DocumentWindow.h"
#include "app/SequenceModel.h"
#include "shell/QVFCPDoc.h"

class QFrame;
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
    void cancelRun() override { document_->cancelProgress(); }
    const ChangeLedger& ledger() const override { return document_->changeLedger(); }
    const RunResult& runResult() const override { return document_->runResult(); }
    ReportedDocument reported() const override;
    QString idleStatus() const override;
    QString whyNotProcess() const override;
    void showOutcomes() override { model_->setOutcomes(ledger()); }

    void reloadTable() override;
    void enableProcessButton(bool enabled) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildTable();
    void toggleSelectedRows();

    QTableView* table_ = nullptr;
    QFrame* banner_ = nullptr;  ///< says that the file has no project
    SequenceModel* model_ = nullptr;
    bool populated_ = false;  ///< the list is there
    /// The records of the last run: sequences that were fetched live with them, and the report
    /// speaks of those, also when the list was built anew.
    std::shared_ptr<const SequenceArray> processedRecords_;
    /// The last member: when it goes it may still have something to say to the others.
    std::unique_ptr<QVFCPDoc> document_;
};

}  // namespace reelsweep
