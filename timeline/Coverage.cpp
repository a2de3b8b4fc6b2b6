#include "timeline/Coverage.h"

#include "timeline/ElementText.h"

#include <array>
#include <cstdint>

namespace reelsweep {

namespace {

// How wide a pixel is, as a fraction of its height.
struct PixelAspect {
    std::string_view name;
    std::int64_t width;
    std::int64_t height;
};

constexpr std::array<PixelAspect, 4> pixelAspects = {{
    {"square", 1, 1},
    {"HD-(1440x1080)", 4, 3},
    {"HD-(1280x1080)", 3, 2},
    {"HD-(960x720)", 4, 3},
}};

const PixelAspect* aspectNamed(std::string_view name) {
    for (const PixelAspect& aspect : pixelAspects)
        if (equalInAnyCase(aspect.name, name)) return &aspect;
    return nullptr;
}

bool isLargeEnough(const Item& item, const Timeline& sequence) {
    const FrameSize own = item.media->size;
    const FrameSize frame = sequence.size();
    if (!own.known() || !frame.known()) return true;
    const std::string_view ownAspect =
        item.pixelAspect.empty() ? item.media->pixelAspect : item.pixelAspect;
    const PixelAspect* const wide = aspectNamed(ownAspect);
    const PixelAspect* const needed = aspectNamed(sequence.pixelAspect());
    std::int64_t width = own.width;
    std::int64_t neededWidth = frame.width;
    if (wide && needed) {
        width *= wide->width * needed->height;
        neededWidth *= needed->width * wide->height;
    }
    return width >= neededWidth && own.height >= frame.height;
}

bool isFullFrame(const Item& item) {
    switch (item.media->kind) {
        case Media::Kind::none:
        case Media::Kind::file:
        case Media::Kind::sequence: return true;
        case Media::Kind::generator: return item.media->isBlack || item.media->name == "Color";
        case Media::Kind::undefined: break;
    }
    return false;
}

}  // namespace

bool mayBeTransparent(const Item& item) {
    if (item.alphaType.empty()) return item.media->usuallyHasAlpha;
    return !equalInAnyCase(item.alphaType, "none") && item.media->canHoldAlpha;
}

bool certainlyCovers(const Item& item, const Track& track, const Timeline& sequence,
                     bool ignoreFilters) {
    if (!item.hasPlace() || !item.compositeMode.empty() || !isFullFrame(item)) return false;
    if (!ignoreFilters && !(item.filters->keepsFrameFull && track.filters->keepsFrameFull))
        return false;
    return isLargeEnough(item, sequence) && !mayBeTransparent(item);
}

}  // namespace reelsweep
