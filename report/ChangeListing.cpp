#include "report/ChangeListing.h"

#include "tidy/PassTable.h"
#include "timeline/Vocabulary.h"

#include <algorithm>

namespace reelsweep {

namespace {

std::string lowered(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

bool holds(const SequenceLedger& sequence, const Change& change, const std::string& filter) {
    const std::string text = std::string(description(change.kind)) + '\n' + change.name() + '\n' +
                             change.holderName() + '\n' + change.holderId() + '\n' + change.id() +
                             '\n' + std::string(change.node.name()) + '\n' +
                             description(change.trackBefore) + '\n' +
                             description(change.trackAfter) + '\n' + sequence.reasonText(change);
    return lowered(text).find(filter) != std::string::npos;
}

std::string placeText(const SequenceTimecode& timecode, TrackLabel track, const ItemTimes& times) {
    std::string text = description(track);
    if (!times.start && !times.end) return text;
    if (!text.empty()) text += "  ";
    return text + timecode.text(times.start) + " - " + timecode.text(times.end);
}

}  // namespace

ChangeTexts ChangeTexts::of(const SequenceLedger& sequence, const Change& change) {
    ChangeTexts texts;
    texts.kind = description(change.kind);
    texts.item = change.name();
    if (texts.item.empty()) texts.item = change.node.name();
    if (change.holder) texts.item += " in " + displayName(change.holder);
    texts.before = placeText(sequence.timecode, change.trackBefore, change.before);
    texts.after = placeText(sequence.timecode, change.trackAfter, change.after);
    texts.reason = sequence.reasonText(change);
    return texts;
}

ChangeListing::ChangeListing(const ChangeLedger& ledger) : ledger_(&ledger) { setFilter({}); }

void ChangeListing::setFilter(std::string_view text) {
    groups_.clear();
    totals_ = {};
    total_ = shown_ = 0;
    const std::string filter = lowered(std::string(text));
    for (std::size_t i = 0; i < sequenceCount(); ++i) addSequence(i, filter);
}

void ChangeListing::addSequence(std::size_t index, const std::string& filter) {
    const SequenceLedger& ledger = sequence(index);
    total_ += ledger.changes.size();
    const auto passes = reportedRows();
    std::vector<Group> found;
    std::vector<bool> whole;  // the pass itself is what the filter looks for
    for (const PassRow& pass : passes) {
        found.push_back({index, pass.title, {}});
        whole.push_back(lowered(std::string(pass.title)).find(filter) != std::string::npos);
    }
    std::size_t pass = 0;
    for (std::size_t i = 0; i < ledger.changes.size(); ++i) {
        const Change& change = ledger.changes[i];
        // The changes of a pass come in a row, so the pass is seldom looked for.
        if (pass == passes.size() || passes[pass].option != change.pass)
            pass = static_cast<std::size_t>(
                std::find_if(passes.begin(), passes.end(),
                             [&](const PassRow& row) { return row.option == change.pass; }) -
                passes.begin());
        if (pass == passes.size() || (!whole[pass] && !holds(ledger, change, filter))) continue;
        found[pass].changes.push_back(static_cast<std::uint32_t>(i));
        ++totals_[static_cast<std::size_t>(change.kind)];
        ++shown_;
    }
    for (Group& group : found)
        if (!group.changes.empty()) groups_.push_back(std::move(group));
}

std::pair<std::size_t, std::size_t> ChangeListing::groupsOfSequence(std::size_t index) const {
    const auto before = [](const Group& group, std::size_t i) { return group.sequence < i; };
    const auto first = std::lower_bound(groups_.begin(), groups_.end(), index, before);
    const auto last = std::lower_bound(first, groups_.end(), index + 1, before);
    return {static_cast<std::size_t>(first - groups_.begin()),
            static_cast<std::size_t>(last - groups_.begin())};
}

}  // namespace reelsweep
