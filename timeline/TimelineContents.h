// What a Timeline and a MediaCatalogue hold; for the sources that read and make them.
#pragma once

#include "timeline/DefinitionSearch.h"
#include "timeline/FilterPool.h"
#include "timeline/MediaCatalogue.h"
#include "timeline/NestedSequence.h"
#include "timeline/TextArena.h"
#include "timeline/TextTable.h"
#include "timeline/Timeline.h"

#include <deque>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace reelsweep {

/// What the sequences of one reading share: their texts, and those of them that are nested.
struct TimelineStore {
    TextArena arena;
    std::deque<Timeline::Contents> nestedContents;
    std::deque<NestedSequence> nested;
};

struct Timeline::Contents {
    std::shared_ptr<MediaCatalogue> catalogue;  ///< null for what the catalogue or a store owns
    std::unique_ptr<TimelineStore> store;       ///< of the outermost sequence; null for nested ones
    std::shared_ptr<const Contents> source;     ///< what the sequence was before it was edited
    /// Of the outermost sequence: what is known by id in it, nested sequences included.
    TextTable<const Media*> files;
    TextTable<const NestedSequence*> sequences;
    TextTable<XMLNode> multiclips;
    std::string_view name;
    std::string_view id;
    SequenceTimecode timecode;
    FrameSize size;
    std::string_view pixelAspect;
    Frames end;
    std::vector<Track> tracks;
    std::size_t videoTracks = 0;
    std::vector<Item> items;
    const FilterStack* mixFilters = nullptr;
    const FilterStack* pictureFilters = nullptr;
    std::span<const Marker> markers;
};

struct MediaCatalogue::Contents {
    explicit Contents(XMLNode root) : definitions(root) {}

    FilterPool filters;
    TextArena arena;

    DefinitionSearch definitions;

    std::unordered_map<XMLNode, const Media*> files;
    /// Nested sequences that are defined outside the sequence that is read; null while one is being
    /// read, which is met again only in a circle.
    std::unordered_map<XMLNode, const NestedSequence*> sequences;
    std::deque<std::unique_ptr<Timeline::Contents>> ownedSequences;
    std::deque<NestedSequence> nested;
    int depth = 0;  ///< of references from document-wide definition to definition
};

}  // namespace reelsweep
