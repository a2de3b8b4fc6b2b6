#include "timeline/TimelineReader.h"

#include "timeline/ElementText.h"
#include "timeline/ItemPlaces.h"
#include "timeline/MediaReader.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>

namespace reelsweep {

namespace {

constexpr ItemNotes noNotes;

bool isItem(XMLNode node) {
    const ElementName name(node);
    return (name == "clipitem" || name == "generatoritem" || name == "transitionitem") &&
           node.isElement();
}

std::size_t itemCount(XMLNode tracks) {
    std::size_t count = 0;
    for (const XMLNode track : childrenNamed(tracks, "track"))
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            count += isItem(node) ? 1 : 0;
    return count;
}

ItemKind kindOf(XMLNode node) {
    const ElementName name(node);
    return name == "clipitem"        ? ItemKind::clip
           : name == "generatoritem" ? ItemKind::generator
                                     : ItemKind::transition;
}

// Of several elements of one name the first counts.
void set(XMLNode& part, XMLNode element) {
    if (!part) part = element;
}

}  // namespace

void TimelineReader::read(XMLNode sequence, Timeline::Contents& contents) {
    source_ = contents.source.get();
    if (source_) document_ = DefinitionSearch::Document::edited;
    Draft& outermost = drafts_.emplace_back();
    outermost.node = sequence;
    outermost.contents = &contents;
    sequences_.add(elementId(sequence), &outermost);
    // Nested definitions are added while others are read.
    for (std::size_t i = 0; i < drafts_.size(); ++i) readSequence(drafts_[i]);
    finishFilters();
    finishFiles();
    finish(outermost, 0);
    rememberDefinitions(contents);
}

// For when the sequence is read again after an edit has taken definitions out.
void TimelineReader::rememberDefinitions(Timeline::Contents& contents) {
    contents.files = std::move(files_);
    for (const Draft& draft : drafts_)
        if (draft.nested) contents.sequences.add(draft.contents->id, draft.nested);
    contents.multiclips = std::move(multiclips_);
}

void TimelineReader::readSequence(Draft& draft) {
    draft_ = &draft;
    contents_ = draft.contents;
    const auto [name, media] = draft.node.firstChildren({"name", "media"});
    contents_->name = store_.arena.keep(elementText(name));
    contents_->id = store_.arena.keep(elementId(draft.node));
    contents_->timecode = SequenceTimecode::of(draft.node);
    contents_->timecode.rate = rateOf(draft.node.child("rate"));
    contents_->pictureFilters = contents_->mixFilters = catalogue_.filters.noFilters();
    const auto [video, audio] = media.firstChildren({"video", "audio"});
    contents_->items.reserve(itemCount(video) + itemCount(audio));
    readFormat(video);
    readTracks(video, MediaType::video);
    contents_->videoTracks = contents_->tracks.size();
    readTracks(audio, MediaType::audio);
    markers_.clear();
    if (detail_ == TimelineDetail::everything)
        for (const XMLNode marker : childrenNamed(draft.node, "marker")) readMarker(marker);
    contents_->markers = store_.arena.keep(markers_);
    for (const Item& item : contents_->items)
        contents_->end = std::max(contents_->end, item.range.end);
}

void TimelineReader::readFormat(XMLNode video) {
    const XMLNode characteristics = video.child("format").child("samplecharacteristics");
    contents_->size = readSize(characteristics);
    contents_->pixelAspect = store_.arena.keep(childText(characteristics, "pixelaspectratio"));
}

void TimelineReader::readTracks(XMLNode parent, MediaType type) {
    type_ = type;
    const FilterStack* const filters = readFilters(parent);
    (type == MediaType::video ? contents_->pictureFilters : contents_->mixFilters) = filters;
    int number = 0;
    for (const XMLNode node : childrenNamed(parent, "track")) {
        Track& track = contents_->tracks.emplace_back();
        track.type = type;
        track.number = ++number;
        track.node = node;
        readTrack(node, track);
    }
}

void TimelineReader::readTrack(XMLNode node, Track& track) {
    const std::size_t first = contents_->items.size();
    XMLNode enabled;
    std::vector<XMLNode> trackFilters;
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling()) {
        const ElementName name(child);
        if (isItem(child)) {
            readItem(child, contents_->items.emplace_back());
        } else if (name == "enabled") {
            set(enabled, child);
        } else if (name == "locked") {
            track.locked = isTrue(elementText(child));
        } else if (name == "outputchannelindex") {
            track.outputChannel = smallNumber(elementText(child));
        } else if (name == "name") {
            track.name = store_.arena.keep(elementText(child));
        } else if (name == "filter") {
            trackFilters.push_back(child);
        }
    }
    if (track.name.empty())
        track.name = store_.arena.keep(node.attribute("MZ.TrackName").value_or(""));
    track.enabled = !isFalse(elementText(enabled));
    track.filters = stackOf(trackFilters);
    // There is room for all items of the sequence, so they stay where they are.
    const std::span<Item> items = std::span(contents_->items).subspan(first);
    placeItems(items, contents_->timecode.rate);
    track.items = items;
}

