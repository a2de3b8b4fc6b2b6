// QVFCPXDoc: the document of a Final Cut Pro X project exported as FCPXML.
//
// It takes the passes that apply to FCPXML, works on the whole XML, and keeps the result until it
// is saved. Every run starts again from the file on disk.
// Thread rule: construct and destroy on the main thread. startProcessing runs on a background
// thread (or on the main thread) and reaches the view through the MainThread port.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"
#include "documents/FCPXMLDocument.h"
#include "platform/AlertPresenter.h"
#include "shell/DocumentThread.h"
#include "shell/DocumentView.h"
#include "shell/RunResult.h"
#include "tidy/FCPXPasses.h"
#include "tidy/PassTable.h"
#include "timeline/ChangeLedger.h"
#include "xml/XMLDocument.h"

#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

class QVFCPXDoc {
public:
    explicit QVFCPXDoc(DocumentView& view);
    ~QVFCPXDoc();
    QVFCPXDoc(const QVFCPXDoc&) = delete;
    QVFCPXDoc& operator=(const QVFCPXDoc&) = delete;

    /// Checks that the file is valid XML and holds a project, and remembers its path. Fails with
    /// inputUnreadable or inputInvalid; a file without a project (an event) also shows an alert.
    Outcome readFromURL(const std::string& path);
    /// Files with clips and no project are read too. Before readFromURL.
    void setTakesEvents(bool takes) { takesEvents_ = takes; }
    /// Without one, only the passes of fcpxPassTable() find anything.
    bool hasProject() const { return hasProject_; }
    /// Saves the result of the last run, pretty-printed, atomically. Fails when there is none. With
    /// `refuseWhenChanged` fails when `path` is not the file that the run read any more.
    Outcome writeToURL(const std::string& path, Overwrite overwrite = Overwrite::always,
                       bool refuseWhenChanged = false) const;
    /// The same, and `path` is the document's file from then on, which the next run reads. With the
    /// path that it has already, refuses to overwrite what another program wrote there.
    Outcome saveToURL(const std::string& path);
    const std::string& path() const { return path_; }
    /// True when readFromURL failed and has told the user so.
    bool hasShownFailure() const { return hasShownFailure_; }
    /// The result of the last run; null before the first and after a cancelled one.
    const std::shared_ptr<const XMLDocument>& xmlDoc() const { return xmlDoc_; }

    /// Starts startProcessing on a thread of its own and returns at once. `ended` is run on the
    /// main thread when the run is over, even when the document is gone by then. A cancel that
    /// follows at once stops the run.
    void process(const OptionList& options, std::function<void()> ended = {});
    /// Blocks until the run started by process() has ended, pumping when called on the main thread.
    void waitUntilProcessed() { thread_.wait(); }
    /// The run; the options are "removeFilters", "removeMarkers" and those of fcpxPassTable(),
    /// others are ignored.
    void startProcessing(const OptionList& options);
    void cancelProgress();
    /// What fcpxRemoveMarkers takes out in the runs that follow. Main thread, while no run is
    /// going.
    void setMarkerKinds(std::vector<std::string> kinds) { markerKinds_ = std::move(kinds); }
    const RunResult& runResult() const { return runResult_; }
    const ChangeLedger& changeLedger() const { return ledger_; }

    /// True when there is a tidied document to save.
    bool hasTidied() const { return xmlDoc_ != nullptr; }
    /// Sets the result aside before a run. Main thread, while no run is going; so is the next.
    void setResultsAside();
    /// Brings back what was set aside: the result, its report, and how its run ended.
    void restoreResults();

    // Each edits the document in place and answers it, or null when the run was cancelled.

    /// Takes the filters below the first sequence out, and each filter's effect resource. Only
    /// files of the library form have them searched; one with the project at the top keeps its
    /// filters.
    std::shared_ptr<XMLDocument> removeFilters(std::shared_ptr<XMLDocument> document);
    /// Takes the markers below the first sequence out, in both forms.
    std::shared_ptr<XMLDocument> removeMarkers(std::shared_ptr<XMLDocument> document);

    /// First match of a query that is not escaped; null when there is none or the query fails.
    static XMLNode nodeFromXPath(std::string_view query, XMLNode parent);

private:
    std::stop_token beginRun();
    void run(const OptionList& options, std::stop_token stop);
    void processFile(const OptionList& options, std::stop_token stop);
    std::shared_ptr<XMLDocument> runAlone(Outcome (*pass)(const XMLDocument&, SequenceLedger&,
                                                          const TidyControls&),
                                          std::shared_ptr<XMLDocument> document);
    Result<FileIdentity> write(const std::string& path, Overwrite overwrite,
                               bool refuseWhenChanged) const;
    void processXML();
    void logCounts(const OptionList& options) const;
    TidyControls controls(std::stop_token stop);
    void setProgressLabelText(const std::string& text);
    void showAlert(const std::string& message, const std::string& informative, AlertStyle style);

    DocumentView& view_;
    std::string path_;
    bool hasShownFailure_ = false;
    bool takesEvents_ = false;
    bool hasProject_ = false;
    std::unique_ptr<FCPXMLDocument> document_;
    std::shared_ptr<const XMLDocument> xmlDoc_;
    /// What the result was read from, or saved to.
    FileIdentity file_;
    std::mutex stopMutex_;
    std::stop_source stop_;
    RunResult runResult_;
    std::vector<std::string> markerKinds_ = usualFCPXMarkerKinds();
    std::vector<std::string> notes_;  ///< of the run, for its alert
    ChangeLedger ledger_;
    /// What there was before a run.
    struct ResultAside {
        std::shared_ptr<const XMLDocument> document;
        FileIdentity file;
        RunResult run;
        ChangeLedger ledger;
    };
    ResultAside aside_;
    DocumentThread thread_;
};

}  // namespace reelsweep
