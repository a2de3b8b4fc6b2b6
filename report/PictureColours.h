// PictureColours: the colours of a drawn timeline, for light and for dark surroundings.
//
// Texts have a contrast of at least 4.5 to what is behind them, and outlines one of 3. A colour
// never stands alone: each fate has a mark or a word of its own as well.
// Thread rule: constant data.
#pragma once

#include "report/TimelinePicture.h"

#include <cstdint>

namespace reelsweep {

/// Red, green and blue, a byte each.
using Colour = std::uint32_t;

struct ClipColours {
    Colour fill;
    Colour outline;
};

struct PictureColours {
    Colour background;
    Colour lane;   ///< of a track
    Colour text;   ///< also on clips
    Colour quiet;  ///< ruler and track names
    Colour line;   ///< marks of the ruler
    Colour badge;  ///< behind the number of what was kept
    Colour onBadge;
    ClipColours same;
    ClipColours changed;
    ClipColours trimmed;
    ClipColours moved;
    ClipColours removed;
    ClipColours added;
    ClipColours slug;

    constexpr const ClipColours& of(ClipFate fate) const {
        switch (fate) {
            case ClipFate::changed: return changed;
            case ClipFate::trimmed: return trimmed;
            case ClipFate::moved: return moved;
            case ClipFate::removed: return removed;
            case ClipFate::added: return added;
            case ClipFate::same: break;
        }
        return same;
    }
    /// A slug stays grey, unless it went.
    constexpr const ClipColours& of(const DrawnClip& clip) const {
        return clip.isSlug && clip.fate != ClipFate::removed ? slug : of(clip.fate);
    }
};

inline constexpr PictureColours lightColours{
    .background = 0xffffff,
    .lane = 0xeef2f5,
    .text = 0x14202b,
    .quiet = 0x44505c,
    .line = 0x75828f,
    .badge = 0x5b2a86,
    .onBadge = 0xffffff,
    .same = {0xcbd9e6, 0x557089},
    .changed = {0xe2d2f2, 0x7548a6},
    .trimmed = {0xf6dda6, 0x8a5f00},
    .moved = {0xa9d0f5, 0x1c5fa3},
    .removed = {0xf7cbc8, 0xb3261e},
    .added = {0xbfe3c5, 0x27703a},
    .slug = {0xc0c5ca, 0x59616a},
};

inline constexpr PictureColours darkColours{
    .background = 0x1e2227,
    .lane = 0x282d33,
    .text = 0xf0f4f8,
    .quiet = 0xb4bec8,
    .line = 0x8592a0,
    .badge = 0xd9b8ff,
    .onBadge = 0x1e2227,
    .same = {0x35495c, 0x86a1ba},
    .changed = {0x4d3a66, 0xb793dd},
    .trimmed = {0x5c4713, 0xdcae4a},
    .moved = {0x1f4d7d, 0x6fb0ec},
    .removed = {0x6b2a27, 0xf08a83},
    .added = {0x235232, 0x76c98a},
    .slug = {0x484e55, 0x9aa3ac},
};

}  // namespace reelsweep
