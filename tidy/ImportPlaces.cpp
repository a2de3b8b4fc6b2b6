// Edges, source ranges, order and ticks of a copy's items.
#include "tidy/ImportParts.h"

#include "time/Ticks.h"
#include "timeline/ElementText.h"
#include "timeline/ImportFaults.h"
#include "timeline/Vocabulary.h"

#include <algorithm>
#include <array>
#include <optional>

namespace reelsweep::importing {

namespace {

bool isTransition(const PlacedItem& item) { return item.item->kind == ItemKind::transition; }

bool isAlone(const PlacedItem& item) {
    const Transition& transition = *item.item->transition;
    const bool out = transition.outgoing, in = transition.incoming;
    return (!out && !in) || (transition.alignment == Alignment::startBlack && !in) ||
           (transition.alignment == Alignment::endBlack && !out);
}

bool isReversed(const PlacedItem& item) {
    const FrameRange place = item.sourcePlace();
    return item.item->hasPlace() && place.end <= place.start;
}

// Whether the clip before a transition runs on into it. Malformed times may leave a gap.
bool reachesInto(const Item* outgoing, const Item& transition) {
    return outgoing && outgoing->range.end > transition.range.start;
}

bool lieOver(const PlacedItem& a, const PlacedItem& b) {
    const FrameRange first = a.body(), second = b.body();
    return first.start < second.end && second.start < first.end;
}

class Mender {
public:
    Mender(TimelineEdit& edit, const ImportSource& source) : edit_(edit), source_(source) {}

    void run() {
        const SequencePlaces places = SequencePlaces::of(edit_.sequence());
        rate_ = places.rate();
        for (const PlacedTrack& track : places.tracks()) {
            // What is mended may show more. It ends, since each item is edited in one way only
            // once, and moved a few times at most.
            bool mended = mendOnce(track);
            while (mended) mended = mendOnce(places.again(track).tracks().front());
        }
    }

private:
    // The first kind of thing that is wrong on the track; its places are read anew after each.
    bool mendOnce(const PlacedTrack& track) {
        // Order first: what was put between a transition and its clip would part them.
        static constexpr std::array steps = {
            &Mender::sort,           &Mender::removeLoneTransitions, &Mender::placeEdges,
            &Mender::removeReversed, &Mender::separateTransitions,   &Mender::separate,
            &Mender::fitSources,     &Mender::removeUnsortable};
        const std::size_t changes = edit_.ledger().changes.size();
        for (const auto step : steps) {
            (this->*step)(track);
            if (edit_.ledger().changes.size() > changes) return true;
        }
        return false;
    }

    using Items = std::unordered_set<XMLNode>;
    // Whether an item has not been edited in this way. Malformed times may read no better for it.
    static bool isFirst(Items& edited, const PlacedItem& item) {
        return edited.insert(item.item->node).second;
    }

    // The item as the source has it, or null.
    const PlacedItem* inSource(const PlacedItem& item) const {
        return source_.placeOf(item.item->node);
    }

    void removeLoneTransitions(const PlacedTrack& track) {
        for (const PlacedItem& item : track.items) {
            if (!isTransition(item) || !item.item->hasPlace() || !isAlone(item)) continue;
            const PlacedItem* const before = inSource(item);
            if (!before || !isAlone(*before))
                edit_.detach(item.item->node, "a transition without its clip");
        }
    }

    // Edges of -1 without their transition

    bool lostStart(const PlacedItem& item) const {
        const PlacedItem* const before = inSource(item);
        return !isTransition(item) && item.item->startPlace == EdgePlace::nowhere &&
               item.times.start && (!before || before->item->startPlace != EdgePlace::nowhere);
    }
    bool lostEnd(const PlacedItem& item) const {
        const PlacedItem* const before = inSource(item);
        return !isTransition(item) && item.item->endPlace == EdgePlace::nowhere && item.times.end &&
               (!before || before->item->endPlace != EdgePlace::nowhere);
    }

    void placeEdges(const PlacedTrack& track) {
        const std::vector<PlacedItem>& items = track.items;
        for (std::size_t i = 0; i < items.size(); ++i) {
            const bool start = lostStart(items[i]) && isFirst(starts_, items[i]);
            const bool end = lostEnd(items[i]) && isFirst(ends_, items[i]);
            if (!start && !end) continue;
            ItemTimes times;
            if (start) placeStart(items[i], i > 0 ? &items[i - 1] : nullptr, times);
            if (end) placeEnd(items[i], i + 1 < items.size() ? &items[i + 1] : nullptr, times);
            if (times == ItemTimes{})
                edit_.detach(items[i].item->node, "nothing says where it is");
            else
                edit_.trim(items[i].item->node, times, "its transition is gone");
        }
    }

