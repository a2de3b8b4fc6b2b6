#include "tidy/PictureGuard.h"

#include "base/Log.h"
#include "tidy/ImportStep.h"
#include "timeline/DifferenceText.h"
#include "timeline/Picture.h"
#include "timeline/Vocabulary.h"

#include <algorithm>

namespace reelsweep {

namespace {

// After so many attempts everything is kept back; a malformed timeline must not go on for ever.
constexpr int mostAttempts = 16;

// How far around a difference edits are kept back at an attempt: first what the difference is about
// and nothing else, then 64 frames, 256 and so on. With smaller steps more attempts are needed, and
// hardly fewer edits are kept back.
Frames marginAt(int attempt) {
    return {attempt == 1 ? 0 : std::int64_t{16} << (2 * (attempt - 1))};
}
constexpr Frames widestMargin{std::int64_t{1} << 32};

// What a pass takes out because it was asked to is not kept back.
bool isStructural(std::string_view option) {
    // The import step follows from what the passes did.
    constexpr std::string_view asked[] = {"removeFilters", "removeMarkers", "collapseMultiClips",
                                          importSafeOption};
    return std::find(std::begin(asked), std::end(asked), option) == std::end(asked);
}

bool isPlaced(const std::optional<Frames>& edge) { return edge && *edge != edgeInTransition; }

// Where times place an item: nowhere, when they say neither edge; around the one edge they say.
std::optional<FrameRange> rangeOf(const ItemTimes& times) {
    const bool startsSomewhere = isPlaced(times.start);
    if (startsSomewhere && isPlaced(times.end)) return FrameRange{*times.start, *times.end};
    if (!startsSomewhere && !isPlaced(times.end)) return std::nullopt;
    const Frames edge = startsSomewhere ? *times.start : *times.end;
    return FrameRange{edge - Frames{1}, edge + Frames{1}};
}

std::string_view verbOf(ChangeKind kind) {
    switch (kind) {
        case ChangeKind::removed: return "taking it out";
        case ChangeKind::inserted: return "a slug before it";
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
    wholes_.emplace(piece, cameAs(whole));
}

bool PictureGuard::isOn(XMLNode track) const {
    return std::find(tracksOff_.begin(), tracksOff_.end(), track) == tracksOff_.end();
}

bool PictureGuard::keeps(std::string_view option, XMLNode clip) const {
    return (attempts_ >= mostAttempts && isStructural(option)) ||
           (!kept_.empty() && kept_.contains({option, cameAs(clip).identity()}));
}

bool PictureGuard::keepsAny(std::string_view option, std::span<const XMLNode> nodes) const {
    if (kept_.empty() && attempts_ < mostAttempts) return false;
    return std::any_of(nodes.begin(), nodes.end(),
                       [&](XMLNode node) { return keeps(option, node); });
}

XMLNode PictureGuard::cameAs(XMLNode clip) const {
    const auto piece = wholes_.find(clip);
    return piece == wholes_.end() ? clip : piece->second;
}

// What a run puts in is another one at each attempt, so a slug goes by the clip that it was to
// stand before.
XMLNode PictureGuard::subjectOf(const Change& change) const {
    XMLNode subject = change.node;
    if (change.kind == ChangeKind::inserted)
        while (subject && (subject == change.node || !isClip(subject)))
            subject = subject.nextSibling();
    return cameAs(subject ? subject : change.node);
}

bool PictureGuard::keep(const SequenceLedger& ledger, const Change& change,
                        const Difference& difference) {
    const XMLNode subject = subjectOf(change);
    // The reason is a text of some length.
    if (kept_.contains({change.pass, subject.identity()})) return false;
    KeptItem item;
    item.pass = change.pass;
    item.node = subject;
    item.track = change.trackBefore;
    item.times = change.before;
    std::string verb(verbOf(change.kind));
    if (change.kind == ChangeKind::moved) verb += " to " + description(change.trackAfter);
    item.reason = verb + (difference.type == MediaType::video ? " would change the picture: "
                                                              : " would change the sound: ");
    item.reason += differenceText(difference, ledger.timecode);
    return kept_.try_emplace({change.pass, subject.identity()}, std::move(item)).second;
}

ChangesByTime PictureGuard::structuralChanges(const SequenceLedger& ledger) const {
    std::vector<ChangesByTime::Touched> touched;
    for (std::size_t i = 0; i < ledger.changes.size(); ++i) {
        const Change& change = ledger.changes[i];
        if (!isStructural(change.pass)) continue;
        const auto known = ranges_.find(change.node);
        if (known != ranges_.end()) touched.push_back({known->second, i});
        for (const ItemTimes& times : {change.before, change.after})
            if (const auto range = rangeOf(times)) touched.push_back({*range, i});
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
    if (!learned) learned = keepUnplaced(difference, ledger);
    // Nothing was edited anywhere near: then everything stays.
    if (!learned) attempts_ = mostAttempts;
    Log::append("The picture changed at attempt %i, %i edits are kept back now", attempts_,
                kept_.size());
    return true;
}

bool PictureGuard::keepUnplaced(const PictureDifference& difference, const SequenceLedger& ledger) {
    bool found = false;
    for (const MediaType type : {MediaType::video, MediaType::audio}) {
        const auto& differences = difference.differences(type);
        const auto unasked = std::find_if(differences.begin(), differences.end(),
                                          [](const Difference& one) { return !one.asked; });
        if (unasked == differences.end()) continue;
        for (const Change& change : ledger.changes)
            if (isStructural(change.pass) && !rangeOf(change.before) && !rangeOf(change.after))
                found = keep(ledger, change, *unasked) || found;
    }
    return found;
}

std::vector<KeptItem> PictureGuard::kept() const {
    std::vector<KeptItem> items;
    for (const auto& [key, item] : kept_) items.push_back(item);
    return items;
}

}  // namespace reelsweep
