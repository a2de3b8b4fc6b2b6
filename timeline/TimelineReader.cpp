#include "timeline/TimelineReader.h"

#include "timeline/ElementText.h"
#include "timeline/ItemPlaces.h"
#include "timeline/MediaReader.h"

#include <algorithm>
#include <string>

namespace reelsweep {

namespace {

// Definitions that refer to one another any deeper than this are taken for undefined.
constexpr int deepestNesting = 50;

constexpr ItemNotes noNotes;

std::string_view idOf(XMLNode element) { return element.attribute("id").value_or(""); }

// A Timeline that its owner keeps alive by other means.
Timeline unowned(const Timeline::Contents& contents) {
    return Timeline(std::shared_ptr<const Timeline::Contents>(std::shared_ptr<void>(), &contents));
}

std::size_t itemCount(XMLNode tracks) {
    std::size_t count = 0;
    for (const XMLNode track : childrenNamed(tracks, "track"))
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            count += isTimelineItem(node) ? 1 : 0;
    return count;
}

ItemKind kindOf(XMLNode node) {
    const std::string_view name = node.name();
    return is(name, "clipitem")        ? ItemKind::clip
           : is(name, "generatoritem") ? ItemKind::generator
                                       : ItemKind::transition;
}

// Of several elements of one name the first counts.
void set(std::string_view& text, XMLNode element) {
    if (text.data() == nullptr) text = elementText(element);
}

}  // namespace

void TimelineReader::read(XMLNode sequence, Timeline::Contents& contents) {
    Draft& outermost = drafts_.emplace_back();
    outermost.node = sequence;
    outermost.contents = &contents;
    sequences_.add(idOf(sequence), &outermost);
    // Nested definitions are added while others are read.
    for (std::size_t i = 0; i < drafts_.size(); ++i) readSequence(drafts_[i]);
    finishFiles();
    finish(outermost, 0);
}

void TimelineReader::readSequence(Draft& draft) {
    draft_ = &draft;
    contents_ = draft.contents;
    const auto [name, media] = draft.node.firstChildren({"name", "media"});
    contents_->name = store_.arena.keep(elementText(name));
    contents_->id = store_.arena.keep(idOf(draft.node));
    contents_->timecode = SequenceTimecode::of(draft.node);
    contents_->timecode.rate = readRate(draft.node.child("rate"));
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
    std::string_view enabled;
    std::vector<XMLNode> trackFilters;
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling()) {
        const std::string_view name = child.name();
        if (is(name, "clipitem") || is(name, "generatoritem") || is(name, "transitionitem")) {
            if (child.isElement()) readItem(child, contents_->items.emplace_back());
        } else if (is(name, "enabled")) {
            set(enabled, child);
        } else if (is(name, "locked")) {
            track.locked = isTrue(elementText(child));
        } else if (is(name, "outputchannelindex")) {
            track.outputChannel = smallNumber(elementText(child));
        } else if (is(name, "name")) {
            track.name = store_.arena.keep(elementText(child));
        } else if (is(name, "filter")) {
            trackFilters.push_back(child);
        }
    }
    if (track.name.empty())
        track.name = store_.arena.keep(node.attribute("MZ.TrackName").value_or(""));
    track.enabled = !isFalse(enabled);
    track.filters = catalogue_.filters.stackOf(trackFilters);
    // There is room for all items of the sequence, so they stay where they are.
    const std::span<Item> items = std::span(contents_->items).subspan(first);
    placeItems(items, contents_->timecode.rate);
    track.items = items;
}

