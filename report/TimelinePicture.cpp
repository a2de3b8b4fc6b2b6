#include "report/TimelinePicture.h"

#include "tidy/ImportStep.h"
#include "timeline/Picture.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

namespace reelsweep {

namespace {

using Positions = std::unordered_map<XMLNode, std::uint32_t>;

std::uint32_t positionOf(const Positions& positions, XMLNode node) {
    const auto found = positions.find(node);
    return found == positions.end() ? noEntry : found->second;
}

std::uint32_t sizeOf(const auto& list) { return static_cast<std::uint32_t>(list.size()); }

// What of an item its timeline's picture shows, range by range and in time order.
using Shown = std::unordered_map<const Item*, std::vector<FrameRange>>;

Shown shownParts(const Timeline& timeline) {
    Shown shown;
    const Intervals intervals = picture(timeline);
    for (const Interval& interval : intervals)
        for (const Contributor& contributor : interval.contributors) {
            std::vector<FrameRange>& parts = shown[contributor.item];
            if (!parts.empty() && parts.back().end >= interval.range.start)
                parts.back().end = std::max(parts.back().end, interval.range.end);
            else
                parts.push_back(interval.range);
        }
    return shown;
}

// The rest of a range, without the parts.
void addRest(FrameRange range, std::span<const FrameRange> parts, std::vector<FrameRange>& rest) {
    Frames from = range.start;
    for (const FrameRange& part : parts) {
        const Frames until = std::min(part.start, range.end);
        if (until > from) rest.push_back({from, until});
        from = std::max(from, part.end);
    }
    if (from < range.end) rest.push_back({from, range.end});
}

FrameRange drawnRange(const Item& item) {
    const FrameRange place = item.kind == ItemKind::transition ? item.range : item.cut;
    const Frames start = std::clamp(place.start, Frames{0} - farthestFrame, farthestFrame);
    return {start, std::clamp(place.end, start, farthestFrame)};
}

std::string_view nameOf(const Item& item) {
    if (!item.name.empty()) return item.name;
    if (item.transition)
        return item.transition->effect.empty() ? "Transition" : item.transition->effect;
    return item.media ? item.media->name : std::string_view();
}

}  // namespace

std::string_view description(ClipFate fate) {
    switch (fate) {
        case ClipFate::same: return "unchanged";
        case ClipFate::changed: return "changed";
        case ClipFate::trimmed: return "trimmed";
        case ClipFate::moved: return "moved";
        case ClipFate::removed: return "removed";
        case ClipFate::added: return "added";
    }
    return {};
}

// The sides

std::span<const DrawnClip> DrawnSide::clipsIn(const DrawnRow& row, FrameRange range) const {
    const std::span<const DrawnClip> all = clipsOf(row);
    const Frames earliest = range.start - row.longest;
    const auto first = std::partition_point(
        all.begin(), all.end(), [&](const DrawnClip& clip) { return clip.range.start < earliest; });
    const auto past = std::partition_point(
        first, all.end(), [&](const DrawnClip& clip) { return clip.range.start < range.end; });
    return {first, past};
}

std::uint32_t DrawnSide::clipAt(const DrawnRow& row, Frames frame) const {
    std::uint32_t found = noEntry;
    for (const DrawnClip& clip : clipsIn(row, {frame, frame + Frames{1}})) {
        if (clip.range.end <= frame) continue;
        found = static_cast<std::uint32_t>(&clip - clips.data());
        // A transition lies over the clips that it joins.
        if (clip.kind == ItemKind::transition) break;
    }
    return found;
}

// Building

class TimelinePicture::Builder {
public:
    Builder(TimelinePicture& picture, const SequenceLedger* ledger)
        : picture_(picture), ledger_(ledger) {}

    void build() {
        addSide(picture_.beforeTimeline_, picture_.before_, before_, beforeTracks_);
        addSide(picture_.afterTimeline_, picture_.after_, after_, afterTracks_);
        join();
        if (ledger_) {
            addChanges();
            addKept();
        }
        count();
    }

private:
    void addSide(const Timeline& timeline, DrawnSide& side, Positions& positions,
                 Positions& tracks);
    void addRow(const Track& track, const Shown& shown, DrawnSide& side, Positions& positions);
    void join();
    void joinPieces();
    ClipFate fateOf(const DrawnClip& before, const DrawnClip& after) const;
    void addChanges();
    void noteReason(const Change& change, const ChangedClip& changed);
    void addKept();
    void count();
    bool isSameTrack(const DrawnClip& before, const DrawnClip& after) const {
        return trackBefore_[after.row] == before.row;
    }

