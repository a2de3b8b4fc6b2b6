// Timeline: one sequence as an immutable value.
//
// What the XML says in a roundabout way is said plainly here: every item has a place, edges inside
// transitions included, and knows its media, wherever in the document that is defined.
//
// Owner: a Timeline owns its texts, items and media, and shares its filters with the catalogue that
// it keeps alive. Copies are cheap and share everything. It outlives edits and the document; only
// the `node` handles do not: they are for telling which element an item came from.
// Thread rule: any thread, once it is made. Timeline::of() reads the tree and writes to the
// catalogue: call it on the thread that owns both.
#pragma once

#include "time/FrameRange.h"
#include "time/Timecode.h"
#include "timeline/FilterStack.h"
#include "timeline/Media.h"
#include "timeline/SequenceTimecode.h"
#include "timeline/Vocabulary.h"
#include "xml/XMLNode.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace reelsweep {

class MediaCatalogue;

enum class ItemKind : std::uint8_t { clip, generator, transition };

/// Who says where an edge of an item is.
enum class EdgePlace : std::uint8_t {
    own,           ///< the item itself
    inTransition,  ///< the item says -1, and the transition beside it has the place
    /// Nothing: the item says -1 without a transition beside it, or has no such time. The place is
    /// then worked out from the other edge and the length of the source range, as an importer
    /// might; with no other edge the item is empty and reaches nothing.
    nowhere,
};

/// Where a clip's own frames stand on the timeline, exactly: at timeline frame f it is at its own
/// frame (offset + f * step) / divisor. Two clips of the same media on one timeline with equal
/// lines run in sync, however they were cut.
struct SourceLine {
    std::int64_t offset = 0;
    std::int64_t step = 1;     ///< above 0; step and divisor have no common factor
    std::int64_t divisor = 1;  ///< above 0

    /// The clip's own frame at a frame of the timeline, rounded down.
    Frames at(Frames frame) const;
    /// The frames of `range` at which the clip is at one of its own frames in `own`; both lists are
    /// in time order and parted by other frames.
    std::vector<FrameRange> onTimeline(std::span<const FrameRange> own, FrameRange range) const;
    bool operator==(const SourceLine&) const = default;

private:
    FrameRange placeOf(FrameRange own) const;
};

/// How a transition stands to its cut.
enum class Alignment : std::uint8_t { unknown, center, start, end, startBlack, endBlack };

struct Item;

/// What only transitions have.
struct Transition {
    std::string_view effect;  ///< name
    std::string_view effectId;
    Alignment alignment = Alignment::unknown;
    /// The effect with its settings as text; equal texts are equal effects.
    std::string_view key;
    const Item* outgoing = nullptr;  ///< the clip that ends in it; null for none
    const Item* incoming = nullptr;  ///< the clip that begins in it; null for none
};

struct Link {
    std::string_view clipRef;  ///< an item's id
    std::string_view mediaType;
    int trackIndex = 0;  ///< counted from 1; 0 when missing
    int clipIndex = 0;
    int groupIndex = 0;
};

struct Marker {
    std::string_view name;
    std::string_view comment;
    std::string_view colour;
    Frames in;
    Frames out;  ///< -1 for a point
};

/// What does not touch picture or sound.
struct ItemNotes {
    std::string_view label;   ///< "Good Take"
    std::string_view colour;  ///< the colour label, "Iris"
    std::span<const Link> links;
    std::span<const Marker> markers;
};

