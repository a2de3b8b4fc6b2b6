#include "documents/TidiedCopy.h"

#include "base/Log.h"
#include "base/UUID.h"
#include "timeline/QVXMLParser.h"

namespace reelsweep {

SourceSequence SourceSequence::of(XMLNode node) {
    return {QVXMLParser::nameForNode(node).value_or(std::string()), node, false, nullptr};
}

std::optional<std::string> SourceSequence::uuid() const { return QVXMLParser::uuidForNode(node); }

void renameCopy(XMLNode sequence) {
    constexpr const char* suffix = "-Tidied";
    const std::string id(sequence.attribute("id").value_or("Sequence"));
    // The other attributes are the editing system's view of the original: window positions,
    // previews.
    sequence.setOnlyAttribute("id", id + suffix);
    if (XMLNode name = sequence.child("name")) name.setText(name.stringValue() + suffix);
    if (XMLNode uuid = sequence.child("uuid")) uuid.setText(newUUID());
}

namespace {

Failure named(const Failure& why, const std::string& title) {
    if (why.code != FailureCode::processing) return why;
    Failure failure{FailureCode::processing, "Unable to tidy"};
    failure.detail = "Sequence \"" + title + "\". " + why.message + ".";
    Log::append("%@", failure.description());
    return failure;
}

}  // namespace

Result<TidiedCopy> tidiedCopy(const SourceSequence& source, const TidyRequest& request,
                              const TidyControls& controls) {
    TidiedCopy copy;
    copy.sequence = source.node.copy();
    renameCopy(copy.sequence);
    copy.uuid = QVXMLParser::uuidForNode(copy.sequence);
    Result<SequenceLedger> ledger = tidySequence(copy.sequence, source.node, request, controls);
    if (!ledger) return named(ledger.failure(), source.title);
    copy.ledger = std::move(*ledger);
    copy.ledger.document = source.owner;
    copy.ledger.title = source.title;
    copy.ledger.uuid = source.uuid().value_or(std::string());
    return copy;
}

}  // namespace reelsweep
