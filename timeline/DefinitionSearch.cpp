#include "timeline/DefinitionSearch.h"

#include "timeline/MediaReader.h"

#include <algorithm>
#include <iterator>

namespace reelsweep {

namespace {

// What a project is made of, down to its clips and the items of its sequences.
bool hasParts(XMLNode node) {
    if (node.kind() == XMLKind::document) return true;
    constexpr std::string_view names[] = {"xmeml", "project", "children", "bin",  "sequence",
                                          "media", "video",   "audio",    "track"};
    return std::find(std::begin(names), std::end(names), node.name()) != std::end(names) &&
           node.isElement();
}

}  // namespace

DefinitionSearch::DefinitionSearch(XMLNode root) : root_(root), next_(root) {}

XMLNode DefinitionSearch::find(const Definitions& kind, std::string_view id, Document document) {
    for (;;) {
        if (const auto found = kind.find(id); found != kind.end()) return found->second;
        if (!next_) return {};
        if (document == Document::unchanged) {
            searchNextPart();
        } else {
            // The place to go on from may have been taken out.
            next_ = {};
            searchBelow(root_);
        }
    }
}

void DefinitionSearch::searchNextPart() {
    const XMLNode part = next_;
    if (part != root_) note(part);
    if (hasParts(part) && part.firstChild()) {
        next_ = part.firstChild();
        return;
    }
    searchBelow(part);
    while (next_ && next_ != root_ && !next_.nextSibling()) next_ = next_.parent();
    next_ = next_ == root_ ? XMLNode() : next_.nextSibling();
}

void DefinitionSearch::searchBelow(XMLNode part) {
    part.forEachDescendant({"file", "sequence", "multiclip"},
                           [this](XMLNode element) { note(element); });
}

void DefinitionSearch::note(XMLNode element) {
    const bool isFile = element.isElement("file");
    const bool isSequence = element.isElement("sequence");
    if (!isFile && !isSequence && !element.isElement("multiclip")) return;
    const auto id = element.attribute("id");
    if (!id || !isDefinition(element)) return;
    Definitions& kind = isFile ? files_ : isSequence ? sequences_ : multiclips_;
    kind.emplace(arena_.keep(*id), element);
}

}  // namespace reelsweep
