#include "shell/QVFCPDoc.h"

#include "base/Log.h"
#include "documents/DocumentFormat.h"
#include "hosts/QVAppleEvents.h"
#include "platform/Platform.h"
#include "services/QVAlert.h"
#include "services/QVException.h"
#include "tidy/passes/Passes.h"
#include "timeline/QVXMLParser.h"
#include "xml/XMLQuery.h"

#include <algorithm>

namespace reelsweep {

QVFCPDoc::QVFCPDoc(DocumentView& view)
    : view_(view),
      projectController_(std::make_unique<QVFCPProjectController>()),
      sequences_(std::make_shared<SequenceArray>()) {}

QVFCPDoc::~QVFCPDoc() {
    processingCancelled_ = true;
    waitUntilProcessed();
    waitUntilPopulated();
}

// Opening and saving

Outcome QVFCPDoc::readFromURL(const std::string& path, Verification verification) {
    waitUntilPopulated();
    path_ = path;
    projectController_ = std::make_unique<QVFCPProjectController>();
    isFCPProject_ = isNativeProject(path);
    if (isFCPProject_) {
        Log::append("Loading FCP project");
        populate(path);
        return Done{};
    }
    projectController_->setXmlDocFromFilePath(path, verification);
    Log::append("Loading XML file");
    populate(path);
    if (const auto& failure = projectController_->loadFailure()) return *failure;
    return Done{};
}

void QVFCPDoc::populate(const std::string& path) {
    populateThread_.start([this, path] {
        try {
            populateSequencesForProject(path);
        } catch (const std::exception& error) {
            QVException::logException(error, "-[QVFCPDoc populateSequencesForProject:]");
        }
    });
}

Outcome QVFCPDoc::verifySource() const {
    const auto& document = projectController_->xmlDoc();
    return document ? document->verify() : Outcome(Done{});
}

Outcome QVFCPDoc::writeToURL(const std::string& path, Overwrite overwrite,
                             bool refuseWhenChanged) const {
    const Result<FileIdentity> written = write(path, overwrite, refuseWhenChanged);
    return written ? Outcome(Done{}) : Outcome(written.failure());
}

Outcome QVFCPDoc::saveToURL(const std::string& path) {
    const Result<FileIdentity> written = write(path, Overwrite::always, path == path_);
    if (!written) return written.failure();
    projectController_->xmlDoc()->setLoadedFile(*written);
    path_ = path;
    return Done{};
}

Result<FileIdentity> QVFCPDoc::write(const std::string& path, Overwrite overwrite,
                                     bool refuseWhenChanged) const {
    const auto& document = projectController_->xmlDoc();
    if (!document || isFCPProject_)
        return Failure{FailureCode::outputFailed, "there is no document to save", path, 0, 0, ""};
    AtomicFile file(path, overwrite);
    if (refuseWhenChanged) file.expectUnchanged(document->loadedFile());
    if (Outcome opened = file.open(); !opened) return opened.failure();
    document->serialise(XMLFormat::pretty, file);
    writeHFSCodes(file.descriptor(), finalCutProXMLCodes);
    const FileIdentity identity = FileIdentity::ofDescriptor(file.descriptor());
    if (Outcome committed = file.commit(); !committed) return committed.failure();
    return identity;
}

bool QVFCPDoc::hasProjectNode() const {
    return bool(projectController_->firstNodeForQuery("./xmeml/project/children"));
}

// Sequences

std::shared_ptr<const SequenceArray> QVFCPDoc::sequenceArray() const {
    const std::lock_guard lock(sequencesMutex_);
    return sequences_;
}

void QVFCPDoc::populateSequencesForProject(const std::string& path) {
    if (!projectController_) return;
    std::shared_ptr<SequenceArray> records;
    if (isFCPProject_) {
        records = recordsFromFCP(path);
    } else {
        records = std::make_shared<SequenceArray>();
        // Every sequence with a name, nested ones too: what the query ".//sequence/name/.." finds.
        if (const auto& document = projectController_->xmlDoc())
            document->node().forEachDescendant({"sequence"}, [&](XMLNode sequence) {
                if (sequence.child("name"))
                    records->push_back(QVSequence::sequenceWithXMLRepresentation(sequence));
            });
    }
    {
        const std::lock_guard lock(sequencesMutex_);
        sequences_ = std::move(records);
    }
    onMainThread([this] { view_.reloadTable(); });
}

void QVFCPDoc::setSelected(const std::vector<std::size_t>& rows, bool selected) {
    const auto records = sequenceArray();
    for (const std::size_t row : rows)
        if (row < records->size()) (*records)[row]->selected = selected;
    enableProcessButton(*records);
}

void QVFCPDoc::setAllSelected(bool selected) {
    const auto records = sequenceArray();
    for (const auto& record : *records) record->selected = selected;
    enableProcessButton(*records);
}

void QVFCPDoc::enableProcessButton(const SequenceArray& records) {
    const bool any = std::any_of(records.begin(), records.end(),
                                 [](const auto& record) { return record->selected.load(); });
    view_.enableProcessButton(any);
}

bool QVFCPDoc::hasResults() const {
    const auto records = sequenceArray();
    return std::any_of(records->begin(), records->end(), [](const auto& record) {
        return record->selected && record->processedXMLRepresentation;
    });
}

// Progress and alerts

void QVFCPDoc::startProgress() {
    onMainThread([this] {
        processingCancelled_ = false;
        view_.startProgress();
    });
}

void QVFCPDoc::endProgress() {
    onMainThread([this] { view_.endProgress(); });
}

void QVFCPDoc::setProgressLabelText(const std::string& text) {
    onMainThread([&] { view_.setProgressLabelText(text); });
}

void QVFCPDoc::showAlert(const std::string& message, const std::string& informative,
                         AlertStyle style) {
    WindowRef window;
    onMainThread([&] { window = view_.window(); });
    QVAlert::alertSheet(message, informative, window, style);
}

// The run

void QVFCPDoc::process(const OptionList& options, std::function<void()> ended) {
    const auto run = [this, options] {
        startProcessing(options);
        // What is sent or exported after a cancelled run is not cancelled.
        processingCancelled_ = false;
    };
    processThread_.start(run, std::move(ended));
}

void QVFCPDoc::startProcessing(const OptionList& options, Delivery delivery) {
    runResult_ = RunResult();
    ledger_ = ChangeLedger();
    startProgress();
    setProgressLabelText("Initializing...");
    try {
        bool goesOn = true;
        const auto records = sequenceArray();
        for (const auto& record : *records) {
            if (processingCancelled_ || !goesOn) break;
            if (record->selected) goesOn = processSequence(*record, options);
        }
        if (!processingCancelled_ && goesOn) deliver(delivery);
    } catch (const std::exception& error) {
        const std::string text = QVException::logException(error, "-[QVFCPDoc startProcessing:]");
        runResult_.failures.push_back({FailureCode::internal, text, path_, 0, 0, ""});
    }
    // A cancel that came too late to keep the result back is none.
    runResult_.cancelled = processingCancelled_ && !runResult_.delivered;
    endProgress();
}

void QVFCPDoc::deliver(Delivery delivery) {
    if (Outcome verified = verifySource(); !verified) {
        Log::append("Unable to load XML data - %@", verified.failure().description());
        runResult_.failures.push_back(verified.failure());
    } else if (delivery == Delivery::toSource) {
        isFCPProject_ ? sendToFCP() : processXML();
    }
}

bool QVFCPDoc::processSequence(QVSequence& record, const OptionList& options) {
    const XMLNode copy = renameSequence(workingCopy(record));
    if (!copy) return true;
    record.newUUID = QVXMLParser::uuidForNode(copy);
    std::string failure;
    record.processedXMLRepresentation = applyPasses(copy, record, options, failure);
    if (failure.empty()) return true;
    // The source would take the result's place in the bin and pass for tidied.
    const std::string informative = "Sequence \"" + record.title + "\". " + failure + ".";
    failDelivery("Unable to tidy. " + informative, "Unable to tidy", informative);
    return false;
}

XMLNode QVFCPDoc::applyPasses(XMLNode copy, QVSequence& record, const OptionList& options,
                              std::string& failure) {
    SequenceLedger& ledger = ledger_.sequences.emplace_back();
    ledger.document = record.fetchedDocument;
    ledger.title = record.title;
    ledger.uuid = record.uuid().value_or(std::string());
    ledger.timecode = SequenceTimecode::of(copy);
    TimelineEdit edit(copy, ledger);
    const std::vector<std::string> ignored = ignoredEffects();
    PassRun run{edit, processingCancelled_, options, ignored,
                [this](const std::string& text) { setProgressLabelText(text); }};
    XMLNode sequence = copy;
    for (const PassRow& pass : passTable()) {
        if (!sequence) break;
        if (!pass.run || !run.has(pass.option)) continue;
        edit.beginPass(pass.option);
        sequence = pass.run(run, sequence);
    }
    edit.finish(record.xmlRepresentation);
    failure = run.failure;
    return sequence;
}

XMLNode QVFCPDoc::renameSequence(XMLNode sequence) {
    constexpr std::string_view suffix = "-Tidied";
    const std::string id(sequence.attribute("id").value_or("Sequence"));
    // The other attributes are the editing system's view of the original: window positions,
    // previews.
    sequence.setOnlyAttribute("id", id + std::string(suffix));
    if (XMLNode name = sequence.child("name"))
        name.setText(name.stringValue() + std::string(suffix));
    if (XMLNode uuid = sequence.child("uuid")) uuid.setText(QVAppleEvents::generateUUID());
    return sequence;
}

// Not "ignoredFilters", which the preferences keep for filters that a user wants spared: to spare a
// filter and to call its clip see-through are two wishes.
std::vector<std::string> QVFCPDoc::ignoredEffects() const {
    std::vector<std::string> names =
        Platform::current().userDefaults->stringArrayForKey("ignoredEffects");
    names.insert(names.end(), extraIgnoredEffects_.begin(), extraIgnoredEffects_.end());
    return names;
}

// Delivery

BinText BinText::make(std::optional<int> xmemlVersion) {
    BinText text;
    if (xmemlVersion) {
        text.before =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE xmeml><xmeml version=\"" +
            std::to_string(*xmemlVersion) + "\">";
        text.after = "</xmeml>";
    }
    text.before += "<bin><uuid>" + QVAppleEvents::generateUUID() +
                   "</uuid><updatebehavior>add</updatebehavior><name>Reelsweep</name><children>";
    text.after = "</children></bin>" + text.after;
    return text;
}

std::optional<std::string> QVFCPDoc::generateXMLOutput(bool includeHeader) {
    const BinText bin = BinText::make(
        includeHeader ? std::optional(QVAppleEvents::maximumXMEMLVersion()) : std::nullopt);
    std::string output = bin.before;
    const auto records = sequenceArray();
    for (const auto& record : *records) {
        if (processingCancelled_) return {};
        if (!record->selected) continue;
        const XMLNode processed = record->processedXMLRepresentation;
        output += serialise(processed ? processed : record->xmlRepresentation);
    }
    return output + bin.after;
}

// The bin that generateXMLOutput(false) writes, made of the results themselves: writing hundreds of
// megabytes out to read them back in gives the same nodes.
Result<XMLNode> QVFCPDoc::makeBin(XMLNode project) {
    const BinText text = BinText::make({});
    Result<XMLNode> bin = project.parseDetached(text.before + text.after);
    if (!bin) return bin;
    XMLNode children = bin->child("children");
    const auto records = sequenceArray();
    for (const auto& record : *records) {
        if (processingCancelled_)
            return Failure{FailureCode::cancelled, "cancelled", path_, 0, 0, ""};
        if (!record->selected) continue;
        const XMLNode processed = record->processedXMLRepresentation;
        // A result that an earlier bin holds already stays there.
        if (!processed)
            children.appendChild(record->xmlRepresentation.copy());
        else
            children.appendChild(processed.parent() ? processed.copy() : processed);
    }
    return bin;
}

void QVFCPDoc::failDelivery(const std::string& logLine, const std::string& message,
                            const std::string& informative) {
    Log::append("%@", logLine);
    runResult_.failures.push_back(
        {FailureCode::processing, message + ". " + informative, path_, 0, 0, ""});
    endProgress();
    showAlert(message, informative, AlertStyle::warning);
}

void QVFCPDoc::processXML() {
    XMLNode children = projectController_->firstNodeForQuery("./xmeml/project/children");
    if (!children) {
        const std::string message = "No project node found";
        const std::string informative =
            "Please perform this task on an XML document for the entire project, not a specific "
            "sequence or element.";
        failDelivery(message + ". " + informative, message, informative);
        return;
    }
    const Result<XMLNode> bin = makeBin(children);
    if (processingCancelled_) return;
    if (!bin) {
        const std::string reason = bin.failure().description();
        failDelivery("Error creating bin. " + reason + ".", "Error creating bin", reason);
        return;
    }
    children.appendChild(*bin);
    runResult_.delivered = true;
    onMainThread([this] { view_.markChanged(); });
    endProgress();
    showAlert("Processing complete", "Please save the XML file.", AlertStyle::informational);
}

// The passes by themselves

XMLNode QVFCPDoc::runAlone(XMLNode sequence, const PassOperation& operation) {
    if (!sequence) return {};
    TimelineEdit edit(sequence, ledger_.sequences.emplace_back());
    const OptionList options;
    const std::vector<std::string> ignored = ignoredEffects();
    PassRun run{edit, processingCancelled_, options, ignored,
                [this](const std::string& text) { setProgressLabelText(text); }};
    const XMLNode result = operation(run);
    edit.finish();
    return result;
}

XMLNode QVFCPDoc::removeDisabledClips(XMLNode sequence, std::string_view type) {
    return runAlone(sequence,
                    [&](PassRun& run) { return passes::removeDisabledClips(run, sequence, type); });
}

XMLNode QVFCPDoc::removeSilentAudioClips(XMLNode sequence) {
    return runAlone(sequence,
                    [&](PassRun& run) { return passes::removeSilentAudioClips(run, sequence); });
}

XMLNode QVFCPDoc::removeObscuredClips(XMLNode sequence) {
    return runAlone(sequence,
                    [&](PassRun& run) { return passes::removeObscuredClips(run, sequence); });
}

XMLNode QVFCPDoc::collapseTracks(XMLNode sequence, bool reverse) {
    return runAlone(sequence,
                    [&](PassRun& run) { return passes::collapseTracks(run, sequence, reverse); });
}

XMLNode QVFCPDoc::mergeClips(XMLNode sequence) {
    return runAlone(sequence, [&](PassRun& run) { return passes::mergeClips(run, sequence); });
}

XMLNode QVFCPDoc::collapseMulticlips(XMLNode sequence) {
    return runAlone(sequence,
                    [&](PassRun& run) { return passes::collapseMulticlips(run, sequence); });
}

XMLNode QVFCPDoc::removeUnusedTracks(XMLNode sequence) {
    return runAlone(sequence,
                    [&](PassRun& run) { return passes::removeUnusedTracks(run, sequence); });
}

XMLNode QVFCPDoc::replaceGapsWithSlugs(XMLNode sequence) {
    return runAlone(sequence,
                    [&](PassRun& run) { return passes::replaceGapsWithSlugs(run, sequence); });
}

XMLNode QVFCPDoc::removeFilters(XMLNode sequence) {
    return runAlone(sequence, [&](PassRun& run) { return passes::removeFilters(run, sequence); });
}

XMLNode QVFCPDoc::removeMarkers(XMLNode sequence) {
    return runAlone(sequence, [&](PassRun& run) { return passes::removeMarkers(run, sequence); });
}

XMLNode QVFCPDoc::removeVideoTransitions(XMLNode sequence) {
    return removeTransitions(sequence, "video");
}

XMLNode QVFCPDoc::removeAudioTransitions(XMLNode sequence) {
    return removeTransitions(sequence, "audio");
}

XMLNode QVFCPDoc::removeTransitions(XMLNode sequence, std::string_view type) {
    return runAlone(sequence,
                    [&](PassRun& run) { return passes::removeTransitions(run, sequence, type); });
}

bool QVFCPDoc::isClipTransparent(XMLNode clip) {
    return passes::isClipTransparent(clip, ignoredEffects());
}

XMLNode QVFCPDoc::nodeFromXPath(std::string_view query, XMLNode parent) {
    const auto nodes = selectNodes(parent, query);
    return nodes && !nodes->empty() ? nodes->front() : XMLNode();
}

}  // namespace reelsweep