void TimelineReader::readItem(XMLNode node, Item& item) {
    item.node = node;
    item.kind = kindOf(node);
    item.id = store_.arena.keep(elementId(node));
    item.rate = contents_->timecode.rate;
    item.notes = &noNotes;
    filters_.clear();
    links_.clear();
    markers_.clear();
    notes_ = {};
    hasMedia_ = false;
    ItemParts parts;
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling())
        readItemChild(child, item, parts);
    item.enabled = !isFalse(elementText(parts.enabled));
    item.source = {framesOrZero(parts.in), framesOrZero(parts.out)};
    setWrittenEdges(item, parts.start, parts.end);
    useFilters(item);
    if (item.kind == ItemKind::transition) {
        readTransition(item, parts);
    } else if (item.kind == ItemKind::generator) {
        item.media = readGenerator(node, store_.arena);
    } else if (!hasMedia_) {
        item.media = readNoMedia(item.name, store_.arena);
    }
    if (links_.empty() && markers_.empty() && notes_.label.empty() && notes_.colour.empty()) return;
    notes_.links = store_.arena.keep(links_);
    notes_.markers = store_.arena.keep(markers_);
    item.notes = store_.arena.make<ItemNotes>(notes_);
}

// One walk over an item's children: most of the time of reading goes here.
void TimelineReader::readItemChild(XMLNode child, Item& item, ItemParts& parts) {
    const ElementName name(child);
    const bool everything = detail_ == TimelineDetail::everything;
    const bool isClip = item.kind == ItemKind::clip;
    switch (name.first()) {
        case 'a':
            if (name == "alphatype") keep(item.alphaType, child);
            if (name == "alignment") set(parts.alignment, child);
            break;
        case 'c':
            if (name == "compositemode" && !equalInAnyCase(elementText(child), "normal"))
                keep(item.compositeMode, child);
            break;
        case 'e':
            if (name == "end") set(parts.end, child);
            if (name == "enabled") set(parts.enabled, child);
            if (name == "effect") set(parts.effect, child);
            break;
        case 'f':
            if (name == "filter") filters_.push_back(child);
            if (isClip && name == "file" && !hasMedia_) useFile(item, child);
            break;
        case 'i':
            if (name == "in") set(parts.in, child);
            break;
        case 'l':
            if (everything && name == "link") readLink(child);
            if (everything && name == "labels") readLabels(child);
            break;
        case 'm':
            if (everything && name == "masterclipid") keep(item.masterClip, child);
            if (isClip && name == "multiclip" && !hasMedia_) useMulticlip(item, child);
            if (everything && name == "marker") readMarker(child);
            break;
        case 'n':
            if (name == "name") keep(item.name, child);
            break;
        case 'o':
            if (name == "out") set(parts.out, child);
            break;
        case 'p':
            if (name == "pixelaspectratio") keep(item.pixelAspect, child);
            break;
        case 'r':
            if (name == "rate") item.rate = rateOf(child);
            break;
        case 's':
            if (name == "start") set(parts.start, child);
            if (isClip && name == "sequence" && !hasMedia_) useSequence(item, child);
            if (type_ == MediaType::audio && name == "sourcetrack")
                item.sourceChannel = smallNumber(childText(child, "trackindex"));
            if (name == "subclipinfo") item.subclipStart = framesOrZero(child.child("startoffset"));
            break;
        default: break;
    }
}

