#include "tidy/fcpx/FCPXVocabulary.h"

#include <algorithm>
#include <array>

namespace reelsweep::fcpx {

namespace {

constexpr auto storyItems = std::to_array<std::string_view>(
    {"asset-clip", "audio", "audition", "caption", "clip", "live-drawing", "mc-clip", "ref-clip",
     "sync-clip", "title", "video"});

}  // namespace

bool isStoryItem(XMLNode node) {
    return node.isElement() &&
           std::find(storyItems.begin(), storyItems.end(), node.name()) != storyItems.end();
}

bool isInStoryline(XMLNode node) {
    const XMLNode parent = node.parent();
    return parent.isElement("spine") || parent.isElement("mc-angle");
}

bool isConnected(XMLNode node) {
    const std::string_view lane = node.attribute("lane").value_or("0");
    return lane != "0" && !isInStoryline(node);
}

bool isDisabled(XMLNode node) { return node.attribute("enabled") == "0"; }

std::vector<XMLNode> elementsNamed(XMLNode top, std::initializer_list<std::string_view> names) {
    std::vector<XMLNode> found;
    top.forEachDescendant(names, [&](XMLNode element) { found.push_back(element); });
    return found;
}

std::optional<RationalTime> timeOf(XMLNode node, const char* attribute) {
    const auto text = node.attribute(attribute);
    return text ? RationalTime::parse(*text) : std::nullopt;
}

Resources::Resources(XMLNode document) {
    for (const XMLNode resources : elementsNamed(document, {"resources"}))
        for (XMLNode node = resources.firstChild(); node; node = node.nextSibling()) {
            if (!node.isElement()) continue;
            all_.push_back(node);
            if (const auto id = node.attribute("id")) byId_.emplace(*id, node);
        }
}

XMLNode Resources::find(std::string_view id) const {
    const auto found = byId_.find(std::string(id));
    return found == byId_.end() ? XMLNode() : found->second;
}

}  // namespace reelsweep::fcpx
