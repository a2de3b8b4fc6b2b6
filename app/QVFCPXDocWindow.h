// QVFCPXDocWindow: the window of a Final Cut Pro X project exported as FCPXML.
//
// Thread rule: main thread.
#pragma once

#include "app/DocumentWindow.h"
#include "shell/QVFCPXDoc.h"

namespace reelsweep {

class QVFCPXDocWindow final : public DocumentWindow {
    Q_OBJECT

public:
    QVFCPXDocWindow();

    const std::string& path() const override { return document_->path(); }
    bool hasShownFailure() const override { return hasShownFailure_; }

protected:
    Outcome read(const std::string& path) override;
    Outcome write(const std::string& path) override { return document_->saveToURL(path); }
    bool hasResult() const override { return document_->hasTidied(); }
    Outcome writeCopy(const std::string& path, Overwrite overwrite) const override {
        return document_->writeToURL(path, overwrite);
    }
    QString overwriteNotice() const override;
    void setResultsAside() override { document_->setResultsAside(); }
    void restoreResults() override { document_->restoreResults(); }
    void startRun(const OptionList& options, std::function<void()> ended) override;
    void cancelRun() override { document_->cancelProgress(); }
    const ChangeLedger& ledger() const override { return document_->changeLedger(); }
    const RunResult& runResult() const override { return document_->runResult(); }
    ReportedDocument reported() const override;
    QString idleStatus() const override { return whyNotProcess(); }
    QString whyNotProcess() const override;
    QString countedChanges(std::size_t changes) const override;

private:
    bool hasShownFailure_ = false;
    /// The last member: when it goes it may still have something to say to the others.
    std::unique_ptr<QVFCPXDoc> document_;
};

}  // namespace reelsweep