void TimelineReader::readItem(XMLNode node, Item& item) {
    item.node = node;
    item.kind = kindOf(node);
    item.id = store_.arena.keep(idOf(node));
    item.rate = contents_->timecode.rate;
    item.notes = &noNotes;
    filters_.clear();
    links_.clear();
    markers_.clear();
    notes_ = {};
    hasMedia_ = false;
    ItemTexts texts;
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling())
        readItemChild(child, item, texts);
    item.enabled = !isFalse(texts.enabled);
    item.source = {leadingFrames(texts.in), leadingFrames(texts.out)};
    setWrittenEdges(item, texts.start, texts.end);
    item.filters = catalogue_.filters.stackOf(filters_);
    if (item.kind == ItemKind::transition) {
        readTransition(item, texts);
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
void TimelineReader::readItemChild(XMLNode child, Item& item, ItemTexts& texts) {
    const std::string_view name = child.name();
    const bool everything = detail_ == TimelineDetail::everything;
    const bool isClip = item.kind == ItemKind::clip;
    switch (name.empty() ? '\0' : name.front()) {
        case 'a':
            if (is(name, "alphatype")) keep(item.alphaType, child);
            if (is(name, "alignment")) set(texts.alignment, child);
            break;
        case 'c':
            if (is(name, "compositemode") && !equalInAnyCase(elementText(child), "normal"))
                keep(item.compositeMode, child);
            break;
        case 'e':
            if (is(name, "end")) set(texts.end, child);
            if (is(name, "enabled")) set(texts.enabled, child);
            if (is(name, "effect") && !texts.effect) texts.effect = child;
            break;
        case 'f':
            if (is(name, "filter")) filters_.push_back(child);
            if (isClip && is(name, "file") && !hasMedia_) useFile(item, child);
            break;
        case 'i':
            if (is(name, "in")) set(texts.in, child);
            break;
        case 'l':
            if (everything && is(name, "link")) readLink(child);
            if (everything && is(name, "labels")) readLabels(child);
            break;
        case 'm':
            if (everything && is(name, "masterclipid")) keep(item.masterClip, child);
            if (isClip && is(name, "multiclip") && !hasMedia_) useMulticlip(item, child);
            if (everything && is(name, "marker")) readMarker(child);
            break;
        case 'n':
            if (is(name, "name")) keep(item.name, child);
            break;
        case 'o':
            if (is(name, "out")) set(texts.out, child);
            break;
        case 'p':
            if (is(name, "pixelaspectratio")) keep(item.pixelAspect, child);
            break;
        case 'r':
            if (is(name, "rate")) item.rate = readRate(child);
            break;
        case 's':
            if (is(name, "start")) set(texts.start, child);
            if (isClip && is(name, "sequence") && !hasMedia_) useSequence(item, child);
            if (type_ == MediaType::audio && is(name, "sourcetrack"))
                item.sourceChannel = smallNumber(childText(child, "trackindex"));
            if (is(name, "subclipinfo"))
                item.subclipStart = leadingFrames(childText(child, "startoffset"));
            break;
        default: break;
    }
}

void TimelineReader::keep(std::string_view& text, XMLNode element) {
    if (text.empty()) text = store_.arena.keep(elementText(element));
}

void TimelineReader::readTransition(Item& item, const ItemTexts& texts) {
    Transition transition;
    transition.alignment = alignmentOf(texts.alignment);
    const auto [name, id] = texts.effect.firstChildren({"name", "effectid"});
    keep(transition.effect, name);
    keep(transition.effectId, id);
    text_.clear();
    FilterPool::appendEffect(text_, texts.effect);
    transition.key = store_.arena.keep(text_);
    item.media = nullptr;
    item.transition = store_.arena.make<Transition>(transition);
}

const FilterStack* TimelineReader::readFilters(XMLNode parent) {
    filters_.clear();
    for (const XMLNode filter : childrenNamed(parent, "filter")) filters_.push_back(filter);
    return catalogue_.filters.stackOf(filters_);
}

// What does not say its own rate has that of its sequence.
FrameRate TimelineReader::readRate(XMLNode rate) const {
    const auto [timebase, ntsc] = rate.firstChildren({"timebase", "ntsc"});
    const FrameRate read{leadingFrames(elementText(timebase)).count, isTrue(elementText(ntsc))};
    return read.known() ? read : contents_->timecode.rate;
}

void TimelineReader::readLabels(XMLNode labels) {
    keep(notes_.label, labels.child("label"));
    keep(notes_.colour, labels.child("label2"));
}

void TimelineReader::readLink(XMLNode node) {
    Link link;
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling()) {
        const std::string_view name = child.name();
        if (is(name, "linkclipref")) keep(link.clipRef, child);
        if (is(name, "mediatype")) keep(link.mediaType, child);
        if (is(name, "trackindex")) link.trackIndex = smallNumber(elementText(child));
        if (is(name, "clipindex")) link.clipIndex = smallNumber(elementText(child));
        if (is(name, "groupindex")) link.groupIndex = smallNumber(elementText(child));
    }
    links_.push_back(link);
}

void TimelineReader::readMarker(XMLNode node) {
    Marker marker;
    keep(marker.name, node.child("name"));
    keep(marker.comment, node.child("comment"));
    const auto [in, out, colour] = node.firstChildren({"in", "out", "pproColor"});
    keep(marker.colour, colour);
    marker.in = leadingFrames(elementText(in));
    marker.out = framesIn(elementText(out)).value_or(edgeInTransition);
    markers_.push_back(marker);
}

// Media

void TimelineReader::useFile(Item& item, XMLNode file, std::string_view syncOffset) {
    hasMedia_ = true;
    if (!isDefinition(file)) {
        fileUses_.push_back({&item, idOf(file), syncOffset});
        return;
    }
    const Media* const media = readFile(file, store_.arena);
    if (!media->id.empty()) files_.add(media->id, media);
    item.media = angleOf(*media, syncOffset);
}

