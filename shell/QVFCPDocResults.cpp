// What runs made, until somebody has it in a file.
#include "documents/OutputBin.h"
#include "shell/QVFCPDoc.h"

#include <set>
#include <tuple>

namespace reelsweep {

Outcome QVFCPDoc::exportResults(const std::string& path, Overwrite overwrite) const {
    const auto& source = projectController_->xmlDoc();
    if (!source || tidied_.empty())
        return Failure{FailureCode::outputFailed, "there is no result to save", path};
    const Result<XMLDocument> document =
        standaloneDocument(*source, tidied_, installedXMEMLVersion(), {});
    if (!document) return document.failure();
    const auto saved =
        saveDocument(*document, path, {.overwrite = overwrite, .codes = finalCutProXMLCodes});
    return saved ? Outcome(Done{}) : Outcome(saved.failure());
}

std::vector<XMLNode> QVFCPDoc::deliverables() const {
    std::vector<XMLNode> sequences;
    const auto records = sequenceArray();
    for (const auto& record : *records) {
        if (!record->selected) continue;
        const XMLNode processed = record->processedXMLRepresentation;
        sequences.push_back(processed ? processed : record->xmlRepresentation);
    }
    return sequences;
}

std::optional<std::string> QVFCPDoc::generateXMLOutput(bool includeHeader) {
    const auto version = includeHeader ? std::optional(host_.xmemlVersion()) : std::nullopt;
    Result<std::string> text = binText(deliverables(), version, currentStop());
    return text ? std::optional(std::move(*text)) : std::nullopt;
}

Result<XMLDocument> QVFCPDoc::standaloneXML() const {
    return standaloneDocument(*projectController_->xmlDoc(), deliverables(),
                              installedXMEMLVersion(), {});
}

Outcome QVFCPDoc::exportTidied(const std::string& path) const {
    const Result<XMLDocument> document = standaloneXML();
    if (!document) return document.failure();
    const auto saved = saveDocument(*document, path, {.codes = finalCutProXMLCodes});
    return saved ? Outcome(Done{}) : Outcome(saved.failure());
}

void QVFCPDoc::setResultsAside() {
    aside_ = {runResult_, std::move(ledger_), std::move(pictures_), std::move(tidied_), {}};
    ledger_ = ChangeLedger();
    pictures_.clear();
    tidied_.clear();
    for (const auto& record : *sequenceArray())
        aside_.records.emplace_back(record->processedXMLRepresentation, record->newUUID);
}

void QVFCPDoc::restoreResults() {
    runResult_ = std::move(aside_.run);
    ledger_ = std::move(aside_.ledger);
    pictures_ = std::move(aside_.pictures);
    tidied_ = std::move(aside_.tidied);
    const auto records = sequenceArray();
    // A list that was built anew meanwhile has other records.
    if (records->size() == aside_.records.size())
        for (std::size_t row = 0; row < records->size(); ++row)
            std::tie((*records)[row]->processedXMLRepresentation, (*records)[row]->newUUID) =
                aside_.records[row];
    aside_ = {};
}

void QVFCPDoc::replaceResults() {
    std::set<const void*> bins;
    for (const XMLNode& sequence : aside_.tidied) {
        XMLNode bin = sequence.parent().parent();
        if (bin.isElement("bin") && bins.insert(bin.identity()).second) bin.detach();
    }
    aside_ = {};
}

void QVFCPDoc::joinResults() {
    std::set<std::string> ids;
    for (const XMLNode& sequence : aside_.tidied)
        ids.insert(std::string(sequence.attribute("id").value_or("")));
    for (XMLNode& sequence : tidied_) {
        const std::string id(sequence.attribute("id").value_or(""));
        std::string free = id;
        std::string suffix;
        for (int number = 2; ids.contains(free); ++number) {
            suffix = ' ' + std::to_string(number);
            free = id + suffix;
        }
        ids.insert(free);
        if (suffix.empty()) continue;
        sequence.setAttribute("id", free);
        if (XMLNode name = sequence.child("name")) name.setText(name.stringValue() + suffix);
    }
    aside_.tidied.insert(aside_.tidied.end(), tidied_.begin(), tidied_.end());
    tidied_ = std::move(aside_.tidied);
    for (SequenceLedger& sequence : ledger_.sequences)
        aside_.ledger.sequences.push_back(std::move(sequence));
    ledger_ = std::move(aside_.ledger);
    aside_.pictures.insert(aside_.pictures.end(), pictures_.begin(), pictures_.end());
    pictures_ = std::move(aside_.pictures);
    aside_ = {};
}

}  // namespace reelsweep
