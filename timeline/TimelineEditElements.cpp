// The lists of elements that passes go through, such as all filters.
#include "timeline/TimelineEdit.h"

namespace reelsweep {

void TimelineEdit::expectElements(std::span<const std::string_view> names) {
    for (const std::string_view name : names) listed_.try_emplace(std::string(name));
}

void TimelineEdit::listElements() {
    std::vector<std::string_view> names;
    for (auto& [name, list] : listed_) {
        list = {{}, true};
        names.push_back(name);
    }
    sequence_.forEachDescendant(names, [&](XMLNode element) {
        listed_.find(element.name())->second.elements.push_back(element);
    });
}

void TimelineEdit::listsAreOld() {
    for (auto& [name, list] : listed_) list.isCurrent = false;
}

// Neighbours in document order mostly have a grandparent in common: the track of their clips. It
// is as far from there to the sequence as sequences stand within one another.
class TimelineEdit::Standing {
public:
    explicit Standing(XMLNode sequence) : sequence_(sequence) {}

    bool in(XMLNode node) {
        for (int level = 0; level < 2; ++level) {
            if (!node || node == sequence_) return bool(node);
            node = node.parent();
        }
        if (node == last_) return answer_;
        last_ = node;
        while (node && node != sequence_) node = node.parent();
        return answer_ = bool(node);
    }

private:
    XMLNode sequence_;
    XMLNode last_;
    bool answer_ = false;
};

std::vector<XMLNode> TimelineEdit::elementsNamed(std::string_view name) {
    auto list = listed_.find(name);
    if (list == listed_.end()) list = listed_.try_emplace(std::string(name)).first;
    if (!list->second.isCurrent) listElements();
    std::vector<XMLNode> found;
    Standing standing(sequence_);
    for (const XMLNode& element : list->second.elements)
        if (standing.in(element)) found.push_back(element);
    return found;
}

}  // namespace reelsweep
