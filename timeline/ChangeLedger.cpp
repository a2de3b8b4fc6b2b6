#include "timeline/ChangeLedger.h"

#include <algorithm>

namespace reelsweep {

std::string_view description(ChangeKind kind) {
    constexpr std::array<std::string_view, changeKindCount> words = {
        "removed", "moved", "trimmed", "split", "inserted", "changed"};
    return words[static_cast<std::size_t>(kind)];
}

std::string description(TrackLabel track) {
    if (track.number == 0) return {};
    std::string text(1, track.video ? 'V' : 'A');
    return text += std::to_string(track.number);
}

namespace {

std::string nameOf(XMLNode node) {
    const XMLNode named = node.isElement("filter") ? node.child("effect") : node;
    if (const XMLNode name = named.child("name")) return name.stringValue();
    // FCPXML says it in an attribute; a marker's name is its value.
    return std::string(node.attribute("name").value_or(node.attribute("value").value_or("")));
}

std::string idOf(XMLNode node) { return std::string(node.attribute("id").value_or("")); }

}  // namespace

std::string Change::name() const { return nameOf(node); }
std::string Change::id() const { return idOf(node); }
std::string Change::holderName() const { return nameOf(holder); }
std::string Change::holderId() const { return idOf(holder); }

std::string LooseClip::name() const { return nameOf(node); }
std::string KeptItem::name() const { return nameOf(node); }
std::string KeptItem::id() const { return idOf(node); }

std::string LooseClip::id() const { return idOf(node); }

std::string looseClipsText(const SequenceLedger& sequence) {
    constexpr std::size_t mostNamed = 3;
    const std::vector<LooseClip>& clips = sequence.looseClips;
    if (clips.empty()) return {};
    std::string text =
        clips.size() == 1
            ? "1 clip has lost a transition, and with it an edge: "
            : std::to_string(clips.size()) + " clips have lost a transition, and with it an edge: ";
    for (std::size_t i = 0; i < std::min(clips.size(), mostNamed); ++i) {
        const LooseClip& clip = clips[i];
        if (i > 0) text += ", ";
        text += clip.name() + " on " + description(clip.track) + " from " +
                clip.times.start.value_or(Frames()).text() + " to " +
                clip.times.end.value_or(Frames()).text();
    }
    if (clips.size() > mostNamed)
        text += " and " + std::to_string(clips.size() - mostNamed) + " more";
    return text;
}

std::size_t SequenceLedger::addReason(const std::string& text) {
    // One edit's changes come in a row and mostly share their reason.
    if (reasons_.back() != text) reasons_.push_back(text);
    return reasons_.size() - 1;
}

void SequenceLedger::rollback(Mark mark) {
    // After going back to an earlier mark there is less than this one stands for.
    changes.resize(std::min(mark.changes, changes.size()));
    reasons_.resize(std::min(mark.reasons, reasons_.size()));
    kept.resize(std::min(mark.kept, kept.size()));
}

SequenceLedger::Totals SequenceLedger::totals(std::string_view pass) const {
    Totals totals{};
    for (const Change& change : changes)
        if (change.pass == pass) ++totals[static_cast<std::size_t>(change.kind)];
    return totals;
}

std::size_t SequenceLedger::items(ChangeKind kind) const {
    return static_cast<std::size_t>(std::count_if(
        changes.begin(), changes.end(),
        [&](const Change& change) { return change.kind == kind && change.countsAsItem; }));
}

bool SequenceLedger::balances() const {
    return itemsBefore + items(ChangeKind::inserted) + items(ChangeKind::split) ==
           itemsAfter + items(ChangeKind::removed);
}

}  // namespace reelsweep
