// Ids that are unique in what is delivered, and links that name what is there.
#include "tidy/ImportParts.h"

#include "timeline/ElementText.h"
#include "timeline/ImportFaults.h"
#include "timeline/MediaReader.h"
#include "timeline/Vocabulary.h"

#include <algorithm>

namespace reelsweep::importing {

namespace {

constexpr std::string_view suffix = "-Tidied";

std::string idOf(XMLNode element) { return std::string(element.attribute("id").value_or("")); }

// An item with its place, for looking it up by what links say of it.
struct Stand {
    XMLNode node;
    TrackLabel track;
    int index = 0;
    Frames start;
};

// The items of a sequence by id and by node.
class Stands {
public:
    explicit Stands(const SequencePlaces& places) {
        for (const PlacedTrack& track : places.tracks())
            for (const PlacedItem& item : track.items) {
                const XMLNode node = item.item->node;
                all_.push_back({node, track.label, item.index, item.sourcePlace().start});
                byNode_.emplace(node, all_.size() - 1);
                byId_[idOf(node)].push_back(all_.size() - 1);
            }
    }

    const std::vector<Stand>& all() const { return all_; }
    const Stand* of(XMLNode node) const {
        const auto found = byNode_.find(node);
        return found == byNode_.end() ? nullptr : &all_[found->second];
    }
    std::vector<const Stand*> withId(const std::string& id) const {
        std::vector<const Stand*> stands;
        if (const auto found = byId_.find(id); found != byId_.end())
            for (const std::size_t i : found->second) stands.push_back(&all_[i]);
        return stands;
    }

private:
    std::vector<Stand> all_;
    std::unordered_map<XMLNode, std::size_t> byNode_;
    std::unordered_map<std::string, std::vector<std::size_t>> byId_;
};

struct LinkParts {
    XMLNode link, ref, media, track, index, group;

    explicit LinkParts(XMLNode link_) : link(link_) {
        const auto [r, m, t, i, g] = link_.firstChildren(
            {"linkclipref", "mediatype", "trackindex", "clipindex", "groupindex"});
        ref = r, media = m, track = t, index = i, group = g;
    }

    bool names(const Stand& stand) const {
        return track && index && smallNumber(elementText(track)) == stand.track.number &&
               smallNumber(elementText(index)) == stand.index &&
               (!media || elementText(media) == (stand.track.video ? "video" : "audio"));
    }
};

struct LinkTarget {
    LinkParts parts;
    XMLNode item;  // null when it is gone
};

class LinkMender {
public:
    LinkMender(TimelineEdit& edit, const ImportContext& context)
        : edit_(edit),
          context_(context),
          delivery_(context.delivery.state()),
          source_(context.source.places()) {}

    void run() {
        findPieces();
        const XMLNode copy = edit_.sequence();
        readLinks(copy);
        copy.forEachDescendant({"sequence", "clip"}, [&](XMLNode element) {
            if (element.child("media")) readLinks(element);
        });
        renameSequence();
        renameItems();
        for (const auto& [item, targets] : links_) mendLinks(item, targets);
        delivery_.useIds(copy);
    }

private:
    // The pieces of a split item: the first keeps id and links, the others are apart.
    void findPieces() {
        const SequencePlaces places = SequencePlaces::of(edit_.sequence());
        std::unordered_map<XMLNode, std::vector<Stand>> pieces;  // by what they came from
        const Stands placed(places);
        for (const Stand& stand : placed.all())
            if (const XMLNode source = context_.source.itemOf(stand.node))
                pieces[source].push_back(stand);
        for (auto& [source, stands] : pieces) {
            std::stable_sort(stands.begin(), stands.end(),
                             [](const Stand& a, const Stand& b) { return a.start < b.start; });
            first_.emplace(source, stands.front().node);
            for (std::size_t i = 1; i < stands.size(); ++i) laterPieces_.insert(stands[i].node);
        }
    }

    // What links name

    void readLinks(XMLNode sequence) {
        const Stands stands{SequencePlaces::of(sequence)};
        const bool isCopy = sequence == edit_.sequence();
        for (const Stand& stand : stands.all()) {
            stands_.emplace(stand.node, stand);
            std::vector<LinkTarget> targets;
            for (const XMLNode link : childrenNamed(stand.node, "link")) {
                const LinkParts parts(link);
                targets.push_back({parts, target(parts, stands, isCopy)});
            }
            if (!targets.empty()) links_.emplace_back(stand.node, std::move(targets));
        }
    }

    // Ids may be repeated; then the place that the link names tells which item was meant: its place
    // now if the link is right, else in the source.
    XMLNode target(const LinkParts& parts, const Stands& stands, bool isCopy) const {
        const std::string id = parts.ref.stringValue();
        const std::vector<const Stand*> named = stands.withId(id);
        const std::vector<const Stand*> meant = isCopy ? source_.withId(id) : named;
        if (meant.size() > 1) {
            for (const Stand* const stand : named)
                if (parts.names(*stand)) return firstPiece(stand->node);
            for (const Stand* const stand : meant) {
                if (!parts.names(*stand)) continue;
                const auto piece = first_.find(stand->node);
                return piece == first_.end() ? XMLNode() : piece->second;
            }
        }
        return named.empty() ? XMLNode() : firstPiece(named.front()->node);
    }

    XMLNode firstPiece(XMLNode item) const {
        const auto first = first_.find(context_.source.itemOf(item));
        return first == first_.end() ? item : first->second;
    }

    // Ids

    void renameSequence() {
        const XMLNode copy = edit_.sequence();
        const std::string id = idOf(copy);
        if (id.empty() || !delivery_.ids.contains(id)) return;
        const TimelineEdit::Rewrite rewrite{copy, freeId(id), "id"};
        edit_.rewrite(copy, {&rewrite, 1}, "another sequence has the id " + id);
    }

