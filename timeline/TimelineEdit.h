// TimelineEdit: the one door through which a sequence is edited.
//
// It edits the tree, keeps the track indexes current and tells the ledger what changed. It tests
// nothing and decides nothing: what to edit is the passes' business.
// Owner: the run (one per sequence). Thread rule: the run's thread.
#pragma once

#include "timeline/ChangeLedger.h"
#include "timeline/TrackIndex.h"
#include "xml/XMLNode.h"

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace reelsweep {

class TimelineEdit {
public:
    /// Counts the sequence's items; the ledger must outlive this object.
    TimelineEdit(XMLNode sequence, SequenceLedger& ledger);

    XMLNode sequence() const { return sequence_; }
    /// Changes from here on belong to the pass of that option name (static storage).
    void beginPass(std::string_view option) { pass_ = option; }
    /// How many items the sequence came with.
    std::size_t itemsBefore() const { return ledger_.itemsBefore; }
    /// Counts the items that are left, and finds those that have become loose: were they not so in
    /// the source, of which the sequence is a copy. After the last pass.
    void finish(XMLNode source = {});

    // Nodes anywhere in the sequence

    /// The names of the elements that passes look for all over a sequence.
    static constexpr std::array<std::string_view, 5> listedNames = {"track", "filter", "marker",
                                                                    "collapsed", "mediaSource"};
    /// All elements of one of these names that stand in the sequence now, in document order. One
    /// walk over the sequence serves all names, until something is moved or put in.
    std::vector<XMLNode> elementsNamed(std::string_view listedName);

    /// Takes a node out; a node that is out already is left alone and not reported twice.
    void detach(XMLNode node, const std::string& reason);
    /// Takes a track out; the items left on it are reported with it.
    void detachTrack(XMLNode track, const std::string& reason);
    /// Sets the text of an element that is there. One that reads so already is no change.
    void setText(XMLNode element, std::string_view text);
    /// Sets those of an item's times that are given, each on an existing child only. No track is
    /// indexed afterwards.
    ///   [aaaa]----   ->   [aaaaaa]--
    void trim(XMLNode item, const ItemTimes& times);

    // Items of indexed tracks

    /// The index of a track, built when first asked for.
    TrackIndex& index(XMLNode track);

    /// Moves one node to another track, to be the child at `place` there. Times stay.
    ///   V2      [##]              V2
    ///   V1 [aa]        ->         V1 [aa] [##]
    void move(TrackIndex& from, TrackIndex::Id id, TrackIndex& to, std::size_t place);
    void detach(TrackIndex& track, TrackIndex::Id id, const std::string& reason);
    void trim(TrackIndex& track, TrackIndex::Id id, const ItemTimes& times);
    /// Makes two of an item: a copy that ends at `gap.start`, and the item itself, from `gap.end`
    /// on with its `in` raised by what is cut away. The copy keeps everything else, its id too.
    ///   [aaaaaaaaaaaaa]   ->   [aaa]      [aaa]
    void split(TrackIndex& track, TrackIndex::Id id, FrameRange gap, const ItemTimes& right);
    /// Makes a new item the child at `place` of the track; appends it when that is past the end.
    void insertItem(TrackIndex& track, XMLNode item, std::size_t place);

    /// "V2" for a track of the sequence and for what stands in it.
    TrackLabel label(XMLNode node) const;

private:
    Change& record(ChangeKind kind, XMLNode node);
    struct Place {
        TrackLabel track;
        XMLNode holder;            ///< the clip, generator or transition around it
        bool isTrackItem = false;  ///< a clip, generator or transition that stands in a track
    };
    Place placeOf(XMLNode node) const;
    void writeTimes(XMLNode item, const ItemTimes& times);
    void forgetIndexes();
    void listElements();
    bool isInSequence(XMLNode node) const;
    void insertAt(TrackIndex& track, XMLNode node, std::size_t place);

    XMLNode sequence_;
    SequenceLedger& ledger_;
    std::string_view pass_;
    std::vector<XMLNode> tracks_;  ///< as they came
    std::unordered_map<XMLNode, TrackLabel> labels_;
    std::vector<XMLNode> items_;  ///< on tracks, as they came
    SequenceIndex sequenceIndex_;
    std::unordered_map<XMLNode, TrackIndex> indexes_;
    std::array<std::vector<XMLNode>, listedNames.size()> elements_;  ///< those taken out too
    std::array<bool, listedNames.size()> isListed_{};  ///< false when the list may be out of date
};

}  // namespace reelsweep
