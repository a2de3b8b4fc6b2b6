// Ids that are unique in what is delivered, and links that name what is there.
#include "tidy/ImportParts.h"

#include "timeline/ElementText.h"
#include "timeline/ImportFaults.h"
#include "timeline/MediaReader.h"
#include "timeline/Vocabulary.h"

#include <algorithm>
#include <deque>

namespace reelsweep::importing {

namespace {

constexpr std::string_view suffix = "-Tidied";

std::string_view idOf(XMLNode element) { return element.attribute("id").value_or(""); }

// An item with its place, for looking it up by what links say of it.
struct Stand {
    XMLNode node;
    TrackLabel track;
    int index = 0;
    Frames start;
    const Stand* next = nullptr;  // of the same id
};

// The items of a sequence by id, as long as no id is edited.
class Stands {
public:
    explicit Stands(const SequencePlaces& places) {
        for (const PlacedTrack& track : places.tracks())
            for (const PlacedItem& item : track.items) {
                all_.push_back(
                    {item.item->node, track.label, item.index, item.sourcePlace().start});
                Stand& stand = all_.back();
                WithId& same = byId_[idOf(stand.node)];
                (same.first ? same.last->next : same.first) = &stand;
                same.last = &stand;
            }
    }

    const std::deque<Stand>& all() const { return all_; }
    /// The first in the order of the tracks; the others hang on it. Null for none.
    const Stand* withId(std::string_view id) const {
        const auto found = byId_.find(id);
        return found == byId_.end() ? nullptr : found->second.first;
    }

private:
    struct WithId {
        const Stand* first = nullptr;
        Stand* last = nullptr;
    };
    std::deque<Stand> all_;
    std::unordered_map<std::string_view, WithId> byId_;
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
    LinkMender(TimelineEdit& edit, const ImportContext& context, const SequencePlaces& places)
        : edit_(edit),
          context_(context),
          delivery_(context.delivery.state()),
          source_(context.source.places()),
          copy_(places) {}

    void run() {
        findPieces();
        const XMLNode copy = edit_.sequence();
        readLinks(copy_, true);
        copy.forEachDescendant({"sequence", "clip"}, [&](XMLNode element) {
            if (element.child("media"))
                readLinks(nested_.emplace_back(SequencePlaces::of(element)), false);
        });
        renameSequence();
        renameItems();
        for (const auto& [item, targets] : links_) mendLinks(item, targets);
        delivery_.useLater(copy);
    }

private:
    // The pieces of a split item: the first keeps id and links, the others are apart.
    void findPieces() {
        std::unordered_map<XMLNode, const Stand*> earliest;  // by what they came from
        for (const Stand& stand : copy_.all()) {
            const XMLNode source = context_.source.itemOf(stand.node);
            if (!source) continue;
            const auto [known, isNew] = earliest.try_emplace(source, &stand);
            if (isNew) continue;
            const bool isEarlier = stand.start < known->second->start;
            laterPieces_.insert((isEarlier ? known->second : &stand)->node);
            if (isEarlier) known->second = &stand;
        }
        for (const auto& [source, stand] : earliest) first_.emplace(source, stand->node);
    }

    // What links name

    void readLinks(const Stands& stands, bool isCopy) {
        for (const Stand& stand : stands.all()) {
            stands_.emplace(stand.node, &stand);
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
        const Stand* const named = stands.withId(id);
        const Stand* const meant = isCopy ? source_.withId(id) : named;
        if (meant && meant->next) {
            for (const Stand* stand = named; stand; stand = stand->next)
                if (parts.names(*stand)) return firstPiece(stand->node);
            for (const Stand* stand = meant; stand; stand = stand->next) {
                if (!parts.names(*stand)) continue;
                const auto piece = first_.find(stand->node);
                return piece == first_.end() ? XMLNode() : piece->second;
            }
        }
        return named ? firstPiece(named->node) : XMLNode();
    }

    XMLNode firstPiece(XMLNode item) const {
        const auto first = first_.find(context_.source.itemOf(item));
        return first == first_.end() ? item : first->second;
    }

    // Ids

    void renameSequence() {
        const XMLNode copy = edit_.sequence();
        const std::string id(idOf(copy));
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
            return delivery_.ids.contains(std::string(idOf(item)));
        });
        const std::string set = anyUsed ? freeSuffix(items) : std::string();
        // Ids that stay are taken before any is made up.
        std::vector<bool> isFirst;
        isFirst.reserve(items.size());
        for (const XMLNode& item : items)
            isFirst.push_back(own_.insert(std::string(idOf(item)) + set).second);
        std::unordered_map<XMLNode, std::string> ids;
        std::vector<TimelineEdit::Rewrite> rewrites;
        for (std::size_t i = 0; i < items.size(); ++i) {
            std::string id = std::string(idOf(items[i])) + set;
            if (!isFirst[i]) own_.insert(id = freeId(id));
            if (id != idOf(items[i])) rewrites.push_back({items[i], id, "id"});
            ids.emplace(items[i], std::move(id));
        }
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
            return delivery_.isFree(std::string(idOf(item)) + free, context_.document);
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
            const Stand& stand = *stands_.at(link->item);
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
    const Stands copy_;
    std::deque<Stands> nested_;
    std::unordered_map<XMLNode, XMLNode> first_;  // pieces of the copy, by items of the source
    std::unordered_set<XMLNode> laterPieces_;
    std::unordered_map<XMLNode, const Stand*> stands_;
    std::vector<std::pair<XMLNode, std::vector<LinkTarget>>> links_;  // of each item
    std::unordered_map<std::string, std::size_t> numbers_;  // last used, of ids that were in use
    std::unordered_set<std::string> own_;                   // ids that the copy's items have or get
};

}  // namespace

void mendIdsAndLinks(TimelineEdit& edit, const ImportContext& context,
                     const SequencePlaces& places) {
    LinkMender(edit, context, places).run();
}

}  // namespace reelsweep::importing
