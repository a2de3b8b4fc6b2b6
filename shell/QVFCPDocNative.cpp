// The document's dealings with Final Cut Pro, for native projects.
#include "base/Log.h"
#include "hosts/QVAppleEvents.h"
#include "services/QVException.h"
#include "shell/QVFCPDoc.h"
#include "xml/XMLQuery.h"

namespace reelsweep {

std::optional<Failure> QVFCPDoc::listFailure() const {
    const std::lock_guard lock(sequencesMutex_);
    return listFailure_;
}

std::shared_ptr<SequenceArray> QVFCPDoc::recordsFromFCP(const std::string& path) {
    auto records = std::make_shared<SequenceArray>();
    const auto listing = QVAppleEvents::sequencesInProject(path, launchesFCP_);
    {
        const std::lock_guard lock(sequencesMutex_);
        listFailure_.reset();
        if (!listing)
            listFailure_ = Failure{FailureCode::inputUnreadable,
                                   "Final Cut Pro did not list the sequences",
                                   path,
                                   0,
                                   0,
                                   ""};
    }
    if (!listing) return records;
    const bool areShortForms = QVAppleEvents::finalCutProMajorVersion() > 6;
    for (const XMLNode& sequence : listing->sequences) {
        auto record = areShortForms ? QVSequence::sequencePlaceholderWithXML(sequence)
                                    : QVSequence::sequenceWithXMLRepresentation(sequence);
        if (!record) continue;
        record->fetchedDocument = listing->document;
        records->push_back(std::move(record));
    }
    return records;
}

// A sequence that cannot be fetched stays ticked, and its short form goes into the bin: there the
// editor sees which sequence is missing.
XMLNode QVFCPDoc::workingCopy(QVSequence& record) {
    if (record.isPlaceholder && !fetchSequence(record)) return {};
    return record.xmlRepresentation.copy();
}

bool QVFCPDoc::fetchSequence(QVSequence& record) {
    setProgressLabelText("Fetching XML from Final Cut Pro...");
    // Without a uuid there is nothing to ask by, and a host could answer with another sequence.
    const std::string uuid = record.uuid().value_or("");
    const auto data =
        uuid.empty() ? std::nullopt : QVAppleEvents::getItemXMLData(uuid, path_, launchesFCP_);
    if (!data) {
        const std::string text =
            "Reelsweep could not get XML data for the sequence \"" + record.title + "\"";
        failSequence("Unable to get XML data", "Unable to get XML data. " + text, text + ".");
        return false;
    }
    Result<XMLDocument> parsed = XMLDocument::parse(*data, record.title);
    if (!parsed) {
        const std::string reason = parsed.failure().description();
        failSequence("Unable to load XML data", "Unable to load XML data - " + reason, reason);
        return false;
    }
    const auto matches = selectNodes(parsed->node(), ".//sequence[1]");
    if (!matches || matches->empty()) {
        failSequence("Unable to load sequence data", "Unable to load sequence data - ", "");
        return false;
    }
    record.xmlRepresentation = matches->front();
    record.fetchedDocument = std::make_shared<XMLDocument>(std::move(*parsed));
    record.isPlaceholder = false;
    return true;
}

void QVFCPDoc::failSequence(const std::string& message, const std::string& logged,
                            const std::string& informative) {
    Log::append("%@", logged);
    const std::string text = informative.empty() ? message : message + ": " + informative;
    runResult_.failures.push_back({FailureCode::processing, text, path_, 0, 0, ""});
    showAlert(message, informative, AlertStyle::warning);
}

void QVFCPDoc::sendToFCP() {
    try {
        deliverToFCP();
    } catch (const std::exception& error) {
        const std::string text = QVException::logException(error, "-[QVFCPDoc sendToFCP:]");
        runResult_.failures.push_back({FailureCode::internal, text, path_, 0, 0, ""});
        endProgress();
    }
}

void QVFCPDoc::deliverToFCP() {
    setProgressLabelText("Sending to Final Cut Pro...");
    const auto output = generateXMLOutput();
    if (!output) return;  // cancelled meanwhile
    if (QVAppleEvents::sendXMLToFCP(*output, path_)) {
        runResult_.delivered = true;
        endProgress();
        showAlert("Processing complete",
                  "A duplicate of the sequence has been added to the Reelsweep bin.",
                  AlertStyle::informational);
        Log::append("Data sent to FCP successfully. Opening new sequences in FCP...");
        openCopiesInFCP();
    } else {
        Log::append("Could not send data to FCP");
        runResult_.failures.push_back({FailureCode::processing,
                                       "Processing failed: Could not send data to Final Cut Pro.",
                                       path_, 0, 0, ""});
        // Ahead of the end of the progress, so it stands free of the sheet.
        showAlert("Processing failed", "Could not send data to Final Cut Pro.",
                  AlertStyle::warning);
        endProgress();
    }
    Log::append("Processing complete");
    populateSequencesForProject(path_);
}

void QVFCPDoc::openCopiesInFCP() {
    const auto records = sequenceArray();
    for (const auto& record : *records)
        if (record->selected && record->newUUID)
            QVAppleEvents::openItem(*record->newUUID, path_, launchesFCP_);
}

}  // namespace reelsweep
