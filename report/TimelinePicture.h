// TimelinePicture: a sequence before and after a tidy as something that can be drawn.
//
// It says which clip stands where, what became of it and which clip of the other side it is. Pixels
// are for PictureLayout.h; those who paint are the SVG writer and the window.
//
//   before  V2      [##insert##]           moved, with the clip on V1 as its partner
//           V1 [wide]          [/close/]   /close/ is removed: it has no partner
//   after   V1 [wide][##insert##]
//
// Owner: a TimelinePicture keeps the timelines alive that its texts are in; it needs neither the
// tree nor the ledger once it is made. Thread rule: making one is for the thread that owns the
// tree; it may then be read from any thread.
#pragma once

#include "timeline/ChangeLedger.h"
#include "timeline/Timeline.h"

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// What became of a clip.
enum class ClipFate : std::uint8_t {
    same,
    changed,  ///< in its place, but something in it was taken out or set
    trimmed,  ///< on its track, with another start or end; also each piece of a split clip
    moved,    ///< to another track or time
    removed,  ///< stands before only
    added,    ///< stands after only
};
inline constexpr std::size_t clipFateCount = 6;

/// "unchanged", "moved" and so on.
std::string_view description(ClipFate fate);

/// No clip, no text.
inline constexpr std::uint32_t noEntry = std::numeric_limits<std::uint32_t>::max();

/// Files may hold any number as a time. What lies farther out is drawn here.
inline constexpr Frames farthestFrame{1'000'000'000'000'000};

/// A clip, generator or transition in a row.
struct DrawnClip {
    FrameRange range;   ///< where an editor sees it; a transition's whole length
    FrameRange source;  ///< `in` and `out`
    Frames clearFrom;   ///< where the transition at its start ends
    std::string_view name;
    std::string_view media;
    std::string_view id;
    ItemKind kind = ItemKind::clip;
    ClipFate fate = ClipFate::same;
    bool isOff = false;   ///< disabled, or on a disabled track
    bool isSlug = false;  ///< black
    std::uint32_t row = 0;
    std::uint32_t partner = noEntry;  ///< the same clip on the other side
    std::uint32_t kept = noEntry;     ///< position in TimelinePicture::kept()
    std::uint32_t reason = noEntry;   ///< position in TimelinePicture::reasons()
    std::uint32_t firstHidden = 0;    ///< position in DrawnSide::hidden
    std::uint32_t hiddenCount = 0;
};

/// A track.
struct DrawnRow {
    TrackLabel label;
    bool isOn = true;
    std::uint32_t first = 0;  ///< position of its first clip in DrawnSide::clips
    std::uint32_t count = 0;  ///< its clips, by their starts
    Frames longest;           ///< no clip of the row is longer
};

/// All tracks before, or all after.
struct DrawnSide {
    std::vector<DrawnRow> rows;  ///< the highest video track first, then audio downwards
    std::vector<DrawnClip> clips;
    /// What clips above certainly hide, clip after clip.
    std::vector<FrameRange> hidden;

    std::span<const DrawnClip> clipsOf(const DrawnRow& row) const {
        return std::span(clips).subspan(row.first, row.count);
    }
    std::span<const FrameRange> hiddenOf(const DrawnClip& clip) const {
        return std::span(hidden).subspan(clip.firstHidden, clip.hiddenCount);
    }
    /// The clips of a row of which some frame is in [start, end), from the first to the last of
    /// them; one that ends before may be among them. O(log n) and the answer.
    std::span<const DrawnClip> clipsIn(const DrawnRow& row, FrameRange range) const;
    /// The highest clip of a row at a frame; noEntry without one.
    std::uint32_t clipAt(const DrawnRow& row, Frames frame) const;
};

enum class PictureSide : std::uint8_t { before, after };

/// A clip of one of the two sides.
struct ClipPlace {
    PictureSide side = PictureSide::before;
    std::uint32_t clip = noEntry;

    bool isSomewhere() const { return clip != noEntry; }
    bool operator==(const ClipPlace&) const = default;
};

class TimelinePicture {
public:
    /// What a change of the ledger was about. Both may be missing.
    struct ChangedClip {
        std::uint32_t before = noEntry;
        std::uint32_t after = noEntry;
        ChangeKind kind = ChangeKind::changed;
        std::string_view pass;  ///< option name; static storage
    };
    struct KeptClip {
        std::uint32_t before = noEntry;
        std::uint32_t after = noEntry;
        std::string_view pass;
        std::string reason;
    };

    /// `before` and `after` are of one and the same tree, the copy that was tidied: a clip is found
    /// again by its element. `ledger` is what was done in between. O(n log n).
    TimelinePicture(Timeline before, Timeline after, const SequenceLedger& ledger);
    /// A sequence as it is, with nothing done to it.
    explicit TimelinePicture(const Timeline& timeline);

    const DrawnSide& side(PictureSide side) const {
        return side == PictureSide::before ? before_ : after_;
    }
    const DrawnSide& before() const { return before_; }
    const DrawnSide& after() const { return after_; }
    const DrawnClip& at(ClipPlace place) const { return side(place.side).clips[place.clip]; }
    const DrawnRow& rowOf(ClipPlace place) const { return side(place.side).rows[at(place).row]; }
    /// The same clip on the other side.
    ClipPlace partnerOf(ClipPlace place) const;

    std::string_view name() const { return beforeTimeline_.name(); }
    const SequenceTimecode& timecode() const { return beforeTimeline_.timecode(); }
    /// The frames that either side reaches, from the sequence's first.
    FrameRange range() const { return range_; }
    /// How many clips have that fate: removed ones before, all others after.
    std::size_t count(ClipFate fate) const { return counts_[static_cast<std::size_t>(fate)]; }

    /// As many as the ledger has changes, in its order.
    std::span<const ChangedClip> changes() const { return changes_; }
    std::span<const KeptClip> kept() const { return kept_; }
    const std::string& reason(std::uint32_t number) const { return reasons_[number]; }
    /// The first clip of the side after, else before, that a change is about.
    ClipPlace placeOf(const ChangedClip& change) const;

private:
    class Builder;

    Timeline beforeTimeline_;
    Timeline afterTimeline_;
    DrawnSide before_;
    DrawnSide after_;
    FrameRange range_;
    std::vector<ChangedClip> changes_;
    std::vector<KeptClip> kept_;
    std::vector<std::string> reasons_;
    std::array<std::size_t, clipFateCount> counts_{};
};

/// What a person should know of a clip, a line each: "Wide, Clip item on V2", its times and source
/// range as time code, what became of it and why, what is hidden, why it was kept.
std::vector<std::string> clipLines(const TimelinePicture& picture, ClipPlace place);

}  // namespace reelsweep
