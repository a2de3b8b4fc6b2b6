// A sequence of a document, and the tidied copy that a run makes of it.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "base/Failure.h"
#include "tidy/SequenceTidy.h"
#include "tidy/TidySequence.h"
#include "timeline/ChangeLedger.h"
#include "xml/XMLDocument.h"
#include "xml/XMLNode.h"

#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>

namespace reelsweep {

/// A sequence as its document has it; never edited.
struct SourceSequence {
    std::string title;
    XMLNode node;
    /// A host's short listing, which says no more than title and uuid.
    bool isShortForm = false;
    /// The tree of `node`, when that was fetched for this sequence; null for the document's own.
    std::shared_ptr<const XMLDocument> owner;

    static SourceSequence of(XMLNode node);
    /// The sequence's own uuid, or the first one below it; nothing when there is none. A look-up.
    std::optional<std::string> uuid() const;
};

struct TidiedCopy {
    XMLNode sequence;                 ///< without parent, in the tree of its source
    std::optional<std::string> uuid;  ///< of the copy
    SequenceLedger ledger;
};

/// Makes a sequence that is a copy known as one: id and name get "-Tidied", the uuid a fresh one,
/// and id stays as the only attribute.
void renameCopy(XMLNode sequence);

/// A copy on its way: copied, renamed and tidied, then made to import, then finished.
class CopyInWork {
public:
    /// Copies, renames and tidies a sequence. Fails as tidySequence does, with the title in the
    /// failure and in the log; the source stays as it is.
    static Result<std::unique_ptr<CopyInWork>> begin(const SourceSequence& source,
                                                     const TidyRequest& request,
                                                     const TidyControls& controls);
    /// The same with the source itself in place of a copy, which saves its time and memory. It
    /// stays where it stands; after a failure it is of no use. It cannot be made to import.
    static Result<std::unique_ptr<CopyInWork>> beginWithoutCopy(const SourceSequence& source,
                                                                const TidyRequest& request,
                                                                const TidyControls& controls);

    XMLNode sequence() const { return copy_; }
    /// After the passes of all copies of a delivery, in its order. Fails with cancelled.
    Outcome makeImportSafe(ImportDelivery& delivery, const std::stop_token& stop) {
        return tidy_.makeImportSafe(delivery, stop);
    }
    /// Once, at the end.
    TidiedCopy finish();

private:
    CopyInWork(const SourceSequence& source, std::string sourceUUID, XMLNode copy,
               const TidyRequest& request)
        : source_(source),
          sourceUUID_(std::move(sourceUUID)),
          copy_(copy),
          tidy_(copy, source.node, request) {}

    static Result<std::unique_ptr<CopyInWork>> beginOn(XMLNode copy, const SourceSequence& source,
                                                       const TidyRequest& request,
                                                       const TidyControls& controls);

    SourceSequence source_;
    std::string sourceUUID_;
    XMLNode copy_;
    SequenceTidy tidy_;
};

/// A copy from beginning to end, without what makes it import.
Result<TidiedCopy> tidiedCopy(const SourceSequence& source, const TidyRequest& request,
                              const TidyControls& controls);

/// Makes copies import together, in the order in which they will stand in what is delivered: added
/// to `document`, or alone for none. Fails with cancelled.
Outcome makeImportSafe(std::span<const std::unique_ptr<CopyInWork>> copies,
                       const XMLDocument* document, const std::stop_token& stop);

}  // namespace reelsweep
