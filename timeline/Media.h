// Media: what a clip shows or plays.
//
// Owner: the MediaCatalogue; every Timeline keeps its catalogue alive.
// Thread rule: any thread, once it is made; nothing in it ever changes.
#pragma once

#include "time/Timecode.h"

#include <cstdint>
#include <string_view>

namespace reelsweep {

struct NestedSequence;

/// Width and height in pixels; 0 by 0 when the file does not say.
struct FrameSize {
    std::int32_t width = 0;
    std::int32_t height = 0;

    bool known() const { return width > 0 && height > 0; }
    bool operator==(const FrameSize&) const = default;
};

struct Media {
    enum class Kind : std::uint8_t {
        none,  ///< a clip that names no media
        file,  ///< a `file`, defined wherever in the document; of a multiclip the active angle's
        undefined,  ///< a reference to a `file` or sequence that the document defines nowhere
        sequence,   ///< a nested sequence
        generator,
    };

    Kind kind = Kind::none;
    bool isBlack = false;  ///< a slug: a full black frame
    /// One picture that stands still, so that every source frame shows the same.
    bool isStill = false;
    bool canHoldAlpha = true;  ///< the format can; the clip says whether it is used
    /// The format is mostly used with alpha: without a word of the clip it counts as alpha.
    bool usuallyHasAlpha = false;
    std::string_view id;    ///< as the document has it
    std::string_view name;  ///< the file's, sequence's, angle's or generator's
    std::string_view path;  ///< the `pathurl`
    std::string_view reel;
    Frames timecodeStart;  ///< what the time code of its first frame counts
    bool dropFrame = false;
    Frames duration;  ///< 0 when not known
    FrameRate rate;
    FrameSize size;
    std::string_view pixelAspect;
    /// Says which media this is, whatever its id: path, or name, reel and time code; for a
    /// generator its effect with all parameters. Equal keys are equal media; for nested sequences,
    /// which are called by name here, their contents decide.
    std::string_view key;
    const NestedSequence* nested = nullptr;  ///< for Kind::sequence, else null
};

/// The same media, also in another document under another id.
inline bool isSameMedia(const Media& a, const Media& b) { return &a == &b || a.key == b.key; }

}  // namespace reelsweep
