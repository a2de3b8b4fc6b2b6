#include "xml/XMLWriter.h"

namespace reelsweep {

namespace {

constexpr std::size_t pieceBytes = std::size_t{256} * 1024;

}  // namespace

void XMLWriter::write(const pugi::xml_node& node) {
    if (format_ == XMLFormat::pretty)
        node.print(*this, "\t", pugi::format_indent, pugi::encoding_utf8);
    else
        node.print(*this, "", pugi::format_raw, pugi::encoding_utf8);
}

void XMLWriter::write(const void* data, std::size_t size) {
    std::string_view text(static_cast<const char*>(data), size);
    for (;;) {
        const std::size_t carriageReturn = text.find('\r');
        buffer_.append(text.substr(0, carriageReturn));
        if (carriageReturn == std::string_view::npos) break;
        buffer_ += "&#13;";
        text.remove_prefix(carriageReturn + 1);
    }
    if (buffer_.size() >= pieceBytes) flush();
}

void XMLWriter::flush() {
    if (!buffer_.empty()) sink_.write(buffer_);
    buffer_.clear();
}

}  // namespace reelsweep
