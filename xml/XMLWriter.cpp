#include "xml/XMLWriter.h"

namespace reelsweep {

namespace {

constexpr std::size_t pieceBytes = std::size_t{1024} * 1024;

}  // namespace

void XMLWriter::write(const pugi::xml_node& node) {
    if (format_ == XMLFormat::pretty)
        node.print(*this, "\t", pugi::format_indent, pugi::encoding_utf8);
    else
        node.print(*this, "", pugi::format_raw, pugi::encoding_utf8);
}

void XMLWriter::write(const void* data, std::size_t size) {
    filling_.append(static_cast<const char*>(data), size);
    if (filling_.size() < pieceBytes) return;
    if (delivery_.valid()) delivery_.get();
    std::swap(filling_, full_);
    filling_.clear();
    delivery_ = std::async(std::launch::async, [this] { deliver(full_); });
}

void XMLWriter::deliver(std::string_view piece) {
    std::size_t carriageReturn = piece.find('\r');
    if (carriageReturn == std::string_view::npos) {
        sink_.write(piece);
        return;
    }
    std::string escaped;
    escaped.reserve(piece.size() + piece.size() / 16);
    for (; carriageReturn != std::string_view::npos; carriageReturn = piece.find('\r')) {
        escaped.append(piece.substr(0, carriageReturn)).append("&#13;");
        piece.remove_prefix(carriageReturn + 1);
    }
    sink_.write(escaped.append(piece));
}

void XMLWriter::flush() {
    if (delivery_.valid()) delivery_.get();
    if (!filling_.empty()) deliver(filling_);
    filling_.clear();
}

}  // namespace reelsweep
