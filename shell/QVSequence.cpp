#include "shell/QVSequence.h"

#include "timeline/QVXMLParser.h"

namespace reelsweep {

std::shared_ptr<QVSequence> QVSequence::sequenceWithXMLRepresentation(XMLNode xml) {
    if (xml.kind() == XMLKind::document) {
        xml = xml.firstChild();
        while (xml && !xml.isElement()) xml = xml.nextSibling();
    }
    if (!xml.isElement()) return nullptr;
    auto record = std::make_shared<QVSequence>();
    record->xmlRepresentation = xml;
    record->populateFromXMLRepresentation();
    return record;
}

std::shared_ptr<QVSequence> QVSequence::sequencePlaceholderWithXML(XMLNode xml) {
    auto record = sequenceWithXMLRepresentation(xml);
    if (record) record->isPlaceholder = true;
    return record;
}

void QVSequence::populateFromXMLRepresentation() {
    if (!xmlRepresentation) return;
    title = QVXMLParser::nameForNode(xmlRepresentation).value_or(std::string());
    selected = false;
}

std::optional<std::string> QVSequence::uuid() const {
    return xmlRepresentation ? QVXMLParser::uuidForNode(xmlRepresentation) : std::nullopt;
}

}  // namespace reelsweep
