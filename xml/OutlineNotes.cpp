#include "xml/OutlineNotes.h"

namespace reelsweep {

std::uint8_t OutlineNotes::open(std::size_t depth, const ElementBytes& element,
                                std::string_view name) {
    std::uint8_t notes = 0;
    switch (depth) {
        case 0:
            inXmeml_ = name == "xmeml";
            outline_.root = element;
            notes = isRoot;
            break;
        case 1:
            inProject_ = inXmeml_ && name == "project";
            outline_.rootChildren.push_back(element);
            notes = isRootChild;
            break;
        case 2:
            inChildren_ = inProject_ && name == "children";
            if (!inChildren_) break;
            outline_.projectChildren.push_back({element, {}});
            notes = isProjectChildren;
            break;
        case 3:
            if (!inChildren_) break;
            outline_.projectChildren.back().lastChild = element;
            notes = isInProjectChildren;
            break;
        default: break;
    }
    if (name != innerName) return notes;
    openSequences_.push_back(outline_.sequences.size());
    outline_.sequences.push_back(element);
    return notes | isSequence;
}

void OutlineNotes::close(std::uint8_t notes, std::uint64_t contentEnd, std::uint64_t end) {
    const auto note = [&](ElementBytes& element) {
        element.contentEnd = contentEnd;
        element.end = end;
    };
    if (notes & isRoot) note(outline_.root);
    if (notes & isRootChild) note(outline_.rootChildren.back());
    if (notes & isProjectChildren) note(outline_.projectChildren.back());
    if (notes & isInProjectChildren) note(outline_.projectChildren.back().lastChild);
    if (notes & isSequence) {
        note(outline_.sequences[openSequences_.back()]);
        openSequences_.pop_back();
    }
}

}  // namespace reelsweep