/// A clip, generator or transition on a track.
///
///   A[0,-1) x[90,110) B[-1,200), centred on its cut
///
///   frame    0        90   100   110        200
///   A        [=========|====|=====)                 range [0,110)    cut [0,100)
///   B                  [====|=====|==========)      range [90,200)   cut [100,200)
///
/// `range` is as far as the clip's picture reaches: through the whole of a transition, which needs
/// the clip's frames up to its far end. `cut` ends where an editor sees the cut, inside the
/// transition. A transition between clips whose edges are their own lengthens their ranges alike.
/// Without transitions both are the same.
struct Item {
    ItemKind kind = ItemKind::clip;
    bool enabled = true;  ///< false for "FALSE" in any letter case
    EdgePlace startPlace = EdgePlace::own;
    EdgePlace endPlace = EdgePlace::own;
    std::int32_t sourceChannel = 0;  ///< `trackindex` of the source track, from 1; 0 is unsaid
    FrameRange range;
    FrameRange cut;
    FrameRange source;    ///< `in` and `out` in the clip's own frames
    Frames subclipStart;  ///< where a subclip begins in its media; its own frames count from there
    FrameRate rate;       ///< of those frames; the sequence's when the clip has none
    SourceLine line;
    std::string_view name;
    std::string_view id;
    std::string_view masterClip;     ///< masterclipid
    std::string_view compositeMode;  ///< empty for normal
    std::string_view alphaType;      ///< empty when missing
    std::string_view pixelAspect;
    const Media* media = nullptr;            ///< null for a transition only
    const FilterStack* filters = nullptr;    ///< never null
    const Transition* transition = nullptr;  ///< for a transition only
    const Item* fadesIn = nullptr;           ///< the transition at its start, or null
    const Item* fadesOut = nullptr;          ///< the transition at its end, or null
    const ItemNotes* notes = nullptr;        ///< never null; empty unless they were asked for
    XMLNode node;

    bool hasPlace() const {
        return startPlace != EdgePlace::nowhere && endPlace != EdgePlace::nowhere;
    }
    bool isEmpty() const { return range.end <= range.start; }
};

struct Track {
    MediaType type = MediaType::video;
    int number = 0;  ///< counted from 1, the lowest video track first
    bool enabled = true;
    bool locked = false;
    int outputChannel = 0;  ///< for audio, from 1; 0 is unsaid
    std::string_view name;
    const FilterStack* filters = nullptr;  ///< of the track itself; never null
    std::span<const Item> items;           ///< in the order of the file
    XMLNode node;
};

/// "V1", "A3".
std::string description(const Track& track);

/// How much is read.
enum class TimelineDetail {
    everything,
    picture,  ///< what reaches picture and sound: no links, labels, markers, master clips
};

class Timeline {
public:
    /// Reads the tracks of the sequence's first `media`. A malformed time is read as the passes
    /// read it: its leading integer. O(nodes of the sequence).
    static Timeline of(XMLNode sequence, const std::shared_ptr<MediaCatalogue>& catalogue,
                       TimelineDetail detail = TimelineDetail::everything);
    /// The same of a sequence that was `source` before it was edited. What it refers to and defines
    /// no more is taken from `source`; only what that does not know is searched in the document.
    static Timeline ofEdited(XMLNode sequence, const Timeline& source,
                             TimelineDetail detail = TimelineDetail::everything);

    std::string_view name() const;
    std::string_view id() const;
    const SequenceTimecode& timecode() const;
    FrameRate rate() const { return timecode().rate; }
    FrameSize size() const;
    std::string_view pixelAspect() const;
    /// The last frame, exclusive, that an item of any track reaches, enabled or not.
    Frames end() const;

    /// Video tracks, lowest first, then audio tracks.
    std::span<const Track> tracks() const;
    std::span<const Track> tracks(MediaType type) const;
    /// All items, track after track.
    std::span<const Item> items() const;
    const Track& trackOf(const Item& item) const;
    /// The filters of the whole mix (of the `audio` element), and of the whole picture.
    const FilterStack& mixFilters() const;
    const FilterStack& pictureFilters() const;
    /// The sequence's own markers.
    std::span<const Marker> markers() const;

    struct Contents;
    explicit Timeline(std::shared_ptr<const Contents> contents) : contents_(std::move(contents)) {}

private:
    std::shared_ptr<const Contents> contents_;
};

}  // namespace reelsweep