void TimelineReader::keep(std::string_view& text, XMLNode element) {
    if (text.empty()) text = store_.arena.keep(elementText(element));
}

void TimelineReader::readTransition(Item& item, const ItemParts& parts) {
    Transition transition;
    transition.alignment = alignmentOf(elementText(parts.alignment));
    const auto [name, id] = parts.effect.firstChildren({"name", "effectid"});
    keep(transition.effect, name);
    keep(transition.effectId, id);
    text_.clear();
    FilterPool::appendEffect(text_, parts.effect);
    transition.key = store_.arena.keep(text_.view());
    item.media = nullptr;
    item.transition = store_.arena.make<Transition>(transition);
}

const FilterStack* TimelineReader::readFilters(XMLNode parent) {
    filters_.clear();
    for (const XMLNode filter : childrenNamed(parent, "filter")) filters_.push_back(filter);
    return stackOf(filters_);
}

const FilterStack* TimelineReader::stackOf(const std::vector<XMLNode>& filters) {
    if (filters.empty()) return catalogue_.filters.noFilters();
    finishFilters();
    return catalogue_.filters.stackOf(filters);
}

void TimelineReader::useFilters(Item& item) {
    // A thread takes as long to start as it takes to read some dozen items.
    constexpr std::size_t manyItems = 1000;
    item.filters = catalogue_.filters.noFilters();
    if (filters_.empty()) return;
    filterUses_.items.push_back({&item, filters_.size()});
    filterUses_.filters.insert(filterUses_.filters.end(), filters_.begin(), filters_.end());
    if (filterUses_.items.size() == manyItems) handOverFilters();
}

void TimelineReader::handOverFilters() {
    if (filtersHandedOver_.valid()) filtersHandedOver_.get();
    filtersHandedOver_ = std::async(
        std::launch::async | std::launch::deferred,
        [uses = std::exchange(filterUses_, {}), &pool = catalogue_.filters] { uses.read(pool); });
}

void TimelineReader::finishFilters() {
    if (filtersHandedOver_.valid()) filtersHandedOver_.get();
    std::exchange(filterUses_, {}).read(catalogue_.filters);
}

void TimelineReader::FilterUses::read(FilterPool& pool) const {
    auto next = filters.begin();
    for (const auto& [item, count] : items) {
        item->filters = pool.stackOf(std::span(next, count));
        next += static_cast<std::ptrdiff_t>(count);
    }
}

// What does not say its own rate has that of its sequence.
FrameRate TimelineReader::rateOf(XMLNode rate) const {
    const FrameRate read = readRate(rate);
    return read.known() ? read : contents_->timecode.rate;
}

void TimelineReader::readLabels(XMLNode labels) {
    keep(notes_.label, labels.child("label"));
    keep(notes_.colour, labels.child("label2"));
}

void TimelineReader::readLink(XMLNode node) {
    Link link;
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling()) {
        const ElementName name(child);
        if (name == "linkclipref") keep(link.clipRef, child);
        if (name == "mediatype") keep(link.mediaType, child);
        if (name == "trackindex") link.trackIndex = smallNumber(elementText(child));
        if (name == "clipindex") link.clipIndex = smallNumber(elementText(child));
        if (name == "groupindex") link.groupIndex = smallNumber(elementText(child));
    }
    links_.push_back(link);
}

void TimelineReader::readMarker(XMLNode node) {
    Marker marker;
    keep(marker.name, node.child("name"));
    keep(marker.comment, node.child("comment"));
    const auto [in, out, colour] = node.firstChildren({"in", "out", "pproColor"});
    keep(marker.colour, colour);
    marker.in = framesOrZero(in);
    marker.out = framesIn(out).value_or(edgeInTransition);
    markers_.push_back(marker);
}

}  // namespace reelsweep
