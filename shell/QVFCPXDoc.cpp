#include "shell/QVFCPXDoc.h"

#include "documents/DocumentFormat.h"
#include "services/QVException.h"
#include "services/QVLog.h"
#include "shell/BundleFile.h"
#include "shell/QVFCPDoc.h"
#include "shell/ViewAlert.h"

#include <numeric>

namespace reelsweep {

QVFCPXDoc::QVFCPXDoc(DocumentView& view) : view_(view) {}

QVFCPXDoc::~QVFCPXDoc() {
    cancelProgress();
    waitUntilProcessed();
}

Outcome QVFCPXDoc::readFromURL(const std::string& path) {
    Result<std::unique_ptr<FCPXMLDocument>> opened = FCPXMLDocument::open(path);
    hasProject_ = opened.ok();
    // One with a detail is valid XML.
    if (!opened && takesEvents_ && !opened.failure().detail.empty())
        if (auto event = FCPXMLDocument::open(path, FCPXMLDocument::Holding::anything))
            opened = std::move(event);
    if (!opened) {
        // Whoever opened the file tells the user when it is not valid.
        if (const Failure& failure = opened.failure(); !failure.detail.empty()) {
            showAlert(failure.message, failure.detail, AlertStyle::warning);
            hasShownFailure_ = true;
        }
        return opened.failure();
    }
    document_ = std::move(*opened);
    path_ = path;
    return Done{};
}

Outcome QVFCPXDoc::writeToURL(const std::string& path, Overwrite overwrite,
                              bool refuseWhenChanged) const {
    const Result<FileIdentity> written = write(path, overwrite, refuseWhenChanged);
    return written ? Outcome(Done{}) : Outcome(written.failure());
}

Outcome QVFCPXDoc::saveToURL(const std::string& path) {
    const Result<FileIdentity> written = write(path, Overwrite::always, path == path_);
    if (!written) return written.failure();
    file_ = *written;
    path_ = path;
    document_->setPath(path);
    return Done{};
}

Result<FileIdentity> QVFCPXDoc::write(const std::string& path, Overwrite overwrite,
                                      bool refuseWhenChanged) const {
    if (!xmlDoc_) return Failure{FailureCode::outputFailed, "there is no result to save", path};
    const FileIdentity mustStillBe = refuseWhenChanged ? file_ : FileIdentity();
    if (!isFCPXMLBundle(path)) return saveDocument(*xmlDoc_, path, {overwrite, mustStillBe, {}});
    if (mustStillBe.known() && FileIdentity::ofFile(documentFile(path)) != mustStillBe)
        return Failure{FailureCode::outputFailed,
                       "was changed by another program since it was read; nothing was written",
                       path};
    const Outcome saved =
        saveBundle(path, overwrite, path_, [&](const std::string& inside) -> Outcome {
            const auto written = saveDocument(*xmlDoc_, inside, {Overwrite::always, {}, {}});
            return written ? Outcome(Done{}) : Outcome(written.failure());
        });
    if (!saved) return saved.failure();
    return FileIdentity::ofFile(documentFile(path));
}

void QVFCPXDoc::setProgressLabelText(const std::string& text) {
    onMainThread([&] { view_.setProgressLabelText(text); });
}

void QVFCPXDoc::showAlert(const std::string& message, const std::string& informative,
                          AlertStyle style) {
    showViewAlert(view_, message, informative, style);
}

void QVFCPXDoc::setResultsAside() {
    aside_ = {std::move(xmlDoc_), file_, runResult_, std::move(ledger_)};
    xmlDoc_ = nullptr;
    ledger_ = ChangeLedger();
}

void QVFCPXDoc::restoreResults() {
    xmlDoc_ = std::move(aside_.document);
    file_ = aside_.file;
    runResult_ = std::move(aside_.run);
    ledger_ = std::move(aside_.ledger);
    aside_ = {};
}

std::stop_token QVFCPXDoc::beginRun() {
    const std::lock_guard lock(stopMutex_);
    stop_ = std::stop_source();
    return stop_.get_token();
}

void QVFCPXDoc::cancelProgress() {
    const std::lock_guard lock(stopMutex_);
    stop_.request_stop();
}

TidyControls QVFCPXDoc::controls(std::stop_token stop) {
    return {std::move(stop), [this](const std::string& text) { setProgressLabelText(text); }};
}

void QVFCPXDoc::process(const OptionList& options, std::function<void()> ended) {
    thread_.start([this, options, stop = beginRun()] { run(options, stop); }, std::move(ended));
}

void QVFCPXDoc::startProcessing(const OptionList& options) { run(options, beginRun()); }

void QVFCPXDoc::run(const OptionList& options, std::stop_token stop) {
    runResult_ = RunResult();
    notes_.clear();
    ledger_ = ChangeLedger();
    onMainThread([this] { view_.startProgress(); });
    setProgressLabelText("Initializing...");
    try {
        processFile(options, std::move(stop));
    } catch (const std::exception& error) {
        const std::string text = QVException::logException(error, "-[QVFCPXDoc startProcessing:]");
        runResult_.failures.push_back({FailureCode::internal, text, path_});
        onMainThread([this] { view_.endProgress(); });
    }
}

void QVFCPXDoc::processFile(const OptionList& options, std::stop_token stop) {
    Result<Tidied> tidied = document_->tidy({.passes = options, .fcpxMarkerKinds = markerKinds_},
                                            controls(std::move(stop)));
    if (!tidied && tidied.failure().code != FailureCode::cancelled) {
        runResult_.failures.push_back(tidied.failure());
        // The progress sheet stays up behind the alert. The window that it blocks has nothing to
        // show: its file cannot be read any more.
        showAlert("Unable to load XML data", tidied.failure().description(), AlertStyle::warning);
        return;
    }
    // A cancelled run leaves no result, but ends with the same alert as any other.
    runResult_.cancelled = !tidied;
    runResult_.delivered = tidied.ok();
    if (tidied) ledger_ = tidied->ledger();
    if (tidied) notes_ = tidied->notes();
    logCounts(options);
    // A window shows the result when the progress ends.
    onMainThread([this] { view_.endProgress(); });
    xmlDoc_ = tidied ? tidied->sharedDocument() : nullptr;
    if (xmlDoc_) file_ = xmlDoc_->loadedFile();
    onMainThread([this] { view_.markChanged(); });
    processXML();
}

std::shared_ptr<XMLDocument> QVFCPXDoc::runAlone(Outcome (*pass)(const XMLDocument&,
                                                                 SequenceLedger&,
                                                                 const TidyControls&),
                                                 std::shared_ptr<XMLDocument> document) {
    if (!document) return nullptr;
    SequenceLedger& ledger =
        ledger_.sequences.empty() ? ledger_.sequences.emplace_back() : ledger_.sequences.back();
    if (!pass(*document, ledger, controls(beginRun()))) return nullptr;
    return document;
}

std::shared_ptr<XMLDocument> QVFCPXDoc::removeFilters(std::shared_ptr<XMLDocument> document) {
    return runAlone(removeFCPXFilters, std::move(document));
}

std::shared_ptr<XMLDocument> QVFCPXDoc::removeMarkers(std::shared_ptr<XMLDocument> document) {
    return runAlone(removeFCPXMarkers, std::move(document));
}

XMLNode QVFCPXDoc::nodeFromXPath(std::string_view query, XMLNode parent) {
    return QVFCPDoc::nodeFromXPath(query, parent);
}

void QVFCPXDoc::logCounts(const OptionList& options) const {
    for (const SequenceLedger& sequence : ledger_.sequences)
        for (const PassRow& pass : fcpxPassTable()) {
            if (!hasOption(options, pass.option)) continue;
            const SequenceLedger::Totals totals = sequence.totals(pass.option);
            const std::size_t count = std::accumulate(totals.begin(), totals.end(), std::size_t{0});
            QVLog::appendLog("%@ - %@: %@ changes", sequence.title, pass.title,
                             std::to_string(count));
        }
}

void QVFCPXDoc::processXML() {
    onMainThread([this] { view_.endProgress(); });
    std::string text = "Please save the XML file.";
    for (const std::string& note : notes_) text += " " + note + ".";
    showAlert("Processing complete", text, AlertStyle::informational);
}

}  // namespace reelsweep
