// Turning nodes into text; for the sources of xml/ only.
#pragma once

#include "support/AtomicFile.h"
#include "xml/XMLDocument.h"

#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace reelsweep {

// Writes nodes to a sink in large pieces.
//
// pugixml puts a carriage return of a text out as it is, and a parser reads that as a line feed: a
// name would change with every load and save. So every carriage return in the output becomes a
// character reference. That touches texts and attributes only, since loading leaves none anywhere
// else.
class XMLWriter final : private pugi::xml_writer {
public:
    XMLWriter(ByteSink& sink, XMLFormat format) : sink_(sink), format_(format) {}

    void write(const pugi::xml_node& node);
    void flush();

private:
    void write(const void* data, std::size_t size) override;

    ByteSink& sink_;
    XMLFormat format_;
    std::string buffer_;
};

}  // namespace reelsweep
