// PictureDifference: whether two timelines show the same picture and play the same sound, frame by
// frame, and where they do not.
//
// The proof of a run compares a source with its copy; any two timelines will do. Media are the same
// by path, or by name, reel and time code, never by id, and nested sequences by what they show.
//
// **Asked or changed.** A run is asked to remove filters or transitions, and that changes the
// picture. What it may change is derived from the source: the *expected* picture is the source's
// without its filters (so without what they covered or uncovered, and at plain speed) and with each
// transition closed: where two clips were mixed, either of them may stand, in sync; a one-sided
// fade leaves its clip whole, in sync. A frame of the copy that equals the source's is the same;
// one that equals an expected one is asked (with only the filters gone, or only the transitions,
// too, as some are left alone); every other is changed. Disabled clips and markers
// show nothing and a silent clip plays nothing, so asking for their removal allows nothing more. A
// black slug over black is the same picture.
//
//   source   A[0,-1) x[90,110) B[-1,200)     two sides of a dissolve in [90,110)
//   copy     A[0,100) B[100,200)             asked, with transitions: A or B, at their own frames
//   copy     A[0,99)  B[100,200)             frame 99 is black: changed
//
// Large timelines are compared on threads of their own, picture and sound at once, and whoever asks
// for an answer waits for it. So a run may save its copy meanwhile.
//
// Owner: a PictureDifference keeps both timelines alive; its differences point into them.
// Thread rule: any thread.
#pragma once

#include "timeline/Picture.h"

#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

enum class DifferenceKind : std::uint8_t {
    lost,              ///< a clip that was there is gone
    revealed,          ///< a clip that was hidden or disabled shows
    added,             ///< a clip shows that was not there
    otherMedia,        ///< another clip in its place
    otherSourceFrame,  ///< the same media at another frame or speed
    otherLook,         ///< other filters, opacity, composite mode, level or channel
    otherOrder,        ///< the same clips in another order of layers
    transition,        ///< a dissolve has lost a side, or is another or none
    edgeWithoutPlace,  ///< nothing says any more where the clip begins or ends
};
inline constexpr std::size_t differenceKindCount = 9;

/// One word or two for reports: "lost", "other source frame".
std::string_view description(DifferenceKind kind);

/// What the run was asked to take out of the picture or the sound.
struct Asked {
    bool filters = false;
    bool videoTransitions = false;
    bool audioTransitions = false;
};

/// A stretch of frames in which the two differ in the same way.
struct Difference {
    MediaType type = MediaType::video;
    FrameRange range;
    DifferenceKind kind = DifferenceKind::lost;
    bool asked = false;
    /// All that the two show at the start of the range.
    std::span<const Contributor> before;
    std::span<const Contributor> after;
    /// The contributors that the difference is about; nothing where one of them shows none.
    std::optional<Contributor> was;
    std::optional<Contributor> is;
};

/// All that a timeline shows and plays, made once for everything that it is compared with, in
/// O(n log n) of its items. That of a large one is made on a thread of its own, begun here, and
/// whoever asks waits for it. Copies share what was made. Thread rule: any thread.
class ShownAndPlayed {
public:
    explicit ShownAndPlayed(const Timeline& timeline);

    const Timeline& timeline() const { return timeline_; }
    const Intervals& of(MediaType type) const {
        return type == MediaType::video ? both_.get().picture : both_.get().sound;
    }

private:
    struct Both {
        Intervals picture;
        Intervals sound;
    };
    Timeline timeline_;
    std::shared_future<Both> both_;
};

class PictureDifference {
public:
    /// O(n log n) in the items of both. Where only some of the filters were asked to go, `asked`
    /// says nothing of filters, and `without` is the source as it is when those are gone.
    PictureDifference(const ShownAndPlayed& source, const Timeline& copy, Asked asked = {},
                      const std::optional<Timeline>& without = {});
    PictureDifference(const Timeline& source, const Timeline& copy, Asked asked = {})
        : PictureDifference(ShownAndPlayed(source), copy, asked) {}

    const Timeline& source() const { return source_.timeline(); }
    const Timeline& copy() const { return copy_; }

    /// In time order.
    const std::vector<Difference>& differences(MediaType type) const {
        return of(type).differences;
    }

    /// Frames of the longer of the two timelines.
    Frames frames() const;
    /// How many of them differ: as asked, and otherwise.
    Frames asked(MediaType type) const { return of(type).asked; }
    Frames changed(MediaType type) const { return of(type).changed; }
    Frames same(MediaType type) const { return frames() - of(type).asked - of(type).changed; }
    bool isSame() const;
    /// Nothing differs but what was asked.
    bool isAsAsked() const;

private:
    // The picture, or the sound.
    struct Half {
        Intervals copy;
        std::vector<Difference> differences;
        Frames asked;
        Frames changed;
    };
    using HalfToCome = std::shared_future<std::shared_ptr<const Half>>;
    static std::shared_ptr<const Half> compared(const ShownAndPlayed& source, const Timeline& copy,
                                                MediaType type, Asked asked,
                                                const Timeline* without);
    HalfToCome compare(MediaType type, Asked asked, const std::optional<Timeline>& without) const;
    const Half& of(MediaType type) const {
        return *(type == MediaType::video ? picture_ : sound_).get();
    }

    ShownAndPlayed source_;
    Timeline copy_;
    HalfToCome picture_;
    HalfToCome sound_;
};

}  // namespace reelsweep
