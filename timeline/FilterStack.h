// FilterStack: the filters of a clip, and what they do to its picture, its sound and its speed.
//
// Clips with the same filters share one stack. Owner: the MediaCatalogue; every Timeline keeps its
// catalogue alive. Thread rule: any thread, once it is made; nothing in it ever changes.
#pragma once

#include "time/Frames.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace reelsweep {

/// A value at a time. `when` counts the clip's own frames, so a trim does not move it.
struct Keyframe {
    Frames when;
    std::string_view value;
};

struct Parameter {
    std::string_view id;
    std::string_view name;
    std::string_view value;  ///< a value of several parts as "horiz 0 vert 0.25"
    std::span<const Keyframe> keyframes;
};

/// What a filter is for.
enum class FilterMeaning : std::uint8_t {
    other,    ///< an effect that nothing is known of
    colour,   ///< changes colours and leaves the shape of the picture alone
    opacity,  ///< the fixed opacity of a clip
    motion,   ///< scale, centre, rotation, anchor
    crop,
    distort,
    speed,  ///< the time remap
    level,  ///< the fixed audio level of a clip
    pan,
};

struct Filter {
    FilterMeaning meaning = FilterMeaning::other;
    bool enabled = true;
    /// Changes nothing at all: disabled, or with every value at its default and no keyframes.
    bool isNeutral = false;
    bool concernsPicture = true;
    bool concernsSound = true;
    std::string_view name;
    std::string_view effectId;
    Frames start = edgeInTransition;  ///< in frames of the clip; -1 is the whole clip
    Frames end = edgeInTransition;
    std::span<const Parameter> parameters;

    /// The parameter of that id, or null.
    const Parameter* parameter(std::string_view id) const;
};

/// How fast a clip runs, as its time remap says.
struct Speed {
    enum class Kind : std::uint8_t {
        plain,     ///< 100 %, forward
        constant,  ///< another speed or backward
        remapped,  ///< keyframes map each frame of the clip to one of its media
    };

    Kind kind = Kind::plain;
    bool reversed = false;
    std::string_view percent = "100";  ///< a decimal number, without trailing zeros
    std::span<const Keyframe> keyframes;

    /// The frame of the media that the clip shows at one of its own frames, rounded down. Played
    /// backward it is only known where keyframes say it: else the clip's own frame is the answer.
    Frames mediaFrame(Frames own) const;
    bool operator==(const Speed& other) const;
};

/// An amount that may change over time: opacity, level.
struct Amount {
    std::string_view value;  ///< a decimal number, without trailing zeros
    std::span<const Keyframe> keyframes;

    bool isConstant() const { return keyframes.empty(); }
};

struct FilterStack {
    std::span<const Filter> filters;  ///< all of them in the order of the file, disabled ones too
    Speed speed;
    Amount opacity{"100", {}};
    Amount level{"1", {}};
    /// A frame that was full and opaque still is: opacity is a constant 100, motion, crop and
    /// distort are at their defaults, and every other filter is one that keeps the shape.
    bool keepsFrameFull = true;
    bool isSilent = false;      ///< the level is a constant 0
    bool pictureMoves = false;  ///< a filter that changes the picture has keyframes
    /// What changes the picture, and what the sound, as text: the filters that are not neutral,
    /// without the speed. Equal texts are equal looks.
    std::string_view pictureKey;
    std::string_view soundKey;
};

}  // namespace reelsweep
