#include "timeline/ImportFaults.h"

#include "time/Ticks.h"
#include "timeline/ElementText.h"
#include "timeline/MediaReader.h"
#include "timeline/SequencePlaces.h"
#include "timeline/Vocabulary.h"
#include "xml/XMLDocument.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

namespace reelsweep {

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

std::string idOf(XMLNode element) { return std::string(element.attribute("id").value_or("")); }

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

// A transition is called after its effect.
std::string nameOf(XMLNode item) {
    const std::string name = item.child("name").stringValue();
    return name.empty() ? item.child("effect").child("name").stringValue() : name;
}

std::string place(TrackLabel track, const ItemTimes& times, const SequenceTimecode& timecode) {
    std::string text = description(track);
    if (!times.start && !times.end) return text;
    return text + ", " + timecode.text(times.start) + " to " + timecode.text(times.end);
}

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

    void overlaps() {
        std::vector<const PlacedItem*> clips;
        for (const PlacedItem& item : track_->items)
            if (item.item->kind != ItemKind::transition && item.item->hasPlace() &&
                item.body().start < item.body().end)
                clips.push_back(&item);
        std::stable_sort(clips.begin(), clips.end(), [](const auto* a, const auto* b) {
            return a->body().start < b->body().start;
        });
        const PlacedItem* last = nullptr;
        for (const PlacedItem* const clip : clips) {
            if (last && isIn(last->body(), clip->body().start))
                add(Kind::overlap, *clip,
                    "It lies over " + quoted(nameOf(last->item->node)) +
                        " of the same track, which ends at " + at(last->body().end) + ".");
            if (!last || clip->body().end > last->body().end) last = clip;
        }
    }

    SequencePlaces places_;
    std::string sequenceName_;
    std::vector<ImportFault>& faults_;
    std::unordered_multimap<std::string, Where> byId_;
    const PlacedTrack* track_ = nullptr;
};

// The faults of ids, which hold for all that is imported together.
class IdFaults {
public:
    IdFaults(XMLNode root, std::vector<ImportFault>& faults) : root_(root), faults_(faults) {}

    void find() {
        if (root_.isElement("sequence")) visit(root_);
        root_.forEachDescendant({"clipitem", "generatoritem", "transitionitem", "file", "sequence",
                                 "clip", "masterclipid"},
                                [&](XMLNode element) { visit(element); });
        for (const XMLNode& reference : references_) undefined(reference);
        if (masterClips_.empty()) return;
        // A document that brings no master clips along leaves them to where it came from.
        std::unordered_set<std::string> told;
        for (const XMLNode& reference : masterClipReferences_) {
            const std::string id = reference.stringValue();
            if (!masterClips_.contains(id) && told.insert(id).second)
                add(Kind::undefinedReference, reference.parent(), id,
                    "It names the master clip " + quoted(id) + ", which is defined nowhere.");
        }
    }

private:
    void visit(XMLNode element) {
        const std::string id = element.isElement("masterclipid") ? "" : idOf(element);
        if (element.isElement("masterclipid")) {
            masterClipReferences_.push_back(element);
        } else if (id.empty()) {
            return;
        } else if (isTimelineItem(element)) {
            if (!items_.insert(id).second)
                add(Kind::idTwice, element, id, "Another item has the id " + quoted(id) + " too.");
        } else if (element.isElement("clip")) {
            if (isDefinition(element)) masterClips_.insert(id);
        } else if (isDefinition(element)) {
            define(element, id);
        } else {
            const std::string key = keyOf(element, id);
            if (!definitions_.contains(key)) references_.push_back(element);
        }
    }

    static std::string keyOf(XMLNode element, const std::string& id) {
        return std::string(element.name()) + '\n' + id;
    }

    void define(XMLNode element, const std::string& id) {
        const auto [first, isFirst] = definitions_.emplace(keyOf(element, id), element);
        if (isFirst) return;
        if (element.isElement("sequence"))
            add(Kind::sequenceTwice, element, id,
                "The sequence " + quoted(id) + " is defined a second time.");
        else if (serialise(first->second) == serialise(element))
            add(Kind::fileTwice, element, id,
                "The file " + quoted(id) + " is defined a second time.");
        else
            add(Kind::fileTwiceUnlike, element, id,
                "Another file has the id " + quoted(id) + " too.");
    }

    // Of many references to one thing the first is told.
    void undefined(XMLNode reference) {
        const std::string id = idOf(reference);
        const std::string key = keyOf(reference, id);
        if (!told_.insert(key).second) return;
        const std::string what = "the " + std::string(reference.name()) + " " + quoted(id);
        if (definitions_.contains(key))
            add(Kind::usedBeforeDefinition, reference, id,
                "It uses " + what + " before that is defined.");
        else
            add(Kind::undefinedReference, reference, id,
                "It uses " + what + ", which is defined nowhere.");
    }

    void add(Kind kind, XMLNode element, const std::string& id, std::string text) {
        ImportFault fault;
        fault.kind = kind;
        fault.id = id;
        fault.node = element;
        fault.text = std::move(text);
        XMLNode sequence = element.isElement("sequence") ? element : XMLNode();
        for (XMLNode at = element; at && !sequence; at = at.parent()) {
            if (isTimelineItem(at) && fault.item.empty()) {
                fault.item = nameOf(at);
                fault.times = ItemTimes::of(at);
            }
            if (at.isElement("track") && fault.track.number == 0) fault.track = labelOf(at);
            if (at.isElement("sequence") && at != element) sequence = at;
        }
        fault.sequence = sequence.child("name").stringValue();
        if (sequence && fault.track.number != 0)
            fault.place = place(fault.track, fault.times, SequenceTimecode::of(sequence));
        faults_.push_back(std::move(fault));
    }

    static TrackLabel labelOf(XMLNode track) {
        TrackLabel label{track.parent().isElement("video"), 0};
        for (XMLNode at = track; at; at = at.previousSibling())
            if (at.isElement("track")) ++label.number;
        return label;
    }

    XMLNode root_;
    std::vector<ImportFault>& faults_;
    std::unordered_set<std::string> items_;
    std::unordered_set<std::string> masterClips_;
    std::unordered_map<std::string, XMLNode> definitions_;
    std::vector<XMLNode> references_;  // to what was not defined before
    std::vector<XMLNode> masterClipReferences_;
    std::unordered_set<std::string> told_;
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
    IdFaults(root, faults).find();
    return faults;
}

}  // namespace reelsweep