    // As far as it reached in its transition; to the cut where the other side is there too.
    void placeStart(const PlacedItem& item, const PlacedItem* previous, ItemTimes& times) const {
        const PlacedItem* const before = inSource(item);
        const bool known = before && before->item->startPlace == EdgePlace::inTransition;
        if (!known && item.item->endPlace == EdgePlace::nowhere) return;
        const Item& it = known ? *before->item : *item.item;
        Frames start = it.range.start;
        if (previous && lostEnd(*previous))
            start = it.cut.start;
        else if (previous && previous->item->hasPlace())
            start = std::max(start, previous->sourcePlace().end);
        // A sequence begins at 0, and -1 would be read as no place again.
        start = std::max(start, Frames{});
        times.start = start;
        if (item.times.in && start != it.range.start)
            times.in = *item.times.in + (it.line.at(start) - it.line.at(it.range.start));
    }

    void placeEnd(const PlacedItem& item, const PlacedItem* next, ItemTimes& times) const {
        const PlacedItem* const before = inSource(item);
        const bool known = before && before->item->endPlace == EdgePlace::inTransition;
        if (!known && item.item->startPlace == EdgePlace::nowhere) return;
        const Item& it = known ? *before->item : *item.item;
        Frames end = it.range.end;
        if (next && lostStart(*next))
            end = it.cut.end;
        else if (next && next->item->hasPlace())
            end = std::min(end, next->sourcePlace().start);
        end = std::max(end, Frames{});
        times.end = end;
        if (item.times.out && end != it.range.end)
            times.out = *item.times.out + (it.line.at(end) - it.line.at(it.range.end));
    }

    // Items that are reversed, out of order or over one another, as the source did not have them

    void removeReversed(const PlacedTrack& track) {
        for (const PlacedItem& item : track.items) {
            if (!isReversed(item)) continue;
            const PlacedItem* const before = inSource(item);
            if (!before || !isReversed(*before))
                edit_.detach(item.item->node, "it would end before it starts");
        }
    }

    // Whether the source has the two on one track, one as wrong to the other as here.
    template <class Wrong>
    bool wasSo(const PlacedItem& a, const PlacedItem& b, Wrong wrong) const {
        const PlacedItem* const first = inSource(a);
        const PlacedItem* const second = inSource(b);
        return first && second && first != second && first->item->hasPlace() &&
               second->item->hasPlace() &&
               first->item->node.parent() == second->item->node.parent() && wrong(*first, *second);
    }

    // The items that stand after one that starts later, as the source did not have them.
    std::vector<const PlacedItem*> outOfOrder(const PlacedTrack& track) const {
        const auto later = [](const PlacedItem& a, const PlacedItem& b) {
            return a.index < b.index && b.sourcePlace().start < a.sourcePlace().start;
        };
        const PlacedItem* latest = nullptr;
        std::vector<const PlacedItem*> late;
        for (const PlacedItem& item : track.items) {
            if (!item.item->hasPlace() || isReversed(item)) continue;
            if (!latest || item.sourcePlace().start >= latest->sourcePlace().start)
                latest = &item;
            else if (!wasSo(*latest, item, later))
                late.push_back(&item);
        }
        return late;
    }

    // A moved item moves again when a neighbour has found its place only then.
    static constexpr int mostMoves = 4;

    // Only items that stand free: a transition holds its clips where they are.
    void sort(const PlacedTrack& track) {
        std::vector<const PlacedItem*> late = outOfOrder(track);
        std::erase_if(late, [&](const PlacedItem* item) {
            return isTransition(*item) || item->item->fadesIn || item->item->fadesOut ||
                   moves_[item->item->node] == mostMoves;
        });
        // Several may go to the same place: the first of them goes there first.
        std::stable_sort(late.begin(), late.end(), [](const auto* a, const auto* b) {
            return a->sourcePlace().start < b->sourcePlace().start;
        });
        for (const PlacedItem* const item : late)
            if (moveBack(track, *item)) ++moves_[item->item->node];
    }

    // When nothing else is left to mend, no place in the order is.
    void removeUnsortable(const PlacedTrack& track) {
        for (const PlacedItem* const item : outOfOrder(track))
            edit_.detach(item->item->node, "no place in the order of its track is left for it");
    }

    // False where it would part a transition from its clip; what stands there may go yet.
    bool moveBack(const PlacedTrack& track, const PlacedItem& item) {
        const auto next =
            std::find_if(track.items.begin(), track.items.end(), [&](const PlacedItem& other) {
                return other.item->hasPlace() && !isReversed(other) &&
                       other.sourcePlace().start > item.sourcePlace().start;
            });
        // Not between a clip and the transition that it ends in.
        if (isTransition(*next) && reachesInto(next->item->transition->outgoing, *next->item))
            return false;
        XMLNode before = next->item->node;
        // Not between a transition and the clip that starts in it.
        const bool startsInOne = next->item->startPlace == EdgePlace::inTransition;
        if (startsInOne) before = std::prev(next)->item->node;
        const TrackIndex& index = edit_.index(track.node);
        edit_.move(item.item->node, index, before.index());
        return true;
    }

