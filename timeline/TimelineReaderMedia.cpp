// What the items of a sequence play: files, angles of multiclips, other sequences.
#include "timeline/ElementText.h"
#include "timeline/MediaReader.h"
#include "timeline/TimelineReader.h"

#include <string>

namespace reelsweep {

namespace {

// Definitions that refer to one another any deeper than this are taken for undefined.
constexpr int deepestNesting = 50;

// A Timeline that its owner keeps alive by other means.
Timeline unowned(const Timeline::Contents& contents) {
    return Timeline(std::shared_ptr<const Timeline::Contents>(std::shared_ptr<void>(), &contents));
}

}  // namespace

void TimelineReader::useFile(Item& item, XMLNode file, std::string_view syncOffset) {
    hasMedia_ = true;
    if (!isDefinition(file)) {
        fileUses_.push_back({&item, elementId(file), syncOffset});
        return;
    }
    const Media* const media = readFile(file, store_.arena);
    if (!media->id.empty()) files_.add(media->id, media);
    item.media = angleOf(*media, syncOffset);
}

void TimelineReader::useMulticlip(Item& item, XMLNode multiclip) {
    const std::string_view id = elementId(multiclip);
    if (isDefinition(multiclip)) {
        multiclips_.add(store_.arena.keep(id), multiclip);
        // Other clips may refer to the files of the angles that are not active.
        for (const XMLNode angle : childrenNamed(multiclip, "angle")) {
            const XMLNode file = angle.child("clip").child("file");
            if (isDefinition(file) && !files_.find(elementId(file)))
                files_.add(store_.arena.keep(elementId(file)), readFile(file, store_.arena));
        }
    } else if (const XMLNode* const here = multiclips_.find(id)) {
        multiclip = *here;
    } else if (const XMLNode* const before = source_ ? source_->multiclips.find(id) : nullptr) {
        multiclip = *before;
    } else if (const XMLNode elsewhere = catalogue_.definitions.multiclip(id, document_)) {
        multiclip = elsewhere;
    }
    const XMLNode file = activeFile(multiclip, type_);
    if (file) useFile(item, file, childText(file.parent(), "syncoffset"));
}

void TimelineReader::useSequence(Item& item, XMLNode sequence) {
    hasMedia_ = true;
    const std::string_view id = elementId(sequence);
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
    if (const Media* const* const known = source_ ? source_->files.find(id) : nullptr)
        return *known;
    const Media* media = nullptr;
    if (const XMLNode definition = catalogue_.definitions.file(id, document_)) {
        const Media*& known = catalogue_.files[definition];
        if (!known) known = readFile(definition, catalogue_.arena);
        media = known;
    } else {
        media = undefinedMedia("file", id, store_.arena);
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
    if (const auto* const known = source_ ? source_->sequences.find(id) : nullptr) return *known;
    const XMLNode definition = catalogue_.definitions.sequence(id, document_);
    if (!definition || catalogue_.depth > deepestNesting) return nullptr;
    const auto [known, isNew] = catalogue_.sequences.try_emplace(definition, nullptr);
    if (!isNew) return known->second;
    auto& contents =
        *catalogue_.ownedSequences.emplace_back(std::make_unique<Timeline::Contents>());
    contents.store = std::make_unique<TimelineStore>();
    ++catalogue_.depth;
    TimelineReader reader(catalogue_, *contents.store, detail_);
    reader.document_ = document_;
    reader.read(definition, contents);
    --catalogue_.depth;
    const NestedSequence& nested =
        catalogue_.nested.emplace_back(NestedSequence::of(unowned(contents)));
    catalogue_.sequences[definition] = &nested;
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
