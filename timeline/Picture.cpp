#include "timeline/Picture.h"

#include "timeline/Coverage.h"
#include "timeline/NestedSequence.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <queue>
#include <string_view>

namespace reelsweep {

namespace {

// A part of an item in which its role does not change.
struct Stretch {
    FrameRange range;
    Contributor contributor;
    std::uint64_t order = 0;  // of sounds: by what they are, wherever they stand
};

FrameRange common(FrameRange a, FrameRange b) {
    return {std::max(a.start, b.start), std::min(a.end, b.end)};
}

bool isEmpty(FrameRange range) { return range.end <= range.start; }

class StretchMaker {
public:
    StretchMaker(const Timeline& timeline, MediaType type, FrameRange range, PictureOptions options)
        : timeline_(timeline), type_(type), range_(range), options_(options) {}

    /// The stretches of a track in the order of their starts.
    std::vector<Stretch> of(const Track& track) {
        stretches_.clear();
        if (!track.enabled) return {};
        for (const Item& item : track.items)
            if (isHeardOrSeen(item)) addItem(item, track);
        const auto startsBefore = [](const Stretch& a, const Stretch& b) {
            return a.range.start < b.range.start;
        };
        if (!std::is_sorted(stretches_.begin(), stretches_.end(), startsBefore))
            std::stable_sort(stretches_.begin(), stretches_.end(), startsBefore);
        return std::move(stretches_);
    }

private:
    bool isHeardOrSeen(const Item& item) const {
        if (item.kind == ItemKind::transition || !item.enabled) return false;
        if (isEmpty(common(item.range, range_))) return false;
        return type_ == MediaType::video || options_.ignoreFilters || !item.filters->isSilent;
    }

    void addItem(const Item& item, const Track& track) {
        Contributor whole;
        whole.item = &item;
        whole.track = &track;
        whole.covers = type_ == MediaType::video &&
                       certainlyCovers(item, track, timeline_, options_.ignoreFilters);
        order_ = type_ == MediaType::audio ? orderOf(item, track) : 0;
        FrameRange rest = item.range;
        FrameRange in{rest.start, rest.start};
        FrameRange out{rest.end, rest.end};
        if (item.fadesIn) in = common(rest, item.fadesIn->range);
        if (item.fadesOut) out = common(rest, item.fadesOut->range);
        out.start = std::max(out.start, in.end);
        addSide(whole, in, item.fadesIn, TransitionSide::incoming);
        add(whole, {in.end, out.start});
        addSide(whole, out, item.fadesOut, TransitionSide::outgoing);
    }

    void addSide(Contributor contributor, FrameRange range, const Item* transition,
                 TransitionSide side) {
        contributor.transition = transition;
        contributor.side = side;
        contributor.covers = contributor.covers && options_.ignoreTransitions;
        add(contributor, range);
    }

    // Splits what plays a nested sequence where its picture stops or begins to be full.
    void add(const Contributor& contributor, FrameRange range) {
        const NestedSequence* const nested = contributor.item->media->nested;
        if (!nested || !contributor.covers) return addPlain(contributor, range);
        const auto& full = options_.ignoreFilters ? nested->fullWithoutFilters : nested->full;
        Contributor notFull = contributor;
        notFull.covers = false;
        // A remapped clip shows frames that only its keyframes know.
        const Item& item = *contributor.item;
        const bool isPlain =
            item.filters->speed.kind == Speed::Kind::plain || options_.ignoreFilters;
        // Times at the ends of what numbers hold: the source frames wrap around inside the clip.
        const bool wraps = item.line.at(item.range.end) < item.line.at(item.range.start);
        if (!isPlain || wraps) return addPlain(notFull, range);
        for (const FrameRange here : item.line.onTimeline(full, range)) {
            if (mostSplits_ == 0) break;
            --mostSplits_;
            addPlain(notFull, {range.start, here.start});
            addPlain(contributor, here);
            range.start = here.end;
        }
        addPlain(notFull, range);
    }

    void addPlain(const Contributor& contributor, FrameRange range) {
        range = common(range, range_);
        if (!isEmpty(range)) stretches_.push_back({range, contributor, order_});
    }

