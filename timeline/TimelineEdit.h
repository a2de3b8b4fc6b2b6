// TimelineEdit: the one door through which a sequence is edited.
//
// It edits the tree, keeps the track indexes right, tells the ledger what changed, and can take
// edits back. It tests nothing and decides nothing: what to edit is the passes' business.
// Owner: the run (one per sequence). Thread rule: the run's thread.
#pragma once

#include "timeline/ChangeLedger.h"
#include "timeline/EditJournal.h"
#include "timeline/ItemFacts.h"
#include "timeline/TrackIndex.h"
#include "xml/XMLNode.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace reelsweep {

class TimelineEdit {
public:
    /// Counts the sequence's items; the ledger must outlive this object.
    TimelineEdit(XMLNode sequence, SequenceLedger& ledger);
    TimelineEdit(const TimelineEdit&) = delete;
    TimelineEdit& operator=(const TimelineEdit&) = delete;

    XMLNode sequence() const { return sequence_; }
    const SequenceLedger& ledger() const { return ledger_; }
    /// Changes from here on belong to the pass of that option name (static storage).
    void beginStep(std::string_view option);
    /// The option name of the pass that changes belong to.
    std::string_view step() const { return step_; }
    /// The items of the sequence with those of `source` that they came from, the sequence of which
    /// this one was a copy when this object was made. What was inserted came from none; pieces of a
    /// split are asked for by wholeOf(). Items that were taken out are in it too.
    std::unordered_map<XMLNode, XMLNode> sourceItems(XMLNode source) const;
    /// The item that came with the sequence and of which this one is a piece; else itself.
    XMLNode wholeOf(XMLNode item) const;
    /// How many items the sequence came with.
    std::size_t itemsBefore() const { return ledger_.itemsBefore; }
    /// Counts the items that are left, and lists the clips that are loose. Clips that were loose in
    /// `source` are not listed: the sequence that this one is a copy of, or this one itself when it
    /// is edited where it stands. Comes after the last step.
    void finish(XMLNode source = {});
    /// Notes which clips are loose, for finish(), of a sequence that is edited where it stands.
    /// Comes before the first edit.
    void noteLooseClips();

    // Looking

    /// All elements of that name that stand in the sequence now, in document order. One walk over
    /// the sequence lists every name that was asked for or expected so far. When items have come in
    /// or moved since, the next call goes over the items again.
    std::vector<XMLNode> elementsNamed(std::string_view name);
    /// Announces names that will be asked for. The first walk then lists them all.
    void expectElements(std::span<const std::string_view> names);
    /// Makes that walk now, reads the facts of all items on its way, and shows each of them.
    void readItems(const std::function<void(const ItemFacts&)>& show = {});

    /// The index of a track, built when first asked for. The reference stays valid as long as this
    /// object lives. Whatever was edited, it answers for the track as it is at each question.
    const TrackIndex& index(XMLNode track);

    /// What is known of a clip, generator or transition that stands in a track; null for anything
    /// else. As current as the tree; the reference stays valid as long as this object lives, and is
    /// as current as the last question. Its filter is only asked for by the second one.
    const ItemFacts* facts(XMLNode item) const { return facts_.find(item); }
    const ItemFacts* factsWithFilter(XMLNode item) const { return facts_.findWithFilter(item); }
    /// Items of tracks are numbered from 0; only they have a number.
    std::size_t numberOf(XMLNode item) const { return facts_.numberOf(item); }
    /// The item's times, or those of any other element.
    ItemTimes times(XMLNode node) const;
    bool isTransition(XMLNode node) const;
    /// Whether a clip, generator or transition of a track may hold others, as sequences and
    /// multiclips do.
    bool mayHoldItems(XMLNode item) const;

    /// Grows whenever something inside the items was changed, apart from their own times. What was
    /// found out about the inside of an item holds as long as this stays the same.
    std::size_t changesInsideItems() const { return changesInsideItems_; }

    /// "V2" for a track of the sequence and for what stands in it.
    TrackLabel label(XMLNode node) const;

    // Editing. Nodes belong to the sequence's document.

    /// Takes a node out; a node that is out already is left alone and not reported twice.
    ///   [aa][bb][cc]   ->   [aa]----[cc]
    void detach(XMLNode node, const std::string& reason);
    /// Puts a new element in the place of another one, which is taken out. The new one may hold
    /// what stood in the other.
    ///   [aa][bb][cc]   ->   [aa][--][cc]
    void replace(XMLNode node, XMLNode by, const std::string& reason);
    /// Takes a track out; the items left on it are reported with it.
    void detachTrack(XMLNode track, const std::string& reason);
    /// Moves an item to a track. It becomes the child at `place` there, counted without the item
    /// itself. Its times stay.
    ///   V2      [##]              V2
    ///   V1 [aa]        ->         V1 [aa] [##]
    void move(XMLNode item, const TrackIndex& to, std::size_t place);
    /// Sets the times that are given. A time that the item has no element for stays missing.
    ///   [aaaa]----   ->   [aaaaaa]--
    void trim(XMLNode item, const ItemTimes& times, const std::string& reason = {});
    /// Makes two of an item on a track. The left piece is a copy that ends at `gap.start` and keeps
    /// everything else, its id too. The right piece is the item itself with the times of `right`,
    /// which start at `gap.end`. Answers the copy.
    ///   [aaaaaaaaaaaaa]   ->   [aaa]      [aaa]
    XMLNode split(XMLNode item, FrameRange gap, const ItemTimes& right);
    /// Makes a new item the child at `place` of the track. Appends it when that is past the end.
    ///   [aa]----[bb]   ->   [aa][ss][bb]
    void insertItem(const TrackIndex& track, XMLNode item, std::size_t place);
    /// Sets the text of an element. When the element reads so already, no change is reported.
    void setText(XMLNode element, std::string_view text);
    /// A text, or an attribute that is there (static storage), that is to read otherwise.
    struct Rewrite {
        XMLNode element;
        std::string text;
        const char* attribute = nullptr;
    };
    /// Sets texts and attributes that belong together: one change of `about`, which they stand in
    /// or are. No rewrites are no change.
    void rewrite(XMLNode about, std::span<const Rewrite> rewrites, const std::string& reason);
    /// Gives an element without content what a definition holds, which may stand in another
    /// document; the definition stays as it is.
    ///   <file id="f"/>   ->   <file id="f"> ... </file>
    void define(XMLNode reference, XMLNode definition, const std::string& reason);
    /// Takes the content out of a definition, which leaves a reference.
    ///   <file id="f"> ... </file>   ->   <file id="f"/>
    void refer(XMLNode definition, const std::string& reason);

