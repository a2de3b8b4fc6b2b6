#include "timeline/CutDifference.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <unordered_map>

namespace reelsweep {

namespace {

// The frames of its source that a clip shows between its cuts.
FrameRange shownSource(const Item& item) {
    return {item.line.at(item.cut.start), item.line.at(item.cut.end)};
}

bool overlap(FrameRange a, FrameRange b) { return a.start < b.end && b.start < a.end; }

// A clip or generator of one of the two cuts.
struct Clip {
    const Item* item;
    const Track* track;
    std::int64_t media;  // the same number for the same media
    FrameRange source;
    bool isMatched = false;

    // What two clips are found to be the same by; several of these in turn.
    using Key = std::array<std::int64_t, 7>;

    std::int64_t place() const {
        return track->number * 2 + (track->type == MediaType::video ? 0 : 1);
    }
    std::int64_t type() const { return track->type == MediaType::video ? 0 : 1; }
    Key asItStands() const {
        return {media,
                place(),
                item->cut.start.count,
                item->cut.end.count,
                source.start.count,
                source.end.count,
                0};
    }
    Key inSync() const {
        return {media, type(), item->line.offset, item->line.step, item->line.divisor, 0, 0};
    }
    Key bySource() const { return {media, type(), source.start.count, source.end.count, 0, 0, 0}; }
    Key byPlace() const {
        return {media, place(), item->cut.start.count, item->cut.end.count, 0, 0, 0};
    }
    Key byMedia() const { return {media, type(), 0, 0, 0, 0, 0}; }
    Key byPlaceAndSource() const {
        return {0,
                place(),
                item->cut.start.count,
                item->cut.end.count,
                source.start.count,
                source.end.count,
                0};
    }
};

struct Pair {
    const Clip* before;
    const Clip* after;
};

// Finds for each clip of one cut the same in the other.
class Matcher {
public:
    Matcher(const Timeline& before, const Timeline& after)
        : before_(clipsOf(before)), after_(clipsOf(after)) {}

    void run() {
        const auto always = [](const Clip&, const Clip&) { return true; };
        const auto recordOverlaps = [](const Clip& a, const Clip& b) {
            return overlap(a.item->cut, b.item->cut);
        };
        const auto sourceOverlaps = [](const Clip& a, const Clip& b) {
            return overlap(a.source, b.source);
        };
        match(&Clip::asItStands, always);
        match(&Clip::inSync, recordOverlaps);
        match(&Clip::bySource, always);
        match(&Clip::byPlace, always);
        match(&Clip::byMedia, sourceOverlaps);
        match(&Clip::byPlaceAndSource, always);
    }

    const std::vector<Clip>& before() const { return before_; }
    const std::vector<Clip>& after() const { return after_; }
    const std::vector<Pair>& pairs() const { return pairs_; }

private:
    std::vector<Clip> clipsOf(const Timeline& timeline) {
        std::vector<Clip> clips;
        for (const Track& track : timeline.tracks()) {
            for (const Item& item : track.items) {
                if (item.kind == ItemKind::transition) continue;
                const auto number = static_cast<std::int64_t>(mediaNumbers_.size()) + 1;
                const auto media = mediaNumbers_.emplace(item.media->key, number).first;
                clips.push_back({&item, &track, media->second, shownSource(item)});
            }
        }
        return clips;
    }

    using Sorted = std::vector<std::pair<Clip::Key, Clip*>>;

    static Sorted unmatched(std::vector<Clip>& clips, Clip::Key (Clip::*key)() const) {
        Sorted sorted;
        for (Clip& clip : clips)
            if (!clip.isMatched) sorted.emplace_back((clip.*key)(), &clip);
        std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
            const auto order = [](const auto& entry) {
                return std::tuple(entry.first, entry.second->item->cut.start,
                                  entry.second->place());
            };
            return order(a) < order(b);
        });
        return sorted;
    }

