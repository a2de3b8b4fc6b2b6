#include "xml/BlanksBesideCData.h"

#include "xml/XMLAccess.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace reelsweep {

namespace {

constexpr std::string_view sectionStart = "<![CDATA[";
constexpr std::string_view blankCharacters = " \t\r\n";

// A construct in which brackets mean nothing.
struct Construct {
    std::string_view start, end;
    std::size_t next = 0;  ///< where the next one starts, from the place that is looked at
};

// One character for each of a UTF-16 text; what is beyond ASCII becomes some letter. Other bytes
// stay as they are.
std::string_view asciiOf(std::string_view bytes, std::string& narrowed) {
    const auto byte = [&](std::size_t at) { return at < bytes.size() ? bytes[at] : 'x'; };
    const bool little = bytes.starts_with("\xFF\xFE") || (byte(0) != '\0' && byte(1) == '\0');
    const bool big = bytes.starts_with("\xFE\xFF") || byte(0) == '\0';
    if (!little && !big) return bytes;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2)
        narrowed += byte(big ? at : at + 1) == '\0' ? byte(big ? at + 1 : at) : 'x';
    return narrowed;
}

// As a parser hands on line ends.
std::string withPlainLineEnds(std::string_view blank) {
    std::string text;
    for (std::size_t at = 0; at < blank.size(); ++at) {
        if (blank[at] != '\r')
            text += blank[at];
        else if (at + 1 == blank.size() || blank[at + 1] != '\n')
            text += '\n';
    }
    return text;
}

// Most documents have none, and hardly any bracket at all: to go from bracket to bracket is the
// fastest way to know.
bool hasSection(std::string_view text) {
    constexpr std::size_t before = sectionStart.size() - 1;
    for (std::size_t at = text.find('['); at != text.npos; at = text.find('[', at + 1))
        if (at >= before && text.substr(at - before, sectionStart.size()) == sectionStart)
            return true;
    return false;
}

BlanksAround blanksAround(std::string_view text, std::size_t begin, std::size_t end) {
    BlanksAround found;
    const std::size_t last = text.substr(0, begin).find_last_not_of(blankCharacters);
    if (last != text.npos && text[last] == '>')
        found.before = withPlainLineEnds(text.substr(last + 1, begin - last - 1));
    const std::size_t next = text.find_first_not_of(blankCharacters, end);
    if (next != text.npos && text[next] == '<')
        found.after = withPlainLineEnds(text.substr(end, next - end));
    return found;
}

pugi::xml_node nextInDocument(pugi::xml_node node, const pugi::xml_node& top) {
    if (node.first_child()) return node.first_child();
    while (node && node != top && !node.next_sibling()) node = node.parent();
    return node == top ? pugi::xml_node() : node.next_sibling();
}

bool isText(const pugi::xml_node& node) { return node.type() == pugi::node_pcdata; }

bool followsText(const pugi::xml_node& node) {
    const pugi::xml_node previous = node.previous_sibling();
    return previous ? isText(previous) : XMLAccess::embedsText(node.parent());
}

}  // namespace

std::vector<BlanksAround> blanksBesideCData(std::string_view bytes) {
    std::string narrowed;
    const std::string_view text = asciiOf(bytes, narrowed);
    if (!hasSection(text)) return {};
    std::array<Construct, 3> constructs{{{sectionStart, "]]>"}, {"<!--", "-->"}, {"<?", "?>"}}};
    std::vector<BlanksAround> all;
    bool any = false;
    for (Construct& construct : constructs) construct.next = text.find(construct.start);
    while (constructs[0].next != text.npos) {
        const Construct& first = *std::min_element(
            constructs.begin(), constructs.end(),
            [](const Construct& a, const Construct& b) { return a.next < b.next; });
        const std::size_t begin = first.next;
        std::size_t end = text.find(first.end, begin + first.start.size());
        if (end == text.npos) break;  // no document
        end += first.end.size();
        if (first.start == sectionStart) {
            all.push_back(blanksAround(text, begin, end));
            any = any || !all.back().before.empty() || !all.back().after.empty();
        }
        for (Construct& construct : constructs)
            if (construct.next < end) construct.next = text.find(construct.start, end);
    }
    if (!any) all.clear();
    return all;
}

void restoreBlanks(pugi::xml_node top, const std::vector<BlanksAround>& blanks) {
    auto next = blanks.begin();
    for (pugi::xml_node node = top; node && next != blanks.end();
         node = nextInDocument(node, top)) {
        if (node.type() != pugi::node_cdata) continue;
        // A text that is there holds its blanks already.
        pugi::xml_node parent = node.parent();
        if (!next->before.empty() && !followsText(node))
            parent.insert_child_before(pugi::node_pcdata, node).set_value(next->before.c_str());
        if (!next->after.empty() && !isText(node.next_sibling()))
            parent.insert_child_after(pugi::node_pcdata, node).set_value(next->after.c_str());
        ++next;
    }
}

}  // namespace reelsweep