    // Sounds are listed in an order that does not depend on the tracks they stand on.
    std::uint64_t orderOf(const Item& item, const Track& track) const {
        const std::hash<std::string_view> hash;
        std::uint64_t order = hash(item.media->key);
        const auto add = [&](std::uint64_t value) {
            order = (order ^ value) * 0x9E3779B97F4A7C15u;
            order ^= order >> 29;
        };
        add(static_cast<std::uint64_t>(item.line.offset));
        add(static_cast<std::uint64_t>(item.sourceChannel));
        add(static_cast<std::uint64_t>(track.outputChannel));
        if (!options_.ignoreFilters) add(hash(item.filters->soundKey));
        return order;
    }

    const Timeline& timeline_;
    const MediaType type_;
    const FrameRange range_;
    const PictureOptions options_;
    std::vector<Stretch> stretches_;
    std::uint64_t order_ = 0;
    // Sequences nested in each other many times over could part a clip without end.
    int mostSplits_ = 1'000'000;
};

// A full black frame at the bottom of the picture.
bool isNothing(const Contributor& contributor, PictureOptions options) {
    const Item& item = *contributor.item;
    const bool hasNoLook =
        options.ignoreFilters ||
        (item.filters->pictureKey.empty() && contributor.track->filters->pictureKey.empty());
    return item.media->isBlack && hasNoLook && item.compositeMode.empty() && item.hasPlace() &&
           contributor.side == TransitionSide::none;
}

// Goes over the stretches of all tracks in time order.
class Sweep {
public:
    Sweep(MediaType type, PictureOptions options) : type_(type), options_(options) {}

    void addTrack(std::vector<Stretch> stretches) {
        tracks_.push_back({std::move(stretches), {}, 0});
    }

    void run() {
        busy_.assign(tracks_.size() / bitsOf + 1, 0);
        for (std::size_t t = 0; t < tracks_.size(); ++t) enqueue(t);
        while (!boundaries_.empty()) {
            const Frames at = boundaries_.top().at;
            std::size_t highest = 0;
            for (; !boundaries_.empty() && boundaries_.top().at == at; boundaries_.pop())
                changed_.push_back(boundaries_.top().track);
            for (const std::size_t t : changed_) {
                advance(t, at);
                highest = std::max(highest, t);
            }
            changed_.clear();
            // What changes below a full frame changes nothing.
            if (highest < lowestSeen_) continue;
            close(at);
            assemble();
            openedAt_ = at;
        }
    }

    struct Found {
        FrameRange range;
        std::size_t first;
        std::size_t count;
    };
    std::vector<Found> found;
    std::vector<Contributor> contributors;

private:
    static constexpr std::size_t bitsOf = 64;

    struct Row {
        std::vector<Stretch> stretches;
        std::vector<const Stretch*> active;
        std::size_t next = 0;
    };
    struct Boundary {
        Frames at;
        std::size_t track;
        bool operator>(const Boundary& other) const { return at > other.at; }
    };

    void enqueue(std::size_t t) {
        const Row& row = tracks_[t];
        if (row.next == row.stretches.size() && row.active.empty()) return;
        Frames at{std::numeric_limits<std::int64_t>::max()};
        if (row.next < row.stretches.size()) at = row.stretches[row.next].range.start;
        for (const Stretch* stretch : row.active) at = std::min(at, stretch->range.end);
        boundaries_.push({at, t});
    }

    void advance(std::size_t t, Frames at) {
        Row& row = tracks_[t];
        std::erase_if(row.active, [&](const Stretch* s) { return s->range.end <= at; });
        for (; row.next < row.stretches.size() && row.stretches[row.next].range.start <= at;
             ++row.next)
            row.active.push_back(&row.stretches[row.next]);
        // Clips at one place are listed as the track has them, however they were parted.
        if (row.active.size() > 1)
            std::sort(row.active.begin(), row.active.end(), [](const auto* a, const auto* b) {
                return std::less<>()(a->contributor.item, b->contributor.item);
            });
        const std::uint64_t bit = std::uint64_t{1} << (t % bitsOf);
        if (row.active.empty())
            busy_[t / bitsOf] &= ~bit;
        else
            busy_[t / bitsOf] |= bit;
        enqueue(t);
    }

