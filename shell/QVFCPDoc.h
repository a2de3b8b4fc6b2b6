// QVFCPDoc: the document of one XMEML file (or native project): its sequences, the run over them,
// and the delivery of the tidied copies.
//
// Source sequences are never edited: a run works on renamed copies ("NAME-Tidied").
// Thread rule: construct and destroy on the main thread. startProcessing and
// populateSequencesForProject run on a background thread (or on the main thread when nothing else
// pumps it); they reach the view through the MainThread port and wait for it.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"
#include "documents/SequenceDocument.h"
#include "hosts/FinalCutProHost.h"
#include "hosts/QVFCPProjectController.h"
#include "report/TimelinePicture.h"
#include "shell/CopyPicture.h"
#include "shell/DocumentThread.h"
#include "shell/DocumentView.h"
#include "shell/QVSequence.h"
#include "shell/RunResult.h"
#include "tidy/PassTable.h"
#include "timeline/MediaCatalogue.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace reelsweep {

using SequenceArray = std::vector<std::shared_ptr<QVSequence>>;

class QVFCPDoc {
public:
    explicit QVFCPDoc(DocumentView& view);
    ~QVFCPDoc();
    QVFCPDoc(const QVFCPDoc&) = delete;
    QVFCPDoc& operator=(const QVFCPDoc&) = delete;

    // Opening and saving

    /// Opens a path: a native project (extension "fcp" in any case, or HFS type FCPF) or an XML
    /// file. The sequences are listed on a thread of their own; waitUntilPopulated() waits for it.
    /// A native project always opens: its sequences are asked of the running Final Cut Pro, and
    /// nothing is read from its file.
    /// A file that is not valid XML fails with inputInvalid, file and line.
    /// With deferred verification that answer may come later, from verifySource() and from the run,
    /// which delivers nothing from such a file.
    Outcome readFromURL(const std::string& path,
                        Verification verification = Verification::beforeUse);
    /// Waits until it is settled that the file is valid.
    Outcome verifySource() const;
    /// Blocks until the list started by readFromURL is there, pumping when called on the main
    /// thread.
    void waitUntilPopulated() { populateThread_.wait(); }
    /// Saves the whole document, pretty-printed, atomically, with the codes of an XML file of Final
    /// Cut Pro. With `refuseWhenChanged` fails when `path` is not the file that was read any more.
    Outcome writeToURL(const std::string& path, Overwrite overwrite = Overwrite::always,
                       bool refuseWhenChanged = false) const;
    /// The same, and `path` is the document's file from then on. With the path that it has already,
    /// refuses to overwrite what another program wrote there.
    Outcome saveToURL(const std::string& path);
    bool isFCPProject() const { return isFCPProject_; }
    /// Whether Final Cut Pro may be started, and a native project be opened in it. It may, unless
    /// this says otherwise before readFromURL.
    void setLaunchesFCP(bool launches) { host_.setMayLaunch(launches); }
    /// Why the sequences of a native project could not be listed; nothing when they were.
    std::optional<Failure> listFailure() const;
    const std::string& path() const { return path_; }
    /// True when the XML holds a project that a bin can be added to.
    bool hasProjectNode() const;
    QVFCPProjectController& projectController() { return *projectController_; }

    // Sequences

    /// The records in the order of the source; a snapshot that stays valid.
    std::shared_ptr<const SequenceArray> sequenceArray() const;
    /// Builds the list anew. Any thread but never two at once.
    void populateSequencesForProject(const std::string& path);
    /// Ticks or unticks a record; the process button follows.
    void setSelected(const std::vector<std::size_t>& rows, bool selected);
    void setSelected(std::size_t row, bool selected) { setSelected(std::vector{row}, selected); }
    /// The same for all records.
    void setAllSelected(bool selected);
    /// True when a run has made something of a ticked sequence.
    bool hasResults() const;

    // The run

