// TimelineReader: reads a sequence and those nested in it into Timeline contents.
//
// Items first, references last: a track may refer to a `file` that is defined further down, since
// passes move clips between tracks.
// The filters of many items at once are read on a second thread, while the items after them are.
// The tree is only read meanwhile, and only that thread adds to the filters of the catalogue.
// Thread rule: the thread that owns the tree and the catalogue.
#pragma once

#include "timeline/TextTable.h"
#include "timeline/TimelineContents.h"

#include <cstddef>
#include <future>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace reelsweep {

class TimelineReader {
public:
    TimelineReader(MediaCatalogue::Contents& catalogue, TimelineStore& store, TimelineDetail detail)
        : catalogue_(catalogue), store_(store), detail_(detail) {}

    /// Reads a sequence with all that is nested in it, and finds what it refers to.
    void read(XMLNode sequence, Timeline::Contents& contents);

private:
    struct Draft;
    // An item whose media is another sequence.
    struct SequenceUse {
        Item* item;
        std::string_view id;
        Draft* definition;  // null for a reference by id
    };
    // A sequence whose definition stands in the one that is read, or that one itself.
    struct Draft {
        XMLNode node;
        Timeline::Contents* contents = nullptr;
        std::vector<SequenceUse> uses;
        const NestedSequence* nested = nullptr;
        bool isBeingFinished = false;
    };
    // An item whose file may be defined further on.
    struct FileUse {
        Item* item;
        std::string_view id;
        std::string_view syncOffset;  // of the angle, when it is one of a multiclip
    };
    struct ItemParts {
        XMLNode start, end, in, out, enabled, alignment, effect;
    };

    void readSequence(Draft& draft);
    void readFormat(XMLNode video);
    void readTracks(XMLNode parent, MediaType type);
    void readTrack(XMLNode node, Track& track);
    void readItem(XMLNode node, Item& item);
    void readItemChild(XMLNode child, Item& item, ItemParts& parts);
    void readTransition(Item& item, const ItemParts& parts);
    const FilterStack* readFilters(XMLNode parent);
    const FilterStack* stackOf(const std::vector<XMLNode>& filters);
    void useFilters(Item& item);
    void handOverFilters();
    void finishFilters();
    FrameRate rateOf(XMLNode rate) const;

    void keep(std::string_view& text, XMLNode element);

    void useFile(Item& item, XMLNode file, std::string_view syncOffset = {});
    void useMulticlip(Item& item, XMLNode multiclip);
    void useSequence(Item& item, XMLNode sequence);
    void readLabels(XMLNode labels);
    void readLink(XMLNode link);
    void readMarker(XMLNode marker);

    void finishFiles();
    const Media* fileDefinedElsewhere(std::string_view id);
    void rememberDefinitions(Timeline::Contents& contents);
    const Media* angleOf(const Media& file, std::string_view syncOffset);
    const NestedSequence* finish(Draft& draft, int depth);
    const NestedSequence* nestedDefinedElsewhere(std::string_view id);
    const Media* sequenceMedia(const NestedSequence& nested);

    MediaCatalogue::Contents& catalogue_;
    TimelineStore& store_;
    const TimelineDetail detail_;
    const Timeline::Contents* source_ = nullptr;  // before it was edited; null when not known
    DefinitionSearch::Document document_ = DefinitionSearch::Document::unchanged;
    std::deque<Draft> drafts_;  // the first is the outermost
    TextTable<Draft*> sequences_;
    TextTable<const Media*> files_;
    TextTable<XMLNode> multiclips_;
    std::unordered_map<const NestedSequence*, const Media*> sequenceMedia_;
    std::vector<FileUse> fileUses_;

    // Items whose filters are still to be read, and the filters of all of them in their order.
    struct FilterUses {
        struct Use {
            Item* item;
            std::size_t count;
        };
        std::vector<Use> items;
        std::vector<XMLNode> filters;

        void read(FilterPool& pool) const;
    };
    FilterUses filterUses_;
    std::future<void> filtersHandedOver_;

    // Of the sequence, track and item that are being read.
    Draft* draft_ = nullptr;
    Timeline::Contents* contents_ = nullptr;
    MediaType type_ = MediaType::video;
    std::vector<XMLNode> filters_;
    bool hasMedia_ = false;
    ItemNotes notes_;
    std::vector<Link> links_;
    std::vector<Marker> markers_;
    ContentText text_;
};

}  // namespace reelsweep
