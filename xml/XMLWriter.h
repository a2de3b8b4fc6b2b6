// Turning nodes into text; for the sources of xml/ only.
#pragma once

#include "support/AtomicFile.h"
#include "xml/XMLDocument.h"

#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace reelsweep {

// Gathers text and hands it to a sink in large pieces.
//
// Written by hand because pugixml's own writer puts a carriage return out as it is, and a parser reads
// that as a line feed: a name would change with every load and save.
class XMLWriter {
public:
    XMLWriter(ByteSink& sink, XMLFormat format);

    void writeNode(const pugi::xml_node& node, int depth);
    /// Top-level nodes of a document, one a line when pretty.
    void writeTopLevel(const pugi::xml_node& node);
    void flush();

private:
    void writeElement(const pugi::xml_node& element, int depth, bool pretty);
    void writeAny(const pugi::xml_node& node, int depth, bool pretty);
    void writeAttributes(const pugi::xml_node& node);
    void startLine(int depth);
    void put(std::string_view text);
    template <class Specials>
    void putEscaped(const char* text, const Specials& specials);

    ByteSink& sink_;
    bool pretty_;
    std::string buffer_;
};

}  // namespace reelsweep
