#include "timeline/ImportFaults.h"

#include "time/Ticks.h"
#include "timeline/ElementText.h"
#include "timeline/ImportFaultParts.h"
#include "timeline/MediaReader.h"
#include "timeline/SequencePlaces.h"
#include "timeline/Vocabulary.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <set>
#include <unordered_map>

namespace reelsweep {

using namespace importfaults;

std::string_view name(ImportFaultKind kind) {
    constexpr std::array<std::string_view, importFaultKindCount> names = {"linkToNothing",
                                                                          "staleTrackIndex",
                                                                          "staleClipIndex",
                                                                          "staleGroupIndex",
                                                                          "idTwice",
                                                                          "sequenceTwice",
                                                                          "fileTwice",
                                                                          "fileTwiceUnlike",
                                                                          "undefinedReference",
                                                                          "usedBeforeDefinition",
                                                                          "ticks",
                                                                          "sourceLength",
                                                                          "edgeWithoutTransition",
                                                                          "transitionAlone",
                                                                          "endsBeforeStart",
                                                                          "outOfOrder",
                                                                          "overlap"};
    return names[static_cast<std::size_t>(kind)];
}

bool ticksFollow(std::string_view ticks, Frames frame, FrameRate rate, bool video) {
    std::int64_t written = 0;
    const auto read = std::from_chars(ticks.data(), ticks.data() + ticks.size(), written);
    const auto right = ticksAt(frame, rate);
    const auto oneFrame = ticksAt(Frames{1}, rate);
    if (ticks.empty() || read.ec != std::errc() || !right || !oneFrame || frame < Frames{0})
        return true;
    const std::int64_t off = (Frames{written} - Frames{*right}).count;
    return off == 0 || (!video && -*oneFrame < off && off < *oneFrame);
}

std::vector<int> withoutHoles(std::span<const int> groups) {
    const std::set<int> used(groups.begin(), groups.end());
    std::map<int, int> numbers;
    for (const int group : used)
        if (group != 0) numbers.emplace(group, static_cast<int>(numbers.size()) + 1);
    std::vector<int> run(groups.begin(), groups.end());
    for (int& group : run)
        if (group != 0) group = numbers[group];
    return run;
}

namespace {

using Kind = ImportFaultKind;

bool isIn(FrameRange place, Frames frame) { return place.start <= frame && frame < place.end; }

// The faults of one sequence's tracks.
class TrackFaults {
public:
    TrackFaults(XMLNode sequence, std::vector<ImportFault>& faults)
        : places_(SequencePlaces::of(sequence)),
          sequenceName_(sequence.child("name").stringValue()),
          faults_(faults) {}

    void find() {
        for (const PlacedTrack& track : places_.tracks())
            for (const PlacedItem& item : track.items)
                byId_.emplace(idOf(item.item->node), Where{&track, &item});
        for (const PlacedTrack& track : places_.tracks()) {
            track_ = &track;
            for (const PlacedItem& item : track.items) {
                edges(item);
                if (item.item->kind == ItemKind::transition) continue;
                source(item);
                links(item);
            }
            order();
            overlaps();
        }
    }

private:
    struct Where {
        const PlacedTrack* track;
        const PlacedItem* item;
    };

    void add(Kind kind, const PlacedItem& item, std::string text, XMLNode node = {}) {
        const XMLNode element = item.item->node;
        faults_.push_back({kind, sequenceName_, track_->label, nameOf(element), idOf(element),
                           item.times, place(track_->label, item.times, places_.timecode()),
                           std::move(text), node ? node : element});
    }

    std::string at(Frames frame) const { return places_.timecode().text(frame); }

    void edges(const PlacedItem& item) {
        const Item& it = *item.item;
        if (it.kind == ItemKind::transition) {
            transition(item);
        } else {
            if (it.startPlace == EdgePlace::nowhere && item.times.start)
                add(Kind::edgeWithoutTransition, item,
                    "It starts in a transition, but there is none before it.");
            if (it.endPlace == EdgePlace::nowhere && item.times.end)
                add(Kind::edgeWithoutTransition, item,
                    "It ends in a transition, but there is none after it.");
        }
        const FrameRange range = item.sourcePlace();
        if (it.hasPlace() && range.end <= range.start)
            add(Kind::endsBeforeStart, item,
                range.end == range.start ? "It lasts no frame." : "It ends before it starts.");
    }

    void transition(const PlacedItem& item) {
        const Transition& transition = *item.item->transition;
        if (!item.item->hasPlace()) return;
        const Alignment alignment = transition.alignment;
        if (!transition.outgoing && !transition.incoming)
            add(Kind::transitionAlone, item, "No clip starts or ends in this transition.");
        else if (alignment == Alignment::startBlack && !transition.incoming)
            add(Kind::transitionAlone, item, "This fade-in has no clip that starts in it.");
        else if (alignment == Alignment::endBlack && !transition.outgoing)
            add(Kind::transitionAlone, item, "This fade-out has no clip that ends in it.");
    }

    void source(const PlacedItem& item) {
        if (!item.isRemapped && !item.lengthsAgree(places_.rate())) {
            const FrameRange place = item.sourcePlace();
            add(Kind::sourceLength, item,
                "Its source range is " + (*item.times.out - *item.times.in).text() +
                    " frames long, its place on the timeline " + (place.end - place.start).text() +
                    ".");
        }
        ticks(item, "pproTicksIn", "in", item.times.in);
        ticks(item, "pproTicksOut", "out", item.times.out);
    }