    /// Starts startProcessing on a thread of its own and returns at once. The options are the names
    /// of the boxes that are on. `ended` is run on the main thread when the run is over, even when
    /// the document is gone by then. A cancel that follows at once stops the run.
    void process(const OptionList& options, std::function<void()> ended = {});
    /// Blocks until the run started by process() has ended, pumping when called on the main thread.
    void waitUntilProcessed() { processThread_.wait(); }
    /// The run: copies, renames and tidies every ticked sequence, then delivers: into a new bin of
    /// the file's project, or of the host's for a native project. With Delivery::none the results
    /// stay in the records.
    void startProcessing(const OptionList& options, Delivery delivery = Delivery::automatic);
    /// Asks the run that is going, or was just started, to stop; nothing is delivered then. Any
    /// thread.
    void cancelProgress();
    /// Sends a native project's ticked sequences to Final Cut Pro as a new bin: the results of the
    /// last run, or the sources where there are none. Opens the copies there, and lists the
    /// sequences anew, unticked. A run over a native project ends with it. Any thread.
    void sendToFCP();
    const RunResult& runResult() const { return runResult_; }
    const ChangeLedger& changeLedger() const { return ledger_; }
    /// Effects that count as transparent beside the built-in ones and the stored "ignoredEffects".
    void setExtraIgnoredEffects(std::vector<std::string> names) {
        extraIgnoredEffects_ = std::move(names);
    }

    /// Whether runs keep edits back that would change the picture, and compare it before and after.
    /// Literal runs, which do neither, are what a document does by itself.
    void setKeepsPicture(bool keeps) { keepsPicture_ = keeps; }
    /// Clips that the next run leaves alone, and what transitions join to them: ids, or patterns
    /// for names.
    void setKeptClips(std::vector<std::string> clips) { keptClips_ = std::move(clips); }
    /// What else the next run leaves alone.
    void setRules(TidyRules rules) { rules_ = std::move(rules); }
    void setProvesPicture(bool proves) { provesPicture_ = proves; }
    /// Whether the copies are made ones that other applications import.
    void setImportsSafely(bool safely) { importsSafely_ = safely; }

    /// What a run with these options would do to each sequence.
    TidyRequest tidyRequest(const OptionList& options, bool keepsPicture) const;
    /// The file's tree, for those who only read it; null for a native project.
    std::shared_ptr<const XMLDocument> tree() const;

    /// Whether runs keep a picture of each sequence, before and after.
    void setDrawsTimelines(bool draws) { drawsTimelines_ = draws; }
    /// One for each sequence of changeLedger(); none when they were not to be kept.
    const std::vector<std::shared_ptr<const TimelinePicture>>& pictures() const {
        return pictures_;
    }

    /// Renames a copy in place and answers it: id and name get "-Tidied", the uuid a fresh one, and
    /// id stays as the only attribute.
    XMLNode renameSequence(XMLNode sequence);

    // What runs made, until somebody has it in a file

    /// True when the last run, or one whose results were kept beside it, made tidied sequences.
    bool hasTidied() const { return !tidied_.empty(); }
    /// Writes the tidied sequences to a file of their own, and nothing else, whatever is ticked by
    /// now. With Overwrite::never a file that is there stays.
    Outcome exportResults(const std::string& path, Overwrite overwrite = Overwrite::always) const;
    /// Sets the results aside before a run, which may then replace or join them. Main thread, while
    /// no run is going; so are the next three.
    void setResultsAside();
    /// Brings back what was set aside: the results, their report, and how their run ended.
    void restoreResults();
    /// Lets go of what was set aside, and takes its bin out of the file's project again.
    void replaceResults();
    /// Puts what was set aside before what was made since. Copies of one sequence are told apart by
    /// a number: the second copy of "Reel-Tidied" is "Reel-Tidied 2".
    void joinResults();
    /// A document of their own for the tidied sequences: every ticked record's result, or source
    /// when it has none. See standaloneDocument in documents/OutputBin.h.
    Result<XMLDocument> standaloneXML() const;
    /// Writes that document to a file, which is replaced when it is there.
    Outcome exportTidied(const std::string& path) const;
    /// The bin with every ticked record's result (or source, when it has none) as XML text, with or
    /// without the header of a whole document. Nothing when the run was cancelled meanwhile.
    std::optional<std::string> generateXMLOutput(bool includeHeader = true);

    // The passes one by one, outside a run. Each edits the sequence in place and answers it, or
    // null when it was cancelled or could not go on.

