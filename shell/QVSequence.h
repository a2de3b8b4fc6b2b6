// QVSequence: one sequence of a project, a row of the document's list.
//
// Owner: the document's sequence list. Thread rule: `selected` may be read and written from any
// thread; the rest belongs to whichever thread lists or processes at the moment.
#pragma once

#include "xml/XMLDocument.h"
#include "xml/XMLNode.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace reelsweep {

class QVSequence {
public:
    /// A record of a `sequence` element, or of a document's root element; null for a null element.
    static std::shared_ptr<QVSequence> sequenceWithXMLRepresentation(XMLNode xml);
    /// The same for a host's short listing, whose full XML is still to be fetched.
    static std::shared_ptr<QVSequence> sequencePlaceholderWithXML(XMLNode xml);

    /// Takes the title from the XML and unticks the record.
    void populateFromXMLRepresentation();
    /// The sequence's own uuid, or the first one below it; nothing when there is none.
    std::optional<std::string> uuid() const;

    std::string title;
    XMLNode xmlRepresentation;           ///< as the source has it; never edited
    XMLNode processedXMLRepresentation;  ///< what the passes made of a copy; null before a run
    std::atomic<bool> selected{false};   ///< the table's check box
    bool isPlaceholder = false;
    std::optional<std::string> newUUID;  ///< of the renamed copy
    /// Owns a fetched document that xmlRepresentation is part of; null when the file's document
    /// owns it.
    std::shared_ptr<const XMLDocument> fetchedDocument;
};

}  // namespace reelsweep
