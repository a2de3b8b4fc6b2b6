#include "shell/QVFCPDoc.h"

#include "base/Log.h"
#include "platform/Platform.h"
#include "services/QVException.h"
#include "shell/ViewAlert.h"
#include "timeline/QVXMLParser.h"
#include "xml/XMLQuery.h"

#include <algorithm>

namespace reelsweep {

QVFCPDoc::QVFCPDoc(DocumentView& view)
    : view_(view),
      projectController_(std::make_unique<QVFCPProjectController>()),
      sequences_(std::make_shared<SequenceArray>()) {}

QVFCPDoc::~QVFCPDoc() {
    cancelProgress();
    listStop_.request_stop();
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
        return Failure{FailureCode::outputFailed, "there is no document to save", path};
    const FileIdentity mustStillBe = refuseWhenChanged ? document->loadedFile() : FileIdentity();
    return saveDocument(*document, path, {overwrite, mustStillBe, finalCutProXMLCodes});
}

bool QVFCPDoc::hasProjectNode() const {
    const auto& document = projectController_->xmlDoc();
    return document && projectChildren(*document);
}

// Sequences

std::shared_ptr<const SequenceArray> QVFCPDoc::sequenceArray() const {
    const std::lock_guard lock(sequencesMutex_);
    return sequences_;
}

std::shared_ptr<SequenceDocument> QVFCPDoc::document() const {
    const std::lock_guard lock(sequencesMutex_);
    return document_;
}

std::optional<Failure> QVFCPDoc::listFailure() const {
    const std::lock_guard lock(sequencesMutex_);
    return listFailure_;
}

std::shared_ptr<SequenceDocument> QVFCPDoc::listedDocument(const std::string& path) {
    if (!isFCPProject_) return std::make_shared<XMEMLDocument>(path, projectController_->xmlDoc());
    auto document = std::make_shared<NativeDocument>(path, host_);
    const Outcome listed = document->list(listStop_.get_token());
    const std::lock_guard lock(sequencesMutex_);
    listFailure_ = listed ? std::nullopt : std::optional(listed.failure());
    return document;
}

void QVFCPDoc::populateSequencesForProject(const std::string& path) {
    if (!projectController_) return;
    const std::shared_ptr<SequenceDocument> document = listedDocument(path);
    auto records = std::make_shared<SequenceArray>();
    for (const SourceSequence& sequence : document->sequences()) {
        auto record = sequence.isShortForm
                          ? QVSequence::sequencePlaceholderWithXML(sequence.node)
                          : QVSequence::sequenceWithXMLRepresentation(sequence.node);
        record->fetchedDocument = sequence.owner;
        records->push_back(std::move(record));
    }
    {
        const std::lock_guard lock(sequencesMutex_);
        sequences_ = std::move(records);
        document_ = document;
    }
    // Nobody looks any more at the list of a document that goes.
    if (!listStop_.stop_requested()) onMainThread([this] { view_.reloadTable(); });
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

void QVFCPDoc::endProgress() {
    onMainThread([this] { view_.endProgress(); });
}

void QVFCPDoc::setProgressLabelText(const std::string& text) {
    onMainThread([&] { view_.setProgressLabelText(text); });
}

void QVFCPDoc::showAlert(const std::string& message, const std::string& informative,
                         AlertStyle style) {
    showViewAlert(view_, message, informative, style);
}

void QVFCPDoc::fail(const Failure& failure) {
    runResult_.failures.push_back(failure);
    showAlert(failure.message, failure.detail, AlertStyle::warning);
}

// The run

std::stop_token QVFCPDoc::beginRun() {
    const std::lock_guard lock(stopMutex_);
    stop_ = std::stop_source();
    return stop_.get_token();
}

std::stop_token QVFCPDoc::currentStop() const {
    const std::lock_guard lock(stopMutex_);
    return stop_.get_token();
}

void QVFCPDoc::cancelProgress() {
    const std::lock_guard lock(stopMutex_);
    stop_.request_stop();
}

void QVFCPDoc::process(const OptionList& options, std::function<void()> ended) {
    const auto work = [this, options, stop = beginRun()] {
        run(options, Delivery::automatic, stop);
    };
    processThread_.start(work, std::move(ended));
}

void QVFCPDoc::startProcessing(const OptionList& options, Delivery delivery) {
    run(options, delivery, beginRun());
}

TidyControls QVFCPDoc::controls(std::stop_token stop) {
    return {std::move(stop), [this](const std::string& text) { setProgressLabelText(text); }};
}

void QVFCPDoc::run(const OptionList& options, Delivery delivery, const std::stop_token& stop) {
    runResult_ = RunResult();
    ledger_ = ChangeLedger();
    pictures_.clear();
    tidied_.clear();
    onMainThread([this] { view_.startProgress(); });
    setProgressLabelText("Initializing...");
    const auto records = sequenceArray();
    const auto document = this->document();
    try {
        bool goesOn = document != nullptr;
        catalogue_ =
            goesOn && document->tree() ? MediaCatalogue::of(document->tree()->node()) : nullptr;
        const auto count = static_cast<std::size_t>(
            std::count_if(records->begin(), records->end(),
                          [](const auto& record) { return record->selected.load(); }));
        std::size_t position = 0;
        for (std::size_t row = 0; row < records->size() && goesOn; ++row) {
            QVSequence& record = *(*records)[row];
            if (stop.stop_requested()) break;
            if (!record.selected) continue;
            ++position;
            onMainThread([&] { view_.setProgressSequence(record.title, position, count); });
            goesOn = processSequence(*document, row, record, options, controls(stop));
        }
        if (!stop.stop_requested() && goesOn && importsSafely_)
            goesOn = makeImportSafe(copies_, isFCPProject_ ? nullptr : document->tree(), stop).ok();
        finishCopies();
        // Without a delivery what was made so far is of no use.
        if (!goesOn) tidied_.clear();
        if (!stop.stop_requested() && goesOn) deliver(*document, delivery, controls(stop));
    } catch (const std::exception& error) {
        tidied_.clear();
        const std::string text = QVException::logException(error, "-[QVFCPDoc startProcessing:]");
        runResult_.failures.push_back({FailureCode::internal, text, path_});
        copies_.clear();
        copiedRecords_.clear();
        copyPictures_.clear();
    }
    // What was delivered before the cancel came is not taken back.
    runResult_.cancelled = stop.stop_requested() && !runResult_.delivered;
    if (runResult_.cancelled) tidied_.clear();
    endProgress();
}

bool QVFCPDoc::processSequence(SequenceDocument& document, std::size_t row, QVSequence& record,
                               const OptionList& options, const TidyControls& controls) {
    const Result<SourceSequence> source = document.wholeSequence(row, controls);
    if (!source && source.failure().code == FailureCode::cancelled) return false;
    if (!source) {
        // The record stays ticked, and its short form goes into the bin. There the editor sees
        // which sequence is missing.
        fail(source.failure());
        return true;
    }
    record.xmlRepresentation = source->node;
    record.fetchedDocument = source->owner;
    record.isPlaceholder = source->isShortForm;
    // A sequence that was fetched has a document of its own.
    const auto catalogue = source->owner ? MediaCatalogue::of(source->node.top()) : catalogue_;
    auto picture = drawsTimelines_ ? std::make_unique<CopyPicture>(catalogue) : nullptr;
    TidyControls watched = controls;
    watched.observer = picture.get();
    auto copy = CopyInWork::begin(*source,
                                  {options, ignoredEffects(), keepsPicture_, provesPicture_,
                                   keptClips_, rules_, importsSafely_, catalogue},
                                  watched);
    record.processedXMLRepresentation = copy ? (*copy)->sequence() : XMLNode();
    if (copy) {
        record.newUUID = QVXMLParser::uuidForNode((*copy)->sequence());
        tidied_.push_back((*copy)->sequence());
        copies_.push_back(std::move(*copy));
        copiedRecords_.push_back(&record);
        if (picture) copyPictures_.push_back(std::move(picture));
    } else if (copy.failure().code != FailureCode::cancelled) {
        // The source would take the result's place in the bin and pass for tidied.
        endProgress();
        fail(copy.failure());
    }
    return copy.ok();
}

void QVFCPDoc::finishCopies() {
    for (std::size_t i = 0; i < copies_.size(); ++i) {
        const XMLNode sequence = copies_[i]->sequence();
        ledger_.sequences.push_back(copies_[i]->finish().ledger);
        ledger_.sequences.back().title = copiedRecords_[i]->title;
        if (drawsTimelines_)
            pictures_.push_back(copyPictures_[i]->finish(sequence, ledger_.sequences.back()));
    }
    copies_.clear();
    copiedRecords_.clear();
    copyPictures_.clear();
}

TidyRequest QVFCPDoc::tidyRequest(const OptionList& options, bool keepsPicture) const {
    return {options, ignoredEffects(), keepsPicture, false, keptClips_, rules_};
}

std::shared_ptr<const XMLDocument> QVFCPDoc::tree() const {
    return projectController_ && !isFCPProject_ ? projectController_->xmlDoc() : nullptr;
}

std::vector<std::string> QVFCPDoc::ignoredEffects() const {
    // The preference "ignoredFilters" is for filters that a user wants spared. To spare a filter is
    // one wish, to call its clip see-through another.
    std::vector<std::string> names =
        Platform::current().userDefaults->stringArrayForKey("ignoredEffects");
    names.insert(names.end(), extraIgnoredEffects_.begin(), extraIgnoredEffects_.end());
    return names;
}

XMLNode QVFCPDoc::renameSequence(XMLNode sequence) {
    renameCopy(sequence);
    return sequence;
}

// Delivery

void QVFCPDoc::deliver(SequenceDocument& document, Delivery delivery,
                       const TidyControls& controls) {
    if (Outcome verified = verifySource(); !verified) {
        Log::append("Unable to load XML data - %@", verified.failure().description());
        runResult_.failures.push_back(verified.failure());
        tidied_.clear();
    } else if (delivery != Delivery::none) {
        isFCPProject_ ? deliverToFCP(document, controls) : processXML(document, controls);
    }
}

void QVFCPDoc::processXML(SequenceDocument& document, const TidyControls& controls) {
    const auto delivered =
        document.deliver(deliverables(), {.delivery = Delivery::project}, controls);
    if (!delivered && delivered.failure().code == FailureCode::cancelled) return;
    if (!delivered) {
        endProgress();
        fail(delivered.failure());
        return;
    }
    runResult_.delivered = true;
    onMainThread([this] { view_.markChanged(); });
    endProgress();
    showAlert("Processing complete", "Please save the XML file.", AlertStyle::informational);
}

void QVFCPDoc::sendToFCP() {
    try {
        if (const auto document = this->document()) deliverToFCP(*document, controls(beginRun()));
    } catch (const std::exception& error) {
        const std::string text = QVException::logException(error, "-[QVFCPDoc sendToFCP:]");
        runResult_.failures.push_back({FailureCode::internal, text, path_});
        endProgress();
    }
}

void QVFCPDoc::deliverToFCP(SequenceDocument& document, const TidyControls& controls) {
    const auto sent = document.deliver(deliverables(), {.delivery = Delivery::host}, controls);
    if (!sent && sent.failure().code == FailureCode::cancelled) return;
    if (sent) {
        runResult_.delivered = true;
        endProgress();
        showAlert("Processing complete",
                  "A duplicate of the sequence has been added to the Reelsweep bin.",
                  AlertStyle::informational);
        std::vector<std::string> copies;
        const auto records = sequenceArray();
        for (const auto& record : *records)
            if (record->selected && record->newUUID) copies.push_back(*record->newUUID);
        document.showDelivered(copies, controls.stop);
    } else {
        // The alert comes before the progress ends, so it stands free of the sheet.
        fail(sent.failure());
        endProgress();
    }
    Log::append("Processing complete");
    if (!controls.stop.stop_requested()) populateSequencesForProject(path_);
}

XMLNode QVFCPDoc::nodeFromXPath(std::string_view query, XMLNode parent) {
    const auto nodes = selectNodes(parent, query);
    return nodes && !nodes->empty() ? nodes->front() : XMLNode();
}

}  // namespace reelsweep