    TimelinePicture& picture_;
    const SequenceLedger* ledger_;
    Positions before_;  // of clips, by element
    Positions after_;
    Positions beforeTracks_;  // of rows, by element
    Positions afterTracks_;
    std::vector<std::uint32_t> trackBefore_;  // the row before of each row after
};

void TimelinePicture::Builder::addSide(const Timeline& timeline, DrawnSide& side,
                                       Positions& positions, Positions& tracks) {
    side.clips.reserve(timeline.items().size());
    positions.reserve(timeline.items().size());
    const Shown shown = shownParts(timeline);
    const std::span<const Track> video = timeline.tracks(MediaType::video);
    const auto add = [&](const Track& track) {
        tracks.emplace(track.node, sizeOf(side.rows));
        addRow(track, shown, side, positions);
    };
    std::for_each(video.rbegin(), video.rend(), add);
    for (const Track& track : timeline.tracks(MediaType::audio)) add(track);
    picture_.range_.end = std::max(picture_.range_.end, std::min(timeline.end(), farthestFrame));
}

void TimelinePicture::Builder::addRow(const Track& track, const Shown& shown, DrawnSide& side,
                                      Positions& positions) {
    const bool isVideo = track.type == MediaType::video;
    DrawnRow row{{isVideo, track.number}, track.enabled, sizeOf(side.clips), 0, {}};
    std::vector<const Item*> items;
    for (const Item& item : track.items) items.push_back(&item);
    std::stable_sort(items.begin(), items.end(), [](const Item* a, const Item* b) {
        return drawnRange(*a).start < drawnRange(*b).start;
    });
    for (const Item* const item : items) {
        DrawnClip clip;
        clip.range = drawnRange(*item);
        clip.source = item->source;
        clip.clearFrom = item->fadesIn ? item->fadesIn->range.end : clip.range.start;
        clip.name = nameOf(*item);
        clip.media = item->media ? item->media->name : std::string_view();
        clip.id = item->id;
        clip.kind = item->kind;
        clip.isOff = !item->enabled || !track.enabled;
        clip.isSlug = item->media && item->media->isBlack;
        clip.row = sizeOf(side.rows);
        clip.firstHidden = sizeOf(side.hidden);
        if (isVideo && !clip.isOff && item->kind != ItemKind::transition) {
            const auto parts = shown.find(item);
            // A slug over black shows nothing, and nothing hides it.
            if (parts != shown.end() || !clip.isSlug)
                addRest(clip.range,
                        parts == shown.end() ? std::span<const FrameRange>() : parts->second,
                        side.hidden);
        }
        clip.hiddenCount = sizeOf(side.hidden) - clip.firstHidden;
        row.longest = std::max(row.longest, clip.range.end - clip.range.start);
        positions.emplace(item->node, sizeOf(side.clips));
        side.clips.push_back(clip);
    }
    row.count = sizeOf(side.clips) - row.first;
    side.rows.push_back(row);
}

ClipFate TimelinePicture::Builder::fateOf(const DrawnClip& before, const DrawnClip& after) const {
    const bool startsThere = before.range.start == after.range.start;
    const bool endsThere = before.range.end == after.range.end;
    if (!isSameTrack(before, after)) return ClipFate::moved;
    if (startsThere && endsThere) return ClipFate::same;
    const bool overlaps =
        before.range.start < after.range.end && after.range.start < before.range.end;
    return overlaps ? ClipFate::trimmed : ClipFate::moved;
}

// A clip is the one of the other side that is the same element.
void TimelinePicture::Builder::join() {
    trackBefore_.assign(picture_.after_.rows.size(), noEntry);
    for (const auto& [node, row] : afterTracks_)
        trackBefore_[row] = positionOf(beforeTracks_, node);
    for (DrawnClip& clip : picture_.before_.clips) clip.fate = ClipFate::removed;
    for (DrawnClip& clip : picture_.after_.clips) clip.fate = ClipFate::added;
    for (const auto& [node, position] : after_) {
        const std::uint32_t origin = positionOf(before_, node);
        if (origin == noEntry) continue;
        DrawnClip& was = picture_.before_.clips[origin];
        DrawnClip& is = picture_.after_.clips[position];
        was.partner = position;
        is.partner = origin;
        was.fate = is.fate = fateOf(was, is);
    }
    if (ledger_) joinPieces();
}

// The left-hand piece of a split is a new element: what it was cut from stood around it.
void TimelinePicture::Builder::joinPieces() {
    for (const Change& change : ledger_->changes) {
        if (change.kind != ChangeKind::split) continue;
        const std::uint32_t position = positionOf(after_, change.node);
        if (position == noEntry || picture_.after_.clips[position].partner != noEntry) continue;
        DrawnClip& piece = picture_.after_.clips[position];
        for (std::uint32_t row = 0; row < picture_.before_.rows.size(); ++row) {
            if (picture_.before_.rows[row].label != change.trackBefore) continue;
            const std::uint32_t whole =
                picture_.before_.clipAt(picture_.before_.rows[row], piece.range.start);
            if (whole == noEntry) continue;
            DrawnClip& origin = picture_.before_.clips[whole];
            piece.partner = whole;
            piece.fate = isSameTrack(origin, piece) ? ClipFate::trimmed : ClipFate::moved;
            if (origin.fate != ClipFate::removed) continue;
            // Of the whole clip nothing but this piece is left.
            origin.partner = position;
            origin.fate = piece.fate;
        }
    }
}

void TimelinePicture::Builder::addChanges() {
    std::unordered_map<std::string, std::uint32_t> known;
    for (const Change& change : ledger_->changes) {
        const XMLNode item = change.holder ? change.holder : change.node;
        const ChangedClip changed{positionOf(before_, item), positionOf(after_, item), change.kind,
                                  change.pass};
        picture_.changes_.push_back(changed);
        noteReason(change, changed);
        // What makes a copy import touches nearly every clip, and nobody sees it.
        if (change.pass == importSafeOption) continue;
        if (changed.after != noEntry && changed.before != noEntry &&
            picture_.after_.clips[changed.after].fate == ClipFate::same) {
            picture_.after_.clips[changed.after].fate = ClipFate::changed;
            picture_.before_.clips[changed.before].fate = ClipFate::changed;
        }
    }
}

void TimelinePicture::Builder::noteReason(const Change& change, const ChangedClip& changed) {
    const std::string& text = ledger_->reasonText(change);
    if (text.empty() || change.holder) return;
    if (picture_.reasons_.empty() || picture_.reasons_.back() != text)
        picture_.reasons_.push_back(text);
    const std::uint32_t number = sizeOf(picture_.reasons_) - 1;
    if (changed.before != noEntry) picture_.before_.clips[changed.before].reason = number;
    if (changed.after != noEntry) picture_.after_.clips[changed.after].reason = number;
}

void TimelinePicture::Builder::addKept() {
    for (const KeptItem& item : ledger_->kept) {
        const std::uint32_t before = positionOf(before_, item.node);
        const std::uint32_t after = positionOf(after_, item.node);
        const std::uint32_t number = sizeOf(picture_.kept_);
        picture_.kept_.push_back({before, after, item.pass, item.reason});
        if (before != noEntry) picture_.before_.clips[before].kept = number;
        if (after != noEntry) picture_.after_.clips[after].kept = number;
    }
}

void TimelinePicture::Builder::count() {
    const auto add = [&](const DrawnClip& clip) {
        ++picture_.counts_[static_cast<std::size_t>(clip.fate)];
    };
    for (const DrawnClip& clip : picture_.before_.clips)
        if (clip.fate == ClipFate::removed) add(clip);
    for (const DrawnClip& clip : picture_.after_.clips) add(clip);
}

TimelinePicture::TimelinePicture(Timeline before, Timeline after, const SequenceLedger& ledger)
    : beforeTimeline_(std::move(before)), afterTimeline_(std::move(after)) {
    Builder(*this, &ledger).build();
}

TimelinePicture::TimelinePicture(const Timeline& timeline)
    : beforeTimeline_(timeline), afterTimeline_(timeline) {
    Builder(*this, nullptr).build();
}

ClipPlace TimelinePicture::partnerOf(ClipPlace place) const {
    if (!place.isSomewhere()) return {};
    const bool isBefore = place.side == PictureSide::before;
    return {isBefore ? PictureSide::after : PictureSide::before, at(place).partner};
}

ClipPlace TimelinePicture::placeOf(const ChangedClip& change) const {
    if (change.after != noEntry) return {PictureSide::after, change.after};
    return {PictureSide::before, change.before};
}

}  // namespace reelsweep
