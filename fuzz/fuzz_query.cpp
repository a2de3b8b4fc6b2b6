// The query layer: the first line is a query, the rest a document.

#include "fuzz/Quiet.h"
#include "timeline/QVXMLParser.h"
#include "xml/XMLDocument.h"
#include "xml/XMLQuery.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

using namespace reelsweep;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    installQuietPlatform();
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::size_t line = bytes.find('\n');
    if (line == std::string_view::npos || line > 200) return 0;
    const std::string query(bytes.substr(0, line));
    const Result<XMLDocument> document = XMLDocument::parse(bytes.substr(line + 1), "input");
    if (!document) return 0;

    const XMLNode root = document->rootElement();
    for (const XMLNode& context : {document->node(), root}) {
        QVXMLParser::nodesFromQueries(context, {query, ".//name"});
        QVXMLParser::stringValuesForQuery(query, context);
        const Result<std::vector<XMLNode>> found = selectNodes(context, query);
        if (!found) continue;
        for (const XMLNode& node : *found) {
            QVXMLParser::nameForNode(node);
            QVXMLParser::uuidForNode(node);
            QVXMLParser::nextSiblingForNode(node);
            QVXMLParser::parentWithName(node, "track", {"media"});
            QVXMLParser::filenameFromPathURLString(node.stringValue());
            Frames start;
            Frames end;
            require(!QVXMLParser::affectedNodesForClip(node, &start, &end).empty());
        }
    }
    XMLNode taken = root.firstChild();
    taken.detach();
    for (const XMLNode& node : QVXMLParser::queryNodes({document->node()}, ".//*"))
        require(node != taken);
    return 0;
}