    // What is seen from here on, in current_.
    void assemble() {
        current_.clear();
        lowestSeen_ = 0;
        for (std::size_t word = busy_.size(); word-- > 0;) {
            for (std::uint64_t bits = busy_[word]; bits != 0;) {
                const int bit = 63 - std::countl_zero(bits);
                bits &= ~(std::uint64_t{1} << bit);
                const std::size_t t = word * bitsOf + static_cast<std::size_t>(bit);
                if (!addRow(tracks_[t])) continue;
                lowestSeen_ = t;
                word = 0;
                break;
            }
        }
        if (type_ == MediaType::audio) {
            std::stable_sort(
                sounds_.begin(), sounds_.end(),
                [](const Stretch* a, const Stretch* b) { return a->order < b->order; });
            for (const Stretch* sound : sounds_) current_.push_back(sound->contributor);
            sounds_.clear();
        } else if (!options_.keepSlugs) {
            while (!current_.empty() && isNothing(current_.back(), options_)) current_.pop_back();
        }
    }

    // Answers whether nothing below the track is seen.
    bool addRow(const Row& row) {
        if (type_ == MediaType::audio) {
            sounds_.insert(sounds_.end(), row.active.begin(), row.active.end());
            return false;
        }
        bool allCover = true;
        for (const Stretch* stretch : row.active) {
            current_.push_back(stretch->contributor);
            // With the transition closed nothing may stand in the place of this side.
            const bool mayGo = options_.ignoreTransitions && fadesToNothing(stretch->contributor);
            allCover = allCover && stretch->contributor.covers && !mayGo;
        }
        if (row.active.size() == 1) return allCover;
        if (isBothSides(row)) return allCover;
        // Which of several clips at one place shows, nobody knows.
        for (std::size_t i = 0; i < row.active.size(); ++i)
            current_[current_.size() - 1 - i].covers = false;
        return false;
    }

    static bool isBothSides(const Row& row) {
        if (row.active.size() != 2) return false;
        const Contributor& a = row.active[0]->contributor;
        const Contributor& b = row.active[1]->contributor;
        return a.transition && a.transition == b.transition && a.side != b.side;
    }

    // Ends what was seen up to here; it goes on in the interval before when nothing changed there.
    void close(Frames at) {
        if (!isOpen_) {
            isOpen_ = true;
            return;
        }
        if (!found.empty()) {
            const Found& last = found.back();
            const auto before = std::span(contributors).subspan(last.first, last.count);
            const bool goesOn =
                std::equal(before.begin(), before.end(), current_.begin(), current_.end(),
                           [&](const auto& a, const auto& b) {
                               return a.covers == b.covers && showsTheSame(a, b, options_);
                           });
            if (goesOn) {
                found.back().range.end = at;
                return;
            }
        }
        found.push_back({{openedAt_, at}, contributors.size(), current_.size()});
        contributors.insert(contributors.end(), current_.begin(), current_.end());
    }

    const MediaType type_;
    const PictureOptions options_;
    std::vector<Row> tracks_;
    std::vector<std::uint64_t> busy_;  // one bit a track on which something is
    std::priority_queue<Boundary, std::vector<Boundary>, std::greater<>> boundaries_;
    std::vector<std::size_t> changed_;
    std::vector<Contributor> current_;
    std::vector<const Stretch*> sounds_;
    std::size_t lowestSeen_ = 0;
    Frames openedAt_;
    bool isOpen_ = false;
};

}  // namespace

Intervals::Intervals(const Timeline& timeline, MediaType type, FrameRange range,
                     PictureOptions options)
    : timeline_(timeline), type_(type), options_(options) {
    StretchMaker maker(timeline_, type, range, options);
    Sweep sweep(type, options);
    for (const Track& track : timeline_.tracks(type)) sweep.addTrack(maker.of(track));
    sweep.run();
    contributors_ = std::move(sweep.contributors);
    intervals_.reserve(sweep.found.size());
    for (const Sweep::Found& found : sweep.found)
        intervals_.push_back(
            {found.range, std::span(contributors_).subspan(found.first, found.count)});
}

}  // namespace reelsweep
