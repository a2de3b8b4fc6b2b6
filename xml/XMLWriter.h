// Turning nodes into text; for the sources of xml/ only.
#pragma once

#include "base/AtomicFile.h"
#include "xml/XMLDocument.h"

#include <future>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace reelsweep {

// Writes nodes to a sink in large pieces: while the sink takes one, the next is formatted, so the
// sink is used from another thread, one piece at a time. A text of less than a piece starts no
// thread.
//
// pugixml puts a carriage return of a text out as it is, and a parser reads that as a line feed: a
// name would change with every load and save. So every carriage return in the output becomes a
// character reference. That touches texts and attributes only, since loading leaves none anywhere
// else. Then every line feed becomes the layout's line end.
//
// pugixml indents by so many times one text. A margin that is something else is put in at delivery,
// in place of a mark.
class XMLWriter final : private pugi::xml_writer {
public:
    XMLWriter(ByteSink& sink, XMLFormat format);
    XMLWriter(ByteSink& sink, XMLLayout layout);

    void write(const pugi::xml_node& node);
    /// Returns when the sink has everything.
    void flush();

private:
    void write(const void* data, std::size_t size) override;
    void deliver(std::string_view piece);
    void deliverTranslated(std::string_view piece);
    void appendTranslated(std::string& text, char c);

    ByteSink& sink_;
    XMLLayout layout_;
    unsigned depth_ = 0;    ///< how many indentations the margin is
    bool marks_ = false;    ///< it is not: then each indentation is one mark until delivery
    bool inMarks_ = false;  ///< in delivery: the last byte was one
    std::string filling_;
    std::string full_;  ///< what the sink takes now
    std::future<void> delivery_;
};

}  // namespace reelsweep