    XMLNode removeDisabledClips(XMLNode sequence, std::string_view type);
    XMLNode removeSilentAudioClips(XMLNode sequence);
    XMLNode removeObscuredClips(XMLNode sequence);
    XMLNode collapseTracks(XMLNode sequence, bool reverse = true);
    XMLNode mergeClips(XMLNode sequence);
    XMLNode collapseMulticlips(XMLNode sequence);
    XMLNode removeUnusedTracks(XMLNode sequence);
    XMLNode replaceGapsWithSlugs(XMLNode sequence);
    XMLNode removeFilters(XMLNode sequence);
    XMLNode removeMarkers(XMLNode sequence);
    XMLNode removeTransitions(XMLNode sequence, std::string_view type);
    XMLNode removeVideoTransitions(XMLNode sequence);
    XMLNode removeAudioTransitions(XMLNode sequence);
    /// Whether a clip lets the track below show through.
    bool isClipTransparent(XMLNode clip);

    /// First match of a query that is not escaped; null when there is none or the query fails.
    static XMLNode nodeFromXPath(std::string_view query, XMLNode parent);

private:
    Result<FileIdentity> write(const std::string& path, Overwrite overwrite,
                               bool refuseWhenChanged) const;
    void populate(const std::string& path);
    void enableProcessButton(const SequenceArray& records);
    std::shared_ptr<SequenceDocument> listedDocument(const std::string& path);
    std::shared_ptr<SequenceDocument> document() const;

    void setProgressLabelText(const std::string& text);
    void endProgress();
    void showAlert(const std::string& message, const std::string& informative, AlertStyle style);
    /// Notes a failure of the run and shows it.
    void fail(const Failure& failure);

    /// A new stop for a run that begins. A stop of the run before stays requested.
    std::stop_token beginRun();
    std::stop_token currentStop() const;
    void run(const OptionList& options, Delivery delivery, const std::stop_token& stop);
    /// False when the run cannot go on after it.
    bool processSequence(SequenceDocument& document, std::size_t row, QVSequence& record,
                         const OptionList& options, const TidyControls& controls);
    void finishCopies();
    void deliver(SequenceDocument& document, Delivery delivery, const TidyControls& controls);
    void processXML(SequenceDocument& document, const TidyControls& controls);
    void deliverToFCP(SequenceDocument& document, const TidyControls& controls);
    TidyControls controls(std::stop_token stop);
    std::vector<XMLNode> deliverables() const;
    XMLNode runAlone(PassFunction pass, XMLNode sequence);
    std::vector<std::string> ignoredEffects() const;

    using Pictures = std::vector<std::shared_ptr<const TimelinePicture>>;

    /// What there was before a run.
    struct ResultsAside {
        RunResult run;
        ChangeLedger ledger;
        Pictures pictures;
        std::vector<XMLNode> tidied;
        /// Of each record of sequenceArray().
        std::vector<std::pair<XMLNode, std::optional<std::string>>> records;
    };

    DocumentView& view_;
    std::string path_;
    std::unique_ptr<QVFCPProjectController> projectController_;
    bool isFCPProject_ = false;
    FinalCutProHost host_;
    mutable std::mutex sequencesMutex_;
    std::shared_ptr<const SequenceArray> sequences_;
    /// What the records were listed from, in the same order.
    std::shared_ptr<SequenceDocument> document_;
    std::optional<Failure> listFailure_;
    mutable std::mutex stopMutex_;
    std::stop_source stop_;
    std::stop_source listStop_;  ///< requested when the document goes
    std::vector<std::string> extraIgnoredEffects_;
    std::vector<std::string> keptClips_;
    TidyRules rules_;
    std::shared_ptr<MediaCatalogue> catalogue_;  ///< of the run's document
    bool keepsPicture_ = false;
    bool provesPicture_ = false;
    bool importsSafely_ = false;
    bool drawsTimelines_ = false;
    /// Of the run that is going, with the records that they were made for.
    std::vector<std::unique_ptr<CopyInWork>> copies_;
    std::vector<QVSequence*> copiedRecords_;
    std::vector<std::unique_ptr<CopyPicture>> copyPictures_;  ///< empty without pictures
    RunResult runResult_;
    ChangeLedger ledger_;
    Pictures pictures_;
    std::vector<XMLNode> tidied_;
    ResultsAside aside_;
    DocumentThread populateThread_;
    DocumentThread processThread_;
};

}  // namespace reelsweep
