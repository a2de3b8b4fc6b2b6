#include "tidy/PictureGuard.h"

#include "tidy/ImportStep.h"
#include "timeline/DifferenceText.h"
#include "timeline/Picture.h"

#include <algorithm>

namespace reelsweep {

namespace {

// After so many attempts everything is kept back; a malformed timeline must not go on for ever.
constexpr int mostAttempts = 16;

// So many attempts keep back what a difference is about and nothing else.
constexpr int preciseAttempts = 3;

// How far around a difference edits are kept back at an attempt: 4 frames, 16, 64 and so on.
Frames marginAt(int attempt) {
    return {attempt <= preciseAttempts ? 0 : std::int64_t{1} << (2 * (attempt - preciseAttempts))};
}
constexpr Frames widestMargin{std::int64_t{1} << 32};

// What a pass takes out because it was asked to is not kept back.
bool isStructural(std::string_view option) {
    // The import step follows from what the passes did.
    constexpr std::string_view asked[] = {"removeFilters", "removeMarkers", "collapseMultiClips",
                                          importSafeOption};
    return std::find(std::begin(asked), std::end(asked), option) == std::end(asked);
}

FrameRange rangeOf(const ItemTimes& times) {
    return {times.start.value_or(Frames()), times.end.value_or(Frames())};
}

std::string_view verbOf(ChangeKind kind) {
    switch (kind) {
        case ChangeKind::removed: return "taking it out";
        case ChangeKind::inserted: return "putting it in";
        case ChangeKind::trimmed:
        case ChangeKind::split: return "cutting it";
        case ChangeKind::moved:
        case ChangeKind::changed: break;
    }
    return "moving it";
}

}  // namespace

PictureGuard::PictureGuard(const Timeline& before) {
    for (const Track& track : before.tracks()) {
        if (!track.enabled) tracksOff_.push_back(track.node);
        for (const Item& item : track.items) ranges_.emplace(item.node, item.range);
    }
    // An interval in which a clip covers lengthens what it hides; one in which it shows without
    // covering ends it.
    std::unordered_map<XMLNode, Frames> showsThroughFrom;
    const Intervals intervals = picture(before);
    for (const Interval& interval : intervals) {
        for (const Contributor& contributor : interval.contributors) {
            const XMLNode node = contributor.item->node;
            if (!contributor.covers) {
                if (hiding_.contains(node)) showsThroughFrom.emplace(node, interval.range.start);
            } else if (!showsThroughFrom.contains(node)) {
                const auto [found, isFirst] = hiding_.emplace(node, interval.range);
                if (!isFirst) found->second.end = interval.range.end;
            }
        }
    }
}

std::optional<FrameRange> PictureGuard::hiddenBelow(XMLNode clip) const {
    const auto found = hiding_.find(clip);
    return found == hiding_.end() ? std::nullopt : std::optional(found->second);
}

void PictureGuard::addPiece(XMLNode piece, XMLNode whole) {
    if (const auto hidden = hiddenBelow(whole)) hiding_.emplace(piece, *hidden);
}

bool PictureGuard::isOn(XMLNode track) const {
    return std::find(tracksOff_.begin(), tracksOff_.end(), track) == tracksOff_.end();
}

bool PictureGuard::keeps(std::string_view option, XMLNode clip) const {
    return (attempts_ >= mostAttempts && isStructural(option)) ||
           (!kept_.empty() && kept_.contains({option, clip.identity()}));
}

bool PictureGuard::keepsAny(std::string_view option, std::span<const XMLNode> nodes) const {
    if (kept_.empty() && attempts_ < mostAttempts) return false;
    return std::any_of(nodes.begin(), nodes.end(),
                       [&](XMLNode node) { return keeps(option, node); });
}

bool PictureGuard::keep(const SequenceLedger& ledger, const Change& change,
                        const Difference& difference) {
    // The reason is a text of some length.
    if (kept_.contains({change.pass, change.node.identity()})) return false;
    KeptItem item;
    item.pass = change.pass;
    item.node = change.node;
    item.track = change.trackBefore;
    item.times = change.before;
    std::string verb(verbOf(change.kind));
    if (change.kind == ChangeKind::moved) verb += " to " + description(change.trackAfter);
    item.reason = verb + (difference.type == MediaType::video ? " would change the picture: "
                                                              : " would change the sound: ");
    item.reason += differenceText(difference, ledger.timecode);
    return kept_.try_emplace({change.pass, change.node.identity()}, std::move(item)).second;
}

ChangesByTime PictureGuard::structuralChanges(const SequenceLedger& ledger) const {
    std::vector<ChangesByTime::Touched> touched;
    for (std::size_t i = 0; i < ledger.changes.size(); ++i) {
        const Change& change = ledger.changes[i];
        if (!isStructural(change.pass)) continue;
        const auto known = ranges_.find(change.node);
        if (known != ranges_.end()) touched.push_back({known->second, i});
        touched.push_back({rangeOf(change.before), i});
        touched.push_back({rangeOf(change.after), i});
    }
    return ChangesByTime(std::move(touched));
}

bool PictureGuard::keepBehind(const Difference& difference, Frames margin,
                              const ChangesByTime& changes, const SequenceLedger& ledger) {
    const auto concerns = [&](const Change& change) {
        return (difference.was && difference.was->item->node == change.node) ||
               (difference.is && difference.is->item->node == change.node);
    };
    // First the clips that the difference is about, then all that was edited there.
    const std::vector<std::size_t> behind =
        changes.in({difference.range.start - margin, difference.range.end + margin});
    for (const bool onlyConcerned : {true, false}) {
        if (onlyConcerned && margin > Frames{}) continue;
        bool found = false;
        for (const std::size_t number : behind) {
            const Change& change = ledger.changes[number];
            if (!onlyConcerned || concerns(change))
                found = keep(ledger, change, difference) || found;
        }
        if (found) return true;
    }
    return false;
}

bool PictureGuard::learnFrom(const PictureDifference& difference, const SequenceLedger& ledger) {
    if (++attempts_ > mostAttempts) return false;
    bool learned = attempts_ == mostAttempts;
    const ChangesByTime changes = structuralChanges(ledger);
    // When all that was edited there is kept back already, it was an edit beside it.
    for (Frames margin = marginAt(attempts_); !learned && margin < widestMargin;
         margin = Frames{margin.count * 4 + 1})
        for (const MediaType type : {MediaType::video, MediaType::audio})
            for (const Difference& changed : difference.differences(type))
                if (!changed.asked && keepBehind(changed, margin, changes, ledger)) learned = true;
    // Nothing was edited anywhere near: then everything stays.
    if (!learned) attempts_ = mostAttempts;
    return true;
}

std::vector<KeptItem> PictureGuard::kept() const {
    std::vector<KeptItem> items;
    for (const auto& [key, item] : kept_) items.push_back(item);
    return items;
}

}  // namespace reelsweep
