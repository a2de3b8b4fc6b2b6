// ChangeListing: a ledger as a list that a person reads: by sequence, then by pass, with a filter.
//
// It keeps numbers, not texts: a hundred thousand changes cost little, and the text of a change is
// made when it is asked for.
// Owner: whoever shows it; the ledger, and the document that was edited, must outlive it.
// Thread rule: one thread, while no run is going.
#pragma once

#include "timeline/ChangeLedger.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace reelsweep {

/// A change in words.
struct ChangeTexts {
    std::string_view kind;  ///< "removed", "moved" and so on
    std::string item;       ///< the name of the item, else its element
    std::string before;     ///< "V2  01:00:04:00 - 01:00:06:00"; empty when it had no place
    std::string after;
    std::string reason;  ///< empty when there is none to tell

    static ChangeTexts of(const SequenceLedger& sequence, const Change& change);
};

class ChangeListing {
public:
    using Totals = SequenceLedger::Totals;

    /// The changes of one pass in one sequence that the filter lets through.
    struct Group {
        std::size_t sequence = 0;
        std::string_view title;  ///< of the pass
        std::vector<std::uint32_t> changes;
    };

    ChangeListing() = default;
    explicit ChangeListing(const ChangeLedger& ledger);

    /// Shows only changes that hold the text: in the item's name, its element or id, a track, the
    /// kind, the reason, or the title of the pass. Letters of ASCII match in either case. An empty
    /// text shows all.
    void setFilter(std::string_view text);

    std::size_t sequenceCount() const { return ledger_ ? ledger_->sequences.size() : 0; }
    const SequenceLedger& sequence(std::size_t index) const { return ledger_->sequences[index]; }
    /// Groups with something to show, of one sequence after the other, in the order of a run.
    const std::vector<Group>& groups() const { return groups_; }
    /// The groups of a sequence, as positions in groups(): first, and one past the last.
    std::pair<std::size_t, std::size_t> groupsOfSequence(std::size_t index) const;
    const Change& change(const Group& group, std::size_t row) const {
        return sequence(group.sequence).changes[group.changes[row]];
    }

    /// How many changes there are, and how many of them the filter lets through.
    std::size_t total() const { return total_; }
    std::size_t shown() const { return shown_; }
    /// The shown changes of each kind.
    const Totals& totals() const { return totals_; }

private:
    void addSequence(std::size_t index, const std::string& filter);

    const ChangeLedger* ledger_ = nullptr;
    std::vector<Group> groups_;
    std::size_t total_ = 0;
    std::size_t shown_ = 0;
    Totals totals_{};
};

}  // namespace reelsweep
