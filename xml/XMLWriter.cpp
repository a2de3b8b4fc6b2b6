#include "xml/XMLWriter.h"

#include "xml/XMLAccess.h"

#include <array>

namespace reelsweep {

namespace {

constexpr std::size_t pieceBytes = 256 * 1024;

using CharacterSet = std::array<bool, 256>;

constexpr CharacterSet setOf(std::string_view characters) {
    CharacterSet set{};
    for (const char c : characters) set[static_cast<unsigned char>(c)] = true;
    set[0] = true;  // the end of a text ends every run
    return set;
}

constexpr CharacterSet textSpecials = setOf("&<>\r");
constexpr CharacterSet attributeSpecials = setOf("&<\"\t\n\r");

std::string_view referenceFor(char c) {
    switch (c) {
        case '&': return "&amp;";
        case '<': return "&lt;";
        case '>': return "&gt;";
        case '"': return "&quot;";
        case '\t': return "&#9;";
        case '\n': return "&#10;";
        default: return "&#13;";
    }
}

bool hasText(const pugi::xml_node& element) {
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling())
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) return true;
    return false;
}

}  // namespace

XMLWriter::XMLWriter(ByteSink& sink, XMLFormat format)
    : sink_(sink), pretty_(format == XMLFormat::pretty) {
    buffer_.reserve(pieceBytes + 4096);
}

void XMLWriter::flush() {
    if (!buffer_.empty()) sink_.write(buffer_);
    buffer_.clear();
}

void XMLWriter::put(std::string_view text) {
    buffer_.append(text);
    if (buffer_.size() >= pieceBytes) flush();
}

template <class Specials>
void XMLWriter::putEscaped(const char* text, const Specials& specials) {
    for (;;) {
        const char* end = text;
        while (!specials[static_cast<unsigned char>(*end)]) ++end;
        put({text, static_cast<std::size_t>(end - text)});
        if (*end == '\0') return;
        put(referenceFor(*end));
        text = end + 1;
    }
}

void XMLWriter::startLine(int depth) {
    buffer_ += '\n';
    buffer_.append(static_cast<std::size_t>(depth), '\t');
}

void XMLWriter::writeAttributes(const pugi::xml_node& node) {
    for (const pugi::xml_attribute attribute : node.attributes()) {
        buffer_ += ' ';
        put(attribute.name());
        buffer_ += "=\"";
        putEscaped(attribute.value(), attributeSpecials);
        buffer_ += '"';
    }
}

void XMLWriter::writeElement(const pugi::xml_node& element, int depth, bool pretty) {
    const char* const name = element.name();
    buffer_ += '<';
    put(name);
    writeAttributes(element);
    const pugi::xml_node first = element.first_child();
    if (!first) {
        put("/>");
        return;
    }
    buffer_ += '>';
    // White space beside a text would become part of it.
    const bool linesForChildren = pretty && !hasText(element);
    for (pugi::xml_node child = first; child; child = child.next_sibling()) {
        if (linesForChildren) startLine(depth + 1);
        writeAny(child, depth + 1, linesForChildren);
    }
    if (linesForChildren) startLine(depth);
    put("</");
    put(name);
    buffer_ += '>';
}

void XMLWriter::writeAny(const pugi::xml_node& node, int depth, bool pretty) {
    switch (node.type()) {
        case pugi::node_element: writeElement(node, depth, pretty); break;
        case pugi::node_pcdata: putEscaped(node.value(), textSpecials); break;
        case pugi::node_cdata:
            put("<![CDATA[");
            put(node.value());
            put("]]>");
            break;
        case pugi::node_comment:
            put("<!--");
            put(node.value());
            put("-->");
            break;
        case pugi::node_pi:
            put("<?");
            put(node.name());
            if (*node.value() != '\0') put(" ");
            put(node.value());
            put("?>");
            break;
        case pugi::node_declaration:
            put("<?");
            put(node.name());
            writeAttributes(node);
            put("?>");
            break;
        case pugi::node_doctype:
            put("<!DOCTYPE ");
            put(node.value());
            put(">");
            break;
        case pugi::node_document:
        case pugi::node_null: break;
    }
}

void XMLWriter::writeNode(const pugi::xml_node& node, int depth) { writeAny(node, depth, pretty_); }

void XMLWriter::writeTopLevel(const pugi::xml_node& node) {
    writeAny(node, 0, pretty_);
    if (pretty_) put("\n");
}

}  // namespace reelsweep