void TimelineReader::useMulticlip(Item& item, XMLNode multiclip) {
    const std::string_view id = idOf(multiclip);
    if (isDefinition(multiclip)) {
        multiclips_.add(id, multiclip);
        // Other clips may refer to the files of the angles that are not active.
        for (const XMLNode angle : childrenNamed(multiclip, "angle")) {
            const XMLNode file = angle.child("clip").child("file");
            if (isDefinition(file) && !files_.find(idOf(file)))
                files_.add(store_.arena.keep(idOf(file)), readFile(file, store_.arena));
        }
    } else if (const XMLNode* const here = multiclips_.find(id)) {
        multiclip = *here;
    } else {
        const auto& elsewhere = catalogue_.definitions().multiclips;
        const auto found = elsewhere.find(id);
        if (found != elsewhere.end()) multiclip = found->second;
    }
    const XMLNode file = activeFile(multiclip, type_);
    if (file) useFile(item, file, childText(file.parent(), "syncoffset"));
}

void TimelineReader::useSequence(Item& item, XMLNode sequence) {
    hasMedia_ = true;
    const std::string_view id = idOf(sequence);
    if (!isDefinition(sequence)) {
        draft_->uses.push_back({&item, id, nullptr});
        return;
    }
    Draft& nested = drafts_.emplace_back();
    nested.node = sequence;
    nested.contents = &store_.nestedContents.emplace_back();
    sequences_.add(id, &nested);
    draft_->uses.push_back({&item, id, &nested});
}

void TimelineReader::finishFiles() {
    for (const FileUse& use : fileUses_) {
        const Media* const* const found = files_.find(use.id);
        const Media* const media = found ? *found : fileDefinedElsewhere(use.id);
        use.item->media = angleOf(*media, use.syncOffset);
    }
}

const Media* TimelineReader::fileDefinedElsewhere(std::string_view id) {
    const auto& definitions = catalogue_.definitions().files;
    const auto definition = definitions.find(id);
    const Media* media = nullptr;
    if (definition == definitions.end()) {
        media = undefinedMedia("file", id, store_.arena);
    } else {
        const Media*& known = catalogue_.files[definition->second];
        if (!known) known = readFile(definition->second, catalogue_.arena);
        media = known;
    }
    files_.add(store_.arena.keep(id), media);
    return media;
}

// The same file in an angle that is shifted against the others shows other frames.
const Media* TimelineReader::angleOf(const Media& file, std::string_view syncOffset) {
    if (leadingFrames(syncOffset) == Frames{0}) return &file;
    Media angle = file;
    angle.key = store_.arena.keep(std::string(file.key) + " shifted by " +
                                  leadingFrames(syncOffset).text());
    return store_.arena.make<Media>(angle);
}

const NestedSequence* TimelineReader::finish(Draft& draft, int depth) {
    if (draft.nested || draft.isBeingFinished || depth > deepestNesting) return draft.nested;
    draft.isBeingFinished = true;
    for (const SequenceUse& use : draft.uses) {
        Draft* const* const here = sequences_.find(use.id);
        const NestedSequence* const nested = use.definition ? finish(*use.definition, depth + 1)
                                             : here         ? finish(**here, depth + 1)
                                                            : nestedDefinedElsewhere(use.id);
        use.item->media =
            nested ? sequenceMedia(*nested) : undefinedMedia("sequence", use.id, store_.arena);
    }
    draft.isBeingFinished = false;
    if (depth > 0)
        draft.nested = &store_.nested.emplace_back(NestedSequence::of(unowned(*draft.contents)));
    return draft.nested;
}

const NestedSequence* TimelineReader::nestedDefinedElsewhere(std::string_view id) {
    const auto& definitions = catalogue_.definitions().sequences;
    const auto definition = definitions.find(id);
    if (definition == definitions.end() || catalogue_.depth > deepestNesting) return nullptr;
    const auto [known, isNew] = catalogue_.sequences.try_emplace(definition->second, nullptr);
    if (!isNew) return known->second;
    auto& contents =
        *catalogue_.ownedSequences.emplace_back(std::make_unique<Timeline::Contents>());
    contents.store = std::make_unique<TimelineStore>();
    ++catalogue_.depth;
    TimelineReader(catalogue_, *contents.store, detail_).read(definition->second, contents);
    --catalogue_.depth;
    const NestedSequence& nested =
        catalogue_.nested.emplace_back(NestedSequence::of(unowned(contents)));
    catalogue_.sequences[definition->second] = &nested;
    return &nested;
}

const Media* TimelineReader::sequenceMedia(const NestedSequence& nested) {
    const Media*& known = sequenceMedia_[&nested];
    if (known) return known;
    Media media;
    media.kind = Media::Kind::sequence;
    media.nested = &nested;
    media.name = nested.timeline.name();
    media.id = nested.timeline.id();
    media.rate = nested.timeline.rate();
    media.size = nested.timeline.size();
    media.pixelAspect = nested.timeline.pixelAspect();
    media.timecodeStart = nested.timeline.timecode().start;
    media.duration = nested.timeline.end();
    media.key = store_.arena.keep("sequence " + std::string(media.name));
    return known = store_.arena.make<Media>(media);
}

}  // namespace reelsweep