    /// Notes that the step leaves a clip alone that it would have changed, and why.
    void noteKept(XMLNode clip, const std::string& reason);
    /// The same, because somebody asked for it.
    void noteKeptAsAsked(XMLNode clip, const std::string& reason);

    // Taking back

    /// A moment that the sequence, its ledger and its indexes can go back to. At the end of its
    /// scope, what was edited since is kept. Checkpoints nest.
    class Checkpoint {
    public:
        explicit Checkpoint(TimelineEdit& edit);
        ~Checkpoint() { edit_.journal_.close(); }
        Checkpoint(const Checkpoint&) = delete;
        Checkpoint& operator=(const Checkpoint&) = delete;

    private:
        friend class TimelineEdit;

        TimelineEdit& edit_;
        std::size_t journalSize_;
        SequenceLedger::Mark ledger_;
    };
    Checkpoint checkpoint() { return Checkpoint(*this); }
    /// Undoes everything since the checkpoint, which may be used again.
    ///   checkpoint [aa][bb]  ...  [aa]----  rollback   ->   [aa][bb]
    void rollback(const Checkpoint& checkpoint);

private:
    Change& record(ChangeKind kind, XMLNode node);
    struct Place {
        TrackLabel track;
        XMLNode holder;            ///< the clip, generator or transition around it
        bool isTrackItem = false;  ///< a clip, generator or transition that stands in a track
    };
    Place placeOf(XMLNode node) const;
    ItemTimes timesOfHolder(XMLNode item) const;
    /// Of an element that stands inside an item: the item's place, and its own `in` and `out`.
    ItemTimes timesInside(XMLNode item, XMLNode node) const;
    TrackLabel labelAbove(XMLNode node) const;
    bool isItem(XMLNode node) const;
    bool isLoose(XMLNode item) const;
    std::vector<XMLNode> itemsLeft() const;
    void recordRemoval(XMLNode node, std::size_t reason);
    TrackIndex* indexOf(XMLNode track) const;
    /// Puts a node where it is to stand, or nowhere.
    void place(XMLNode node, EditJournal::Place to);
    void writeText(XMLNode element, std::string_view text);
    void writeTimes(XMLNode item, const ItemTimes& times);
    /// Something below `parent` has changed: `node` has come or gone, or its text is another one.
    enum class Below { moved, rewritten };
    void changedBelow(XMLNode parent, XMLNode node, Below how);
    /// Answers whether a node stands in the sequence; for many nodes in document order.
    class Standing;

    XMLNode sequence_;
    SequenceLedger& ledger_;
    std::string_view step_;
    std::vector<XMLNode> tracks_;  ///< as they came
    std::unordered_map<XMLNode, TrackLabel> labels_;
    std::vector<XMLNode> items_;                   ///< on tracks, as they came
    std::unordered_map<XMLNode, XMLNode> pieces_;  ///< new pieces of splits, and what they were
    std::unordered_set<XMLNode> looseBefore_;
    /// The label of what stands in `parent`, as it was asked for last; until clips move.
    struct {
        XMLNode parent;
        TrackLabel label;
    } mutable lastLabel_;
    /// The times of the item that something was changed in last; until times change.
    struct {
        XMLNode item;
        ItemTimes times;
    } mutable lastHolder_;
    std::size_t changesInsideItems_ = 0;
    ItemFactsTable facts_;  ///< of the items on tracks
    SequenceIndex sequenceIndex_{&facts_};
    std::unordered_map<XMLNode, std::unique_ptr<TrackIndex>> indexes_;
    EditJournal journal_;

    // All elements of one name, those taken out too. What stands in one item of a track is listed
    // in one stretch: where only items have come, gone or moved, these are put in order again.
    struct ListedElements {
        struct Stretch {
            std::uint32_t first = 0;
            std::uint32_t count = 0;
        };
        std::vector<XMLElement> elements;
        std::vector<Stretch> ofItems;  ///< by the items' numbers; shorter when there are new ones
        bool isCurrent = false;
        bool isInOrder = false;
    };
    std::map<std::string, ListedElements, std::less<>> listed_;
    std::vector<bool> holdNone_;  ///< by number, whether an item held no others in the last walk
    void listAgain(const std::function<void(const ItemFacts&)>& show = {});
    void putListsInOrder();
    template <class VisitElement, class VisitItem>
    void walkAroundItems(const VisitElement& visitElement, const VisitItem& visitItem) const;
    void listsAreOld();
    void listsAreOutOfOrder();
};

}  // namespace reelsweep
