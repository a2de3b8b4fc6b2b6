// ChangeLedger: what a run changed in which sequence, edit by edit.
//
// TimelineEdit writes it; reports, windows and checks read it. It holds handles: it may be read as
// long as the document that was edited lives.
// Thread rule: written on the run's thread; read after the run.
#pragma once

#include "timeline/ItemTimes.h"
#include "timeline/SequenceTimecode.h"
#include "xml/XMLNode.h"

#include <array>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class XMLDocument;

enum class ChangeKind { removed, moved, trimmed, split, inserted, changed };
inline constexpr std::size_t changeKindCount = 6;

/// "removed", "moved" and so on: the word of reports.
std::string_view description(ChangeKind kind);

/// A track of the sequence, counted from 1 as the source sequence has them; number 0 is no track.
struct TrackLabel {
    bool video = true;
    int number = 0;

    bool operator==(const TrackLabel&) const = default;
};

/// "V1", "A3"; empty for no track.
std::string description(TrackLabel track);

struct Change {
    ChangeKind kind = ChangeKind::changed;
    std::string_view pass;  ///< option name of the pass; static storage
    XMLNode node;           ///< the element concerned; for a split its new left-hand piece
    XMLNode holder;         ///< the clip, generator or transition it stood in; null for none
    TrackLabel trackBefore;
    TrackLabel trackAfter;
    /// The node's own. What stands inside a clip, as a filter or a marker does, has the clip's
    /// place on the timeline; `in` and `out` are its own where it has them.
    ItemTimes before;
    ItemTimes after;
    bool countsAsItem = false;  ///< a clip, generator or transition that stands in a track
    std::size_t reason = 0;     ///< for reasonText(); 0 is none

    std::string name() const;  ///< the element's own name (a filter's effect's), or empty
    std::string id() const;    ///< its id attribute, or empty
    std::string holderName() const;
    std::string holderId() const;
};

/// A clip that has lost the transition at one of its edges.
struct LooseClip {
    XMLNode node;
    TrackLabel track;
    ItemTimes times;

    std::string name() const;
    std::string id() const;
};

/// A clip that a pass left alone, although it would have changed it.
struct KeptItem {
    std::string_view pass;  ///< option name of the pass; static storage
    XMLNode node;
    TrackLabel track;
    ItemTimes times;
    std::string reason;     ///< "moving it to V1 would ..."
    bool wasAsked = false;  ///< somebody asked for it; else it keeps the picture

    std::string name() const;
    std::string id() const;
};

class PictureDifference;

/// The changes of one sequence.
class SequenceLedger {
public:
    /// The document that the changes' nodes are part of, when it was fetched for the run: the
    /// ledger keeps it alive. Null for nodes of the file's document.
    std::shared_ptr<const XMLDocument> document;
    std::string title;
    std::string uuid;  ///< of the source sequence
    SequenceTimecode timecode;
    std::size_t itemsBefore = 0;
    std::size_t itemsAfter = 0;
    std::vector<Change> changes;  ///< in the order in which they were made
    /// Clips of the result with an edge of -1 and no transition beside it, when they did not come
    /// so. Passes do not look at one another's work: one may take the transition that another one's
    /// clip relies on. Nothing says any more where such a clip starts or ends.
    std::vector<LooseClip> looseClips;
    std::vector<KeptItem> kept;
    /// What clips were to be left alone by, and no clip answered to.
    std::vector<std::string> unusedKeeps;
    /// What of the rules excluded nothing here: "track V9", "clip Slate*", "colour Rose".
    std::vector<std::string> unusedRules;
    /// The source against the copy, frame by frame; null when that was not looked at.
    std::shared_ptr<const PictureDifference> picture;

    /// Keeps a reason once for the changes that share it; answers its number.
    std::size_t addReason(const std::string& text);
    const std::string& reasonText(const Change& change) const { return reasons_[change.reason]; }

    /// A moment in the list of changes, and going back to it.
    struct Mark {
        std::size_t changes = 0;
        std::size_t reasons = 1;
        std::size_t kept = 0;
    };
    Mark mark() const { return {changes.size(), reasons_.size(), kept.size()}; }
    void rollback(Mark mark);

    /// How many changes of each kind a pass made, indexed by ChangeKind.
    using Totals = std::array<std::size_t, changeKindCount>;
    Totals totals(std::string_view pass) const;
    /// How many changes of that kind concern items that stand in tracks.
    std::size_t items(ChangeKind kind) const;
    /// items before + inserted + split pieces = items after + removed.
    bool balances() const;

private:
    std::vector<std::string> reasons_{std::string()};
};

/// "1 clip has lost a transition, and with it an edge: NAME on V1 from -1 to 511"; empty for none.
std::string looseClipsText(const SequenceLedger& sequence);

struct ChangeLedger {
    std::deque<SequenceLedger> sequences;  ///< in the order in which they were processed

    /// Over the changes of all sequences, in order.
    class Iterator {
    public:
        Iterator(const ChangeLedger& ledger, std::size_t sequence)
            : ledger_(&ledger), sequence_(sequence) {
            passEmptySequences();
        }
        const Change& operator*() const { return ledger_->sequences[sequence_].changes[change_]; }
        Iterator& operator++() {
            ++change_;
            passEmptySequences();
            return *this;
        }
        bool operator==(const Iterator&) const = default;

    private:
        void passEmptySequences() {
            while (sequence_ < ledger_->sequences.size() &&
                   change_ == ledger_->sequences[sequence_].changes.size()) {
                ++sequence_;
                change_ = 0;
            }
        }

        const ChangeLedger* ledger_;
        std::size_t sequence_;
        std::size_t change_ = 0;
    };
    Iterator begin() const { return {*this, 0}; }
    Iterator end() const { return {*this, sequences.size()}; }
};

}  // namespace reelsweep
