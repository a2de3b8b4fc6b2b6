#include "documents/TidiedCopy.h"

#include "base/Log.h"
#include "base/UUID.h"
#include "timeline/QVXMLParser.h"
#include "timeline/Vocabulary.h"

#include <string_view>

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
    Log::append("%@. %@", failure.message, failure.detail);
    return failure;
}

// A blank that is all that a track holds is layout. An item that is put beside it must not find it
// for a neighbour.
void dropLayoutOfTracks(XMLNode sequence) {
    for (const XMLNode& track : allTracks(sequence)) {
        XMLNode only = track.firstChild();
        if (only && !only.nextSibling() && only.kind() == XMLKind::text &&
            only.value().find_first_not_of(" \t\r\n") == std::string_view::npos)
            only.detach();
    }
}

}  // namespace

Result<std::unique_ptr<CopyInWork>> CopyInWork::begin(const SourceSequence& source,
                                                      const TidyRequest& request,
                                                      const TidyControls& controls) {
    return beginOn(source.node.copy(), source, request, controls);
}

Result<std::unique_ptr<CopyInWork>> CopyInWork::beginWithoutCopy(const SourceSequence& source,
                                                                 const TidyRequest& request,
                                                                 const TidyControls& controls) {
    return beginOn(source.node, source, request, controls);
}

Result<std::unique_ptr<CopyInWork>> CopyInWork::beginOn(XMLNode copy, const SourceSequence& source,
                                                        const TidyRequest& request,
                                                        const TidyControls& controls) {
    // The copy may be the source itself.
    const std::string sourceUUID = source.uuid().value_or(std::string());
    renameCopy(copy);
    dropLayoutOfTracks(copy);
    std::unique_ptr<CopyInWork> work(new CopyInWork(source, sourceUUID, copy, request));
    if (Outcome done = work->tidy_.applyPasses(controls); !done)
        return named(done.failure(), source.title);
    return work;
}

TidiedCopy CopyInWork::finish() {
    TidiedCopy copy{copy_, QVXMLParser::uuidForNode(copy_), tidy_.finish()};
    copy.ledger.document = source_.owner;
    copy.ledger.title = source_.title;
    copy.ledger.uuid = sourceUUID_;
    return copy;
}

Result<TidiedCopy> tidiedCopy(const SourceSequence& source, const TidyRequest& request,
                              const TidyControls& controls) {
    auto work = CopyInWork::begin(source, request, controls);
    if (!work) return work.failure();
    return (*work)->finish();
}

Outcome makeImportSafe(std::span<const std::unique_ptr<CopyInWork>> copies,
                       const XMLDocument* document, const std::stop_token& stop) {
    ImportDelivery delivery =
        document ? ImportDelivery::afterSource(document->node()) : ImportDelivery::alone();
    for (const auto& copy : copies)
        if (Outcome done = copy->makeImportSafe(delivery, stop); !done) return done;
    return Done{};
}

}  // namespace reelsweep
