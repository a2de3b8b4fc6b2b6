#include "timeline/ChangeAttribution.h"

#include <algorithm>

namespace reelsweep {

namespace {

// What an item was when the run began.
std::string original(const std::string& track, std::string_view id, std::string_view name,
                     Frames start, Frames in) {
    std::string text = track + '\x1F';
    text.append(id).append("\x1F").append(name).append("\x1F");
    return text + start.text() + '\x1F' + in.text();
}

Frames writtenStart(const Item& item) {
    return item.startPlace == EdgePlace::own ? item.cut.start : edgeInTransition;
}

// Whether times that may lie in a transition could touch a range.
bool mayTouch(const ItemTimes& times, FrameRange range) {
    const bool startsAfter =
        times.start && *times.start != edgeInTransition && *times.start >= range.end;
    const bool endsBefore =
        times.end && *times.end != edgeInTransition && *times.end <= range.start;
    return (times.start || times.end) && !startsAfter && !endsBefore;
}

}  // namespace

ChangeAttribution::ChangeAttribution(const SequenceLedger& ledger) : ledger_(ledger) {
    for (std::size_t i = 0; i < ledger.changes.size(); ++i) {
        const Change& change = ledger.changes[i];
        const XMLNode item = change.countsAsItem ? change.node : change.holder;
        if (!item) continue;
        const auto [known, isFirst] = changes_.try_emplace(item);
        known->second.push_back(i);
        if (!isFirst) continue;
        const std::string name = item.child("name").stringValue();
        const std::string id(item.attribute("id").value_or(""));
        originals_[original(description(change.trackBefore), id, name,
                            change.before.start.value_or(edgeInTransition),
                            change.before.in.value_or(Frames{}))]
            .push_back(item);
    }
}

void ChangeAttribution::addNode(XMLNode node, FrameRange range, Indexes& found) const {
    const auto known = changes_.find(node);
    if (known == changes_.end()) return;
    for (const std::size_t index : known->second) {
        const Change& change = ledger_.changes[index];
        const bool isOfPart = !change.countsAsItem;
        if (isOfPart || mayTouch(change.before, range) || mayTouch(change.after, range))
            found.push_back(index);
    }
}

void ChangeAttribution::add(const Item& item, const Track& track, FrameRange range,
                            Indexes& found) const {
    addNode(item.node, range, found);
    const auto same = originals_.find(
        original(description(track), item.id, item.name, writtenStart(item), item.source.start));
    if (same == originals_.end()) return;
    for (const XMLNode& node : same->second) addNode(node, range, found);
}

void ChangeAttribution::add(const Contributor& contributor, FrameRange range,
                            Indexes& found) const {
    add(*contributor.item, *contributor.track, range, found);
    if (contributor.transition) add(*contributor.transition, *contributor.track, range, found);
}

std::vector<const Change*> ChangeAttribution::of(const Difference& difference) const {
    Indexes found;
    if (difference.was) add(*difference.was, difference.range, found);
    if (difference.is) add(*difference.is, difference.range, found);
    if (found.empty()) {
        for (const auto& list : {difference.before, difference.after})
            for (const Contributor& contributor : list) add(contributor, difference.range, found);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    std::vector<const Change*> changes;
    for (const std::size_t index : found) changes.push_back(&ledger_.changes[index]);
    return changes;
}

}  // namespace reelsweep
