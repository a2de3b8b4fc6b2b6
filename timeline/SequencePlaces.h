// SequencePlaces: where everything on the tracks of a sequence is, and nothing else.
//
// A Timeline knows that too, with media, filters and nested sequences; this is for those who look
// at the elements themselves and read them again after every edit.
//
// Owner: the caller. The items point into the tree's texts and into this object: they are good
// until the tree is edited. Thread rule: the thread that owns the tree.
#pragma once

#include "timeline/ChangeLedger.h"
#include "timeline/Timeline.h"

#include <deque>
#include <vector>

namespace reelsweep {

/// What one of a track's clips, generators and transitions says, and where that puts it.
struct PlacedItem {
    ItemTimes times;          ///< as written
    const Item* item;         ///< its place
    int index = 0;            ///< among the items of its track, from 1, as links count
    bool isRemapped = false;  ///< has a time remap filter

    /// The edges that `in` and `out` belong to: its own, else the outer ones of its transitions.
    FrameRange sourcePlace() const;
    /// What it certainly keeps for itself: its range without the transitions at its ends.
    FrameRange body() const;
    /// Whether the source range is as long as its place, or nothing tells: an edge is not known, or
    /// the clip counts frames of another rate than its sequence.
    bool lengthsAgree(FrameRate sequenceRate) const;
};

struct PlacedTrack {
    XMLNode node;
    TrackLabel label;  ///< counted among the tracks of its kind that are there now
    std::vector<PlacedItem> items;
};

class SequencePlaces {
public:
    /// Of a `sequence`, or of a `clip` that has tracks. O(its items).
    static SequencePlaces of(XMLNode sequence);
    /// One track of it as it is now; the others are left out. O(the track's items).
    SequencePlaces again(const PlacedTrack& track) const;

    const std::vector<PlacedTrack>& tracks() const { return tracks_; }
    const SequenceTimecode& timecode() const { return timecode_; }
    FrameRate rate() const { return timecode_.rate; }

private:
    void readTrack(XMLNode node, TrackLabel label);

    SequenceTimecode timecode_;
    std::vector<PlacedTrack> tracks_;
    std::deque<std::vector<Item>> items_;  ///< a vector for each track; they never move
    std::deque<Transition> transitions_;
};

}  // namespace reelsweep