    void ticks(const PlacedItem& item, const char* name, const char* frameName,
               const std::optional<Frames>& frame) {
        const XMLNode element = item.item->node.child(name);
        if (!element || !frame) return;
        if (ticksFollow(elementText(element), *frame, places_.rate(), track_->label.video)) return;
        add(Kind::ticks, item,
            std::string("Its ") + frameName + " is frame " + frame->text() + ", its " + name +
                " another.",
            element);
    }

    // Links

    void links(const PlacedItem& item) {
        std::vector<int> groups;
        for (const XMLNode link : childrenNamed(item.item->node, "link")) {
            this->link(item, link);
            groups.push_back(smallNumber(childText(link, "groupindex")));
        }
        if (withoutHoles(groups) != groups)
            add(Kind::staleGroupIndex, item, "The groups of its links do not run from 1.");
    }

    void link(const PlacedItem& item, XMLNode link) {
        const auto [ref, media, track, index] =
            link.firstChildren({"linkclipref", "mediatype", "trackindex", "clipindex"});
        const std::string id = ref.stringValue();
        const auto [first, last] = byId_.equal_range(id);
        if (id.empty() || first == last) {
            add(Kind::linkToNothing, item,
                "It is linked to " + quoted(id) + ", which is not in its sequence.", link);
            return;
        }
        const auto namesTrack = [media = media, track = track](const Where& where) {
            const bool video = where.track->label.video;
            return (!media || elementText(media) == (video ? "video" : "audio")) &&
                   (!track || smallNumber(elementText(track)) == where.track->label.number);
        };
        const auto namesIndex = [index = index](const Where& where) {
            return !index || smallNumber(elementText(index)) == where.item->index;
        };
        // Of several items with that id it may mean any.
        const auto any = [&, from = first, to = last](const auto& named) {
            return std::any_of(from, to, [&](const auto& entry) { return named(entry.second); });
        };
        if (any([&](const Where& where) { return namesTrack(where) && namesIndex(where); })) return;
        const Where& where = first->second;
        if (!any(namesTrack))
            add(Kind::staleTrackIndex, item,
                "Its link to " + quoted(id) + " names track " + std::string(elementText(track)) +
                    ", but that is on " + description(where.track->label) + ".",
                link);
        if (!any(namesIndex))
            add(Kind::staleClipIndex, item,
                "Its link to " + quoted(id) + " counts it as item " +
                    std::string(elementText(index)) + " of its track, but it is item " +
                    std::to_string(where.item->index) + ".",
                link);
    }

    // Items among their neighbours

    void order() {
        const PlacedItem* latest = nullptr;
        for (const PlacedItem& item : track_->items) {
            if (!item.item->hasPlace()) continue;
            if (latest && item.sourcePlace().start < latest->sourcePlace().start)
                add(Kind::outOfOrder, item,
                    "It stands after " + quoted(nameOf(latest->item->node)) +
                        ", which starts later, at " + at(latest->sourcePlace().start) + ".");
            else
                latest = &item;
        }
    }

    // Clips over clips, and transitions over transitions: a transition lies over its clips.
    void overlaps() {
        std::vector<const PlacedItem*> clips, transitions;
        for (const PlacedItem& item : track_->items)
            if (item.item->hasPlace() && item.body().start < item.body().end)
                (item.item->kind == ItemKind::transition ? transitions : clips).push_back(&item);
        overlapsOf(std::move(clips));
        overlapsOf(std::move(transitions));
        for (std::size_t i = 1; i < track_->items.size(); ++i)
            runsPast(track_->items[i - 1], track_->items[i]);
    }

    // A clip that goes on behind the transition that it should end in.
    void runsPast(const PlacedItem& clip, const PlacedItem& transition) {
        const bool isPair = clip.item->kind != ItemKind::transition &&
                            transition.item->kind == ItemKind::transition &&
                            clip.item->hasPlace() && transition.item->hasPlace();
        if (isPair && isIn(clip.body(), transition.sourcePlace().end))
            add(Kind::overlap, clip,
                "It goes on behind the transition after it, which ends at " +
                    at(transition.sourcePlace().end) + ".");
    }

    void overlapsOf(std::vector<const PlacedItem*> items) {
        std::stable_sort(items.begin(), items.end(), [](const auto* a, const auto* b) {
            return a->body().start < b->body().start;
        });
        const PlacedItem* last = nullptr;
        for (const PlacedItem* const item : items) {
            if (last && isIn(last->body(), item->body().start))
                add(Kind::overlap, *item,
                    "It lies over " + quoted(nameOf(last->item->node)) +
                        " of the same track, which ends at " + at(last->body().end) + ".");
            if (!last || item->body().end > last->body().end) last = item;
        }
    }

    SequencePlaces places_;
    std::string sequenceName_;
    std::vector<ImportFault>& faults_;
    std::unordered_multimap<std::string, Where> byId_;
    const PlacedTrack* track_ = nullptr;
};

}  // namespace

std::vector<ImportFault> trackFaults(XMLNode sequence) {
    std::vector<ImportFault> faults;
    TrackFaults(sequence, faults).find();
    return faults;
}

std::vector<ImportFault> importFaults(XMLNode root) {
    std::vector<ImportFault> faults;
    if (root.isElement("sequence")) TrackFaults(root, faults).find();
    root.forEachDescendant({"sequence"}, [&](XMLNode sequence) {
        if (isDefinition(sequence)) TrackFaults(sequence, faults).find();
    });
    findIdFaults(root, faults);
    return faults;
}

}  // namespace reelsweep