    // Pairs clips of equal keys in record order, as far as they fit.
    template <class Fits>
    void match(Clip::Key (Clip::*key)() const, Fits fit) {
        const Sorted olds = unmatched(before_, key);
        const Sorted news = unmatched(after_, key);
        std::size_t i = 0;
        std::size_t j = 0;
        while (i < olds.size() && j < news.size()) {
            const auto& [oldKey, old] = olds[i];
            const auto& [newKey, fresh] = news[j];
            if (oldKey == newKey && fit(*old, *fresh)) {
                old->isMatched = fresh->isMatched = true;
                pairs_.push_back({old, fresh});
                ++i;
                ++j;
            } else if (std::tuple(oldKey, old->item->cut.end) <
                       std::tuple(newKey, fresh->item->cut.end)) {
                ++i;
            } else {
                ++j;
            }
        }
    }

    std::unordered_map<std::string_view, std::int64_t> mediaNumbers_;
    std::vector<Clip> before_;
    std::vector<Clip> after_;
    std::vector<Pair> pairs_;
};

bool haveSameLook(const Item& a, const Item& b) {
    return a.enabled == b.enabled && a.compositeMode == b.compositeMode &&
           a.filters->pictureKey == b.filters->pictureKey &&
           a.filters->soundKey == b.filters->soundKey;
}

// In which ways a clip that stands in both cuts differs.
std::vector<CutChangeKind> changesOf(const Pair& pair) {
    using Kind = CutChangeKind;
    const Item& before = *pair.before->item;
    const Item& after = *pair.after->item;
    std::vector<Kind> kinds;
    const bool isSameTrack = pair.before->place() == pair.after->place();
    const bool isSameRecord = before.cut == after.cut;
    const bool isSameSource = pair.before->source == pair.after->source;
    const bool isSameSpeed = before.filters->speed == after.filters->speed;
    if (!isSameSpeed) kinds.push_back(Kind::retimed);
    if (pair.before->media != pair.after->media) kinds.push_back(Kind::relinked);
    if (before.line == after.line) {
        if (!isSameTrack) kinds.push_back(Kind::moved);
        if (!isSameRecord) kinds.push_back(Kind::trimmed);
    } else if (isSameRecord && isSameTrack) {
        if (isSameSpeed) kinds.push_back(Kind::slipped);
    } else {
        kinds.push_back(Kind::moved);
        if (!isSameSource) kinds.push_back(Kind::trimmed);
    }
    if (!haveSameLook(before, after)) kinds.push_back(Kind::changed);
    return kinds;
}

}  // namespace

CutDifference::CutDifference(const Timeline& before, const Timeline& after)
    : before_(before), after_(after) {
    Matcher matcher(before_, after_);
    matcher.run();
    for (const Pair& pair : matcher.pairs()) {
        const std::vector<CutChangeKind> kinds = changesOf(pair);
        if (kinds.empty()) ++unchanged_;
        for (const CutChangeKind kind : kinds)
            changes_.push_back({kind, pair.before->item, pair.after->item});
    }
    for (const Clip& clip : matcher.before())
        if (!clip.isMatched) changes_.push_back({CutChangeKind::removed, clip.item, nullptr});
    for (const Clip& clip : matcher.after())
        if (!clip.isMatched) changes_.push_back({CutChangeKind::added, nullptr, clip.item});
    std::stable_sort(changes_.begin(), changes_.end(), [&](const CutChange& a, const CutChange& b) {
        const auto order = [&](const CutChange& change) {
            const Timeline& cut = change.after ? after_ : before_;
            const Item& item = *(change.after ? change.after : change.before);
            const Track& track = cut.trackOf(item);
            return std::tuple(item.cut.start, track.type, track.number, change.after != nullptr);
        };
        return order(a) < order(b);
    });
}

std::size_t CutDifference::count(CutChangeKind kind) const {
    return static_cast<std::size_t>(
        std::count_if(changes_.begin(), changes_.end(),
                      [&](const CutChange& change) { return change.kind == kind; }));
}

std::string_view description(CutChangeKind kind) {
    constexpr std::array<std::string_view, cutChangeKindCount> words = {
        "added", "removed", "moved", "trimmed", "slipped", "retimed", "relinked", "changed"};
    return words[static_cast<std::size_t>(kind)];
}

}  // namespace reelsweep
