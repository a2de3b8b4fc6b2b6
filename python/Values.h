// What Python is given: plain values, copied out of the library when they are asked for.
//
// They need neither the document nor a lock, and may be kept for ever.
// Thread rule: plain values; making them is for the thread that owns the tree.
#pragma once

#include "timeline/ChangeLedger.h"
#include "timeline/PictureDifference.h"
#include "timeline/Timeline.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep::python {

struct Item {
    std::string kind;  ///< "clip", "generator" or "transition"
    std::string name;
    std::string id;
    std::int64_t start = 0;  ///< where an editor sees the cut; end exclusive
    std::int64_t end = 0;
    std::int64_t sourceStart = 0;  ///< frames of the media at the cut
    std::int64_t sourceEnd = 0;
    std::string sourceTimecode;  ///< at the cut
    bool enabled = true;
    std::string media;
    std::string path;
    std::string reel;

    static Item of(const reelsweep::Item& item);
};

struct Track {
    std::string label;  ///< "V1"
    std::string name;
    bool enabled = true;
    std::vector<Item> items;
};

struct Timeline {
    std::string name;
    std::string rate;  ///< "29.97"; empty when it is not known
    std::int64_t timebase = 0;
    bool ntsc = false;
    bool dropFrame = false;
    std::int64_t start = 0;  ///< what the time code of frame 0 counts
    std::int64_t end = 0;
    std::vector<Track> tracks;

    static Timeline of(const reelsweep::Timeline& timeline);
    std::string timecode(std::int64_t frame) const;
};

struct Place {
    std::optional<std::string> track;
    std::optional<std::int64_t> start, end, in, out;
};

struct Change {
    std::string pass;
    std::string kind;
    std::string element;
    std::string name;
    std::string id;
    Place before;
    Place after;
    std::string reason;
};

struct Kept {
    std::string pass;
    std::string name;
    std::string id;
    Place place;
    std::string reason;
};

/// How two sequences compare, frame by frame.
struct Comparison {
    std::string before;  ///< title
    std::string after;
    bool same = false;
    bool asAsked = false;  ///< nothing differs but what was asked
    std::int64_t frames = 0;
    std::int64_t samePicture = 0;
    std::int64_t sameSound = 0;
    std::int64_t changedPicture = 0;  ///< unasked
    std::int64_t changedSound = 0;
    std::vector<std::string> differences;

    static Comparison of(const PictureDifference& difference);
};

struct SequenceLedger {
    std::string title;
    std::string uuid;
    std::size_t itemsBefore = 0;
    std::size_t itemsAfter = 0;
    bool balances = false;
    std::vector<Change> changes;
    std::vector<Kept> kept;
    std::optional<Comparison> picture;

    static SequenceLedger of(const reelsweep::SequenceLedger& ledger);
};

}  // namespace reelsweep::python