    std::string freeId(const std::string& id) {
        std::size_t& number = numbers_.try_emplace(id, 1).first->second;
        std::string free;
        do {
            free = id + "-" + std::to_string(++number);
        } while (taken(free));
        return free;
    }

    bool taken(const std::string& id) const {
        return own_.contains(id) || !delivery_.isFree(id, context_.document);
    }

    // As a set, so that one sees that they belong together. The links go with them.
    void renameItems() {
        const std::vector<XMLNode> items = itemsWithIds();
        const bool anyUsed = std::any_of(items.begin(), items.end(), [&](XMLNode item) {
            return delivery_.ids.contains(idOf(item));
        });
        const std::string set = anyUsed ? freeSuffix(items) : std::string();
        // Ids that stay are taken before any is made up.
        for (const XMLNode& item : items) own_.insert(idOf(item) + set);
        std::unordered_map<XMLNode, std::string> ids;
        std::unordered_set<std::string> given;
        for (const XMLNode& item : items) {
            const std::string wanted = idOf(item) + set;
            const std::string id = given.insert(wanted).second ? wanted : freeId(wanted);
            own_.insert(id);
            ids.emplace(item, id);
        }
        std::vector<TimelineEdit::Rewrite> rewrites;
        for (const XMLNode& item : items)
            if (ids[item] != idOf(item)) rewrites.push_back({item, ids[item], "id"});
        const std::string reason = idReason(rewrites.size(), set);
        for (const auto& [item, targets] : links_)
            for (const LinkTarget& link : targets)
                if (const auto id = ids.find(link.item);
                    id != ids.end() && link.parts.ref.stringValue() != id->second)
                    rewrites.push_back({link.parts.ref, id->second});
        edit_.rewrite(edit_.sequence(), rewrites, reason);
    }

    // In document order, but the first piece of a split clip before the others.
    std::vector<XMLNode> itemsWithIds() const {
        std::vector<XMLNode> items;
        edit_.sequence().forEachDescendant({"clipitem", "generatoritem", "transitionitem"},
                                           [&](XMLNode item) {
                                               if (!idOf(item).empty()) items.push_back(item);
                                           });
        std::stable_partition(items.begin(), items.end(),
                              [&](XMLNode item) { return !laterPieces_.contains(item); });
        return items;
    }

    std::string freeSuffix(const std::vector<XMLNode>& items) const {
        std::string free(suffix);
        const auto isFree = [&](XMLNode item) {
            return delivery_.isFree(idOf(item) + free, context_.document);
        };
        for (std::size_t number = 2; !std::all_of(items.begin(), items.end(), isFree); ++number)
            free = std::string(suffix) + "-" + std::to_string(number);
        return free;
    }

    static std::string idReason(std::size_t count, const std::string& set) {
        const std::string who = count == 1 ? "1 item has" : std::to_string(count) + " items have";
        if (set.empty()) return who + " a new id, which was in use";
        return who + " a new id, with " + set + ": the ids were in use";
    }

    // Links

    void mendLinks(XMLNode item, const std::vector<LinkTarget>& targets) {
        if (laterPieces_.contains(item)) {
            for (const LinkTarget& link : targets)
                edit_.detach(link.parts.link, "the first piece of the clip keeps the links");
            return;
        }
        std::vector<const LinkTarget*> left;
        for (const LinkTarget& link : targets) {
            if (link.item)
                left.push_back(&link);
            else
                edit_.detach(link.parts.link, "linked to what is gone");
        }
        // Editing systems write a link of an item to itself beside others only.
        const bool anyGone = left.size() < targets.size();
        if (anyGone && left.size() == 1 && left.front()->item == item) {
            edit_.detach(left.front()->parts.link, "linked to nothing else any more");
            left.clear();
        }
        renumber(item, left);
    }

    void renumber(XMLNode item, const std::vector<const LinkTarget*>& links) {
        std::vector<TimelineEdit::Rewrite> rewrites;
        const auto write = [&](XMLNode element, const std::string& text) {
            if (element && element.stringValue() != text) rewrites.push_back({element, text});
        };
        std::vector<int> groups;
        for (const LinkTarget* const link : links) {
            const Stand& stand = stands_.at(link->item);
            write(link->parts.media, stand.track.video ? "video" : "audio");
            write(link->parts.track, std::to_string(stand.track.number));
            write(link->parts.index, std::to_string(stand.index));
            groups.push_back(smallNumber(elementText(link->parts.group)));
        }
        const std::vector<int> run = withoutHoles(groups);
        for (std::size_t i = 0; i < links.size(); ++i)
            if (run[i] != groups[i]) write(links[i]->parts.group, std::to_string(run[i]));
        edit_.rewrite(item, rewrites, "its links follow the items");
    }

    TimelineEdit& edit_;
    const ImportContext& context_;
    ImportDelivery::State& delivery_;
    const Stands source_;
    std::unordered_map<XMLNode, XMLNode> first_;  // pieces of the copy, by items of the source
    std::unordered_set<XMLNode> laterPieces_;
    std::unordered_map<XMLNode, Stand> stands_;
    std::vector<std::pair<XMLNode, std::vector<LinkTarget>>> links_;  // of each item
    std::unordered_map<std::string, std::size_t> numbers_;  // last used, of ids that were in use
    std::unordered_set<std::string> own_;                   // ids that the copy's items have or get
};

}  // namespace

void mendIdsAndLinks(TimelineEdit& edit, const ImportContext& context) {
    LinkMender(edit, context).run();
}

}  // namespace reelsweep::importing
