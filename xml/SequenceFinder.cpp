#include "xml/SequenceFinder.h"

#include <string_view>
#include <utility>

namespace reelsweep {

std::optional<std::vector<pugi::xml_node>> SequenceFinder::below(const pugi::xml_node& top) {
    search(top, noPlace);
    if (!agrees_ || found_.size() != places_.size()) return {};
    return std::move(found_);
}

// A sequence that begins between two siblings lies within the first of them.
void SequenceFinder::search(const pugi::xml_node& parent, std::uint64_t end) {
    pugi::xml_node before;
    for (const pugi::xml_node child : parent.children()) {
        if (child.type() != pugi::node_element) continue;
        const std::ptrdiff_t name = child.offset_debug();  // behind the bracket
        agrees_ = agrees_ && name > 0;
        if (!agrees_) return;
        const auto begin = static_cast<std::uint64_t>(name) - 1;
        if (next() < begin) search(before, begin);
        agrees_ = agrees_ && next() >= begin;
        if (!agrees_ || next() >= end) return;
        before = child;
        if (next() != begin) continue;
        agrees_ = std::string_view(child.name()) == "sequence";
        found_.push_back(child);
    }
    if (before && next() < end) search(before, end);
}

}  // namespace reelsweep
