#include "xml/XMLWriter.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace reelsweep {

namespace {

constexpr std::size_t pieceBytes = std::size_t{1024} * 1024;

// The one thing that pugixml writes and no text, attribute or loaded node has in it.
constexpr char mark = '\1';

// How many times a part makes up the whole; nothing when it does not.
std::optional<unsigned> timesIn(std::string_view part, std::string_view whole) {
    unsigned times = 0;
    for (; !part.empty() && whole.starts_with(part); ++times) whole.remove_prefix(part.size());
    return whole.empty() ? std::optional(times) : std::nullopt;
}

}  // namespace

XMLWriter::XMLWriter(ByteSink& sink, XMLFormat format)
    : XMLWriter(sink, format == XMLFormat::pretty ? XMLLayout{"\n", "", "\t"} : XMLLayout{}) {}

XMLWriter::XMLWriter(ByteSink& sink, XMLLayout layout) : sink_(sink), layout_(std::move(layout)) {
    const std::optional<unsigned> times = timesIn(layout_.indentation, layout_.margin);
    marks_ = !times;
    depth_ = times.value_or(1);
}

void XMLWriter::write(const pugi::xml_node& node) {
    const char marked[] = {mark, '\0'};
    if (layout_.lineEnd.empty())
        node.print(*this, "", pugi::format_raw, pugi::encoding_utf8);
    else
        node.print(*this, marks_ ? marked : layout_.indentation.c_str(), pugi::format_indent,
                   pugi::encoding_utf8, depth_);
}

void XMLWriter::write(const void* data, std::size_t size) {
    filling_.append(static_cast<const char*>(data), size);
    if (filling_.size() < pieceBytes) return;
    if (delivery_.valid()) delivery_.get();
    std::swap(filling_, full_);
    filling_.clear();
    delivery_ = std::async(std::launch::async, [this] { deliver(full_); });
}

void XMLWriter::appendTranslated(std::string& text, char c) {
    if (c == '\r')
        text += "&#13;";
    else if (c == '\n')
        text += layout_.lineEnd.empty() ? std::string_view("\n") : layout_.lineEnd;
    else
        text += inMarks_ ? layout_.indentation : layout_.margin;
    inMarks_ = c == mark;
}

void XMLWriter::deliverTranslated(std::string_view piece) {
    const auto isPlain = [this](char c) {
        return c != '\n' && c != '\r' && (c != mark || !marks_);
    };
    std::string text;
    text.reserve(piece.size() + piece.size() / 8);
    while (!piece.empty()) {
        const auto end = std::find_if_not(piece.begin(), piece.end(), isPlain);
        const auto plain = static_cast<std::size_t>(end - piece.begin());
        text += piece.substr(0, plain);
        if (plain > 0) inMarks_ = false;
        if (plain < piece.size()) appendTranslated(text, piece[plain]);
        piece.remove_prefix(std::min(plain + 1, piece.size()));
    }
    sink_.write(text);
}

void XMLWriter::deliver(std::string_view piece) {
    const bool hasPlainLines = !marks_ && (layout_.lineEnd.empty() || layout_.lineEnd == "\n");
    if (hasPlainLines && piece.find('\r') == std::string_view::npos)
        sink_.write(piece);
    else
        deliverTranslated(piece);
}

void XMLWriter::flush() {
    if (delivery_.valid()) delivery_.get();
    if (!filling_.empty()) deliver(filling_);
    filling_.clear();
}

}  // namespace reelsweep
