// Picture: what of a timeline reaches the screen, and what the loudspeakers.
//
// Run-length coded: intervals of frames, each with its contributors. Where a clip goes on, runs on
// after a cut in sync or only changes track, nothing changes and no interval ends.
//
//   V2         [bbbbb)             b is opaque, c is half transparent
//   V1   [aaaaaaaaaaaaa)[ccc)
//   picture  a  | b   | a  | c
//
// Disabled tracks, disabled clips and empty items reach nothing. A black slug with nothing below it
// is the same as nothing.
//
// A contributor **certainly covers** what is below it when all of this holds; what is unknown does
// not cover:
//  - it is alone on its track at that frame, in its place and outside every transition;
//  - its composite mode is normal, and its filters keep a full frame full (FilterStack), as do
//    those of its track;
//  - its media is a file, a colour, a slug or a nested sequence whose own picture is full there, or
//    it names none; and it is at least as large as this sequence where both sizes are known;
//  - its media has no alpha channel as far as the file says: `alphatype` is missing or "none", or
//    the format cannot hold one. A still in a format made for alpha must say "none".
//
// Owner: Intervals keep their Timeline alive; contributors point into it.
// Thread rule: any thread, once they are made.
#pragma once

#include "timeline/Timeline.h"

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace reelsweep {

/// Which part of a transition a contributor plays.
enum class TransitionSide : std::uint8_t { none, outgoing, incoming };

/// One clip's part in a picture, or in the sound.
struct Contributor {
    const Item* item = nullptr;
    const Track* track = nullptr;
    /// The transition that it is in; its progress is the frame's place in the transition's range.
    const Item* transition = nullptr;
    TransitionSide side = TransitionSide::none;
    /// Certainly hides what is below it; never for sound.
    bool covers = false;

    const Media& media() const { return *item->media; }
    /// The clip's own frame at a frame of the timeline, rounded down.
    Frames sourceFrame(Frames frame) const { return item->line.at(frame); }
};

/// Frames [start, end) with the same contributors. Of a picture: from the top down to the first
/// that certainly covers. Of the sound: all that are audible, in an order that does not depend on
/// their tracks.
struct Interval {
    FrameRange range;
    std::span<const Contributor> contributors;
};

/// What is left out of account.
struct PictureOptions {
    /// As if there were no filters, and every clip at plain speed.
    bool ignoreFilters = false;
    /// As if both sides of a transition were whole through its range: either may then show. The
    /// next contributors are listed unless both sides cover; a disabled side covers nothing.
    bool ignoreTransitions = false;
    /// For a nested sequence, where a slug hides what is below the sequence and nothing does not.
    bool keepSlugs = false;
};

/// A stretch of a timeline's picture, or of its sound.
class Intervals {
public:
    Intervals(const Timeline& timeline, MediaType type, FrameRange range, PictureOptions options);
    Intervals(const Intervals&) = delete;
    Intervals& operator=(const Intervals&) = delete;
    Intervals(Intervals&&) = default;
    Intervals& operator=(Intervals&&) = default;

    const Timeline& timeline() const { return timeline_; }
    MediaType type() const { return type_; }
    const PictureOptions& options() const { return options_; }

    /// In time order and without gaps, from the first frame that something reaches to the last. An
    /// interval without contributors is black, or silent.
    std::span<const Interval> list() const { return intervals_; }
    auto begin() const { return list().begin(); }
    auto end() const { return list().end(); }

private:
    Timeline timeline_;
    MediaType type_;
    PictureOptions options_;
    std::vector<Contributor> contributors_;
    std::vector<Interval> intervals_;
};

/// Whether the clip on the other side of the contributor's transition is disabled, or silent.
bool fadesToNothing(const Contributor& contributor);

/// Whether two contributors, of one timeline or of two, look and sound the same: the same media at
/// the same source frame in sync, with the same speed, filters, opacity, composite mode, and the
/// same side of the same transition at the same time. Nested sequences are the same only when they
/// are one and the same definition.
bool showsTheSame(const Contributor& a, const Contributor& b, PictureOptions options = {});
/// The same, but nested sequences are compared by their names only.
bool looksTheSame(const Contributor& a, const Contributor& b, PictureOptions options = {});

inline constexpr FrameRange allFrames{{std::numeric_limits<std::int64_t>::min()},
                                      {std::numeric_limits<std::int64_t>::max()}};

/// The picture and the sound of a whole timeline. O(n log n) in its items, plus the answer.
inline Intervals picture(const Timeline& timeline, PictureOptions options = {}) {
    return {timeline, MediaType::video, allFrames, options};
}
inline Intervals sound(const Timeline& timeline, PictureOptions options = {}) {
    return {timeline, MediaType::audio, allFrames, options};
}
/// The same between two frames, for what a window shows.
inline Intervals pictureAt(const Timeline& timeline, FrameRange range) {
    return {timeline, MediaType::video, range, {}};
}
inline Intervals soundAt(const Timeline& timeline, FrameRange range) {
    return {timeline, MediaType::audio, range, {}};
}

}  // namespace reelsweep
