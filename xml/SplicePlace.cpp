#include "xml/SplicePlace.h"

#include <algorithm>
#include <string_view>

namespace reelsweep {

namespace {

constexpr std::uint64_t mostWhiteSpace = 4096;
constexpr const char* lineEndBytes = "\r\n";

// White space that holds the start of a line.
struct LineStart {
    std::string lineEnd;      // what ends the line before
    std::string indentation;  // from there to the end
};

std::optional<LineStart> lineStart(std::string_view text) {
    const std::size_t last = text.find_last_of(lineEndBytes);
    if (last == std::string_view::npos) return {};
    const std::string_view indentation = text.substr(last + 1);
    if (indentation.find_first_not_of(" \t") != std::string_view::npos) return {};
    const bool isPair = text[last] == '\n' && last > 0 && text[last - 1] == '\r';
    return LineStart{std::string(text.substr(isPair ? last - 1 : last, isPair ? 2 : 1)),
                     std::string(indentation)};
}

// The start of the line that the byte at `place` is the first of, white space aside.
std::optional<LineStart> lineStartBefore(std::uint64_t place, const SplicePlace::Reader& read) {
    const std::optional<std::string> text = read(place - std::min(place, mostWhiteSpace), place);
    return text ? lineStart(*text) : std::nullopt;
}

// One level, by the indentation of an element that is two levels deep.
std::string levelOf(const std::string& indentation) {
    const std::size_t half = indentation.size() / 2;
    const bool isTwice = indentation.substr(0, half) == indentation.substr(half);
    return isTwice ? indentation.substr(half) : indentation;
}

XMLLayout layoutBelow(const LineStart& parent, const std::optional<LineStart>& lastChild) {
    const std::string level = levelOf(parent.indentation);
    if (!lastChild) return {parent.lineEnd, parent.indentation + level, level};
    const std::string& margin = lastChild->indentation;
    return {
        parent.lineEnd, margin,
        margin.starts_with(parent.indentation) ? margin.substr(parent.indentation.size()) : level};
}

}  // namespace

std::optional<SplicePlace> SplicePlace::afterLastChild(const ParentBytes& parent,
                                                       const Reader& read) {
    if (parent.selfClosed()) return {};
    const std::uint64_t gapBegin = parent.hasChild() ? parent.lastChild.end : parent.contentBegin;
    if (parent.contentEnd - gapBegin > mostWhiteSpace) return {};
    const std::optional<std::string> gap = read(gapBegin, parent.contentEnd);
    if (!gap || gap->find_first_not_of(" \t\r\n") != std::string::npos) return {};

    std::optional<LineStart> lastChild;
    if (parent.hasChild()) lastChild = lineStartBefore(parent.lastChild.begin, read);
    if (const std::optional<LineStart> endTag = lineStart(*gap))
        return SplicePlace{parent.contentEnd - endTag->indentation.size(), "", "",
                           layoutBelow(*endTag, lastChild)};

    std::optional<LineStart> startTag;
    if (!parent.hasChild()) startTag = lineStartBefore(parent.begin, read);
    if (!startTag) return SplicePlace{parent.contentEnd, "", "", {}};
    return SplicePlace{parent.contentEnd, startTag->lineEnd, startTag->indentation,
                       layoutBelow(*startTag, {})};
}

}  // namespace reelsweep