    // Where there is room for one, the one that the source had stays; else the first.
    void separateTransitions(const PlacedTrack& track) {
        std::vector<const PlacedItem*> transitions;
        for (const PlacedItem& item : track.items)
            if (isTransition(item) && item.item->hasPlace()) transitions.push_back(&item);
        std::stable_sort(transitions.begin(), transitions.end(), [](const auto* a, const auto* b) {
            return a->sourcePlace().start < b->sourcePlace().start;
        });
        const PlacedItem* last = nullptr;
        for (const PlacedItem* const item : transitions) {
            const bool isNew = last && lieOver(*last, *item) && !wasSo(*last, *item, lieOver);
            const bool lastGoes = isNew && inSource(*item) && !inSource(*last);
            if (isNew)
                edit_.detach((lastGoes ? last : item)->item->node,
                             "another transition is there already");
            if (!isNew || lastGoes) last = item;
        }
    }

    // The later of two wins, as in an editing system that overwrites.
    void separate(const PlacedTrack& track) {
        std::vector<const PlacedItem*> clips;
        for (const PlacedItem& item : track.items)
            if (!isTransition(item) && item.item->hasPlace() && item.body().start < item.body().end)
                clips.push_back(&item);
        std::stable_sort(clips.begin(), clips.end(), [](const auto* a, const auto* b) {
            return a->body().start < b->body().start;
        });
        const PlacedItem* last = nullptr;
        for (const PlacedItem* const clip : clips) {
            if (!last || !lieOver(*last, *clip) || wasSo(*last, *clip, lieOver)) {
                if (!last || clip->body().end > last->body().end) last = clip;
            } else if (cutEarlier(*last, *clip)) {
                last = clip;
            }
        }
    }

    // What was put in gives way; so does what would have no frame left. False when the later one
    // went.
    bool cutEarlier(const PlacedItem& earlier, const PlacedItem& later) {
        const XMLNode node = earlier.item->node;
        const std::string laterName = displayName(later.item->node);
        const Frames end = later.body().start;
        if (!inSource(later)) {
            edit_.detach(later.item->node, displayName(node) + " is there already");
            return false;
        }
        if (!inSource(earlier) || end <= earlier.body().start || !isFirst(cuts_, earlier) ||
            earlier.item->endPlace != EdgePlace::own)
            edit_.detach(node, laterName + " is there already");
        else
            edit_.trim(node, {.start = {}, .end = end, .in = {}, .out = {}},
                       laterName + " starts there");
        return true;
    }

    // Source ranges

    // An editing system finds a clip by `in` and its length on the timeline; importers go by `out`.
    void fitSources(const PlacedTrack& track) {
        for (const PlacedItem& item : track.items) {
            const PlacedItem* const before = inSource(item);
            if (!before || item.lengthsAgree(rate_) ||
                !before->lengthsAgree(source_.places().rate()) || !isFirst(lengths_, item))
                continue;
            const FrameRange place = item.sourcePlace();
            const Frames out = *item.times.in + (place.end - place.start);
            edit_.trim(item.item->node, {.start = {}, .end = {}, .in = {}, .out = out},
                       "as long as its place");
        }
    }

    TimelineEdit& edit_;
    FrameRate rate_;
    const ImportSource& source_;
    Items starts_, ends_, cuts_, lengths_;  // edited already
    std::unordered_map<XMLNode, int> moves_;
};

}  // namespace

void mendPlaces(TimelineEdit& edit, const ImportSource& source) { Mender(edit, source).run(); }

void mendTicks(TimelineEdit& edit, const SequencePlaces& places) {
    for (const PlacedTrack& track : places.tracks()) {
        for (const PlacedItem& item : track.items) {
            std::vector<TimelineEdit::Rewrite> rewrites;
            const auto follow = [&](const char* name, const std::optional<Frames>& frame) {
                const XMLNode element = item.item->node.child(name);
                if (!element || !frame ||
                    ticksFollow(elementText(element), *frame, places.rate(), track.label.video))
                    return;
                rewrites.push_back({element, std::to_string(*ticksAt(*frame, places.rate()))});
            };
            follow("pproTicksIn", item.times.in);
            follow("pproTicksOut", item.times.out);
            edit.rewrite(item.item->node, rewrites, "ticks follow in and out");
        }
    }
}

}  // namespace reelsweep::importing
