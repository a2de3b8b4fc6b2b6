#include "tidy/passes/Passes.h"
#include "timeline/QVXMLParser.h"
#include "timeline/Vocabulary.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace reelsweep::passes {

namespace {

// Effects whose output is not a full opaque frame: distortion, keying, mattes, perspective, text,
// shapes and generators.
constexpr std::array<std::string_view, 46> transparentEffects = {
    "Black Hole",
    "Bulge",
    "Disc Warp",
    "Droplet",
    "Earthquake",
    "Fisheye",
    "Poke",
    "Ripple",
    "Scrape",
    "Twirl",
    "Wave",
    "Whirlpool",
    "Blue and Green Screen",
    "Chroma Keyer",
    "Color Key",
    "Luma Key",
    "Primatte RT",
    "Eight-Point Garbage Matte",
    "Extract",
    "Four-Point Garbage Matte",
    "Image Mask",
    "Mask Feather",
    "Mask Shape",
    "Matte Choker",
    "Matte Magic",
    "Soft Edges",
    "Basic 3D",
    "Curl",
    "Rotate",
    "Crawl",
    "Lower 3rd",
    "Outline Text",
    "Scrolling Text",
    "Text",
    "Typewriter",
    "Circle",
    "Oval",
    "Rectangle",
    "Square",
    "Title 3D",
    "Title Crawl",
    "Vector Shape",
    "Caustics",
    "Membrane",
    "Soft Gradient",
    "Star",
};

bool isTransparentEffect(std::string_view name, const std::vector<std::string>& ignoredEffects) {
    return std::find(transparentEffects.begin(), transparentEffects.end(), name) !=
               transparentEffects.end() ||
           std::find(ignoredEffects.begin(), ignoredEffects.end(), name) != ignoredEffects.end();
}

bool hasTransparentName(XMLNode effect, const std::vector<std::string>& ignoredEffects) {
    // Nearly every name is one text without escapes.
    const char* const plain = effect.child("name").onlyText();
    if (plain && std::strchr(plain, '%') == nullptr)
        return isTransparentEffect(plain, ignoredEffects);
    const auto name = QVXMLParser::nameForNode(effect);
    return name && isTransparentEffect(*name, ignoredEffects);
}

// The value text of the effect's first parameter of that id that has one.
std::optional<std::string_view> parameterValue(XMLNode effect, std::string_view parameterid) {
    for (const XMLNode parameter : childrenNamed(effect, "parameter")) {
        if (!hasText(parameter.child("parameterid"), parameterid)) continue;
        if (const XMLNode text = parameter.child("value").firstText()) return text.value();
    }
    return {};
}

bool isBelowHundred(const std::optional<std::string_view>& percent) {
    return percent && leadingFrames(*percent) < Frames{100};
}

// A Crop with anything but its edge feather above 0.
bool crops(XMLNode filter) {
    const XMLNode effect = filter.child("effect");
    if (!hasText(effect.child("name"), "Crop")) return false;
    for (const XMLNode parameter : childrenNamed(effect, "parameter")) {
        bool isOtherThanFeather = false;
        const XMLNode parameterid = parameter.child("parameterid");
        for (XMLNode text = parameterid.firstChild(); text; text = text.nextSibling())
            if (text.isText() && text.value() != "edgefeather") isOtherThanFeather = true;
        if (isOtherThanFeather && xpathNumber(parameter.child("value").stringValue()) > 0)
            return true;
    }
    return false;
}

// The first opacity and the first mix among all effects of all filters decide.
struct FirstValues {
    std::optional<std::string_view> opacity;
    std::optional<std::string_view> mix;
    bool crops = false;
};

FirstValues firstValues(XMLNode firstFilter) {
    FirstValues found;
    for (XMLNode filter = firstFilter; filter; filter = filter.nextSibling("filter")) {
        for (const XMLNode effect : childrenNamed(filter, "effect")) {
            if (!found.opacity && hasText(effect.child("name"), "Opacity"))
                found.opacity = parameterValue(effect, "opacity");
            if (!found.mix) found.mix = parameterValue(effect, "mix");
        }
        found.crops = found.crops || crops(filter);
    }
    return found;
}

}  // namespace

bool isClipTransparent(XMLNode clip, const std::vector<std::string>& ignoredEffects) {
    return isClipTransparent(ItemFacts::of(clip), ignoredEffects);
}

bool isClipTransparent(const ItemFacts& clip, const std::vector<std::string>& ignoredEffects) {
    const XMLNode firstFilter = clip.firstFilter;
    const XMLNode compositeMode = (*clip.compositeMode).firstText();
    if (compositeMode && compositeMode.value() != "normal") return true;
    if (firstFilter) {
        const FirstValues values = firstValues(firstFilter);
        if (isBelowHundred(values.opacity) || values.crops || isBelowHundred(values.mix))
            return true;
    }
    if (clip.isGenerator) {
        const XMLNode name = (*clip.node).child("effect").child("name").firstText();
        if (name && isTransparentEffect(name.value(), ignoredEffects)) return true;
    }
    for (XMLNode filter = firstFilter; filter; filter = filter.nextSibling("filter")) {
        const XMLNode effect = filter.child("effect");
        if (effect && hasTransparentName(effect, ignoredEffects)) return true;
    }
    return false;
}

}  // namespace reelsweep::passes
