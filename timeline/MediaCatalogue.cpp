#include "timeline/MediaCatalogue.h"

#include "timeline/MediaReader.h"
#include "timeline/TimelineContents.h"

namespace reelsweep {

MediaCatalogue::MediaCatalogue(XMLNode root) : contents_(std::make_unique<Contents>()) {
    contents_->root = root;
}

MediaCatalogue::~MediaCatalogue() = default;

std::shared_ptr<MediaCatalogue> MediaCatalogue::of(XMLNode root) {
    return std::shared_ptr<MediaCatalogue>(new MediaCatalogue(root));
}

const MediaCatalogue::Contents::Found& MediaCatalogue::Contents::definitions() {
    if (found_) return *found_;
    found_ = std::make_unique<Found>();
    root.forEachDescendant({"file", "sequence", "multiclip"}, [&](XMLNode node) {
        const auto id = node.attribute("id");
        if (!id || !isDefinition(node)) return;
        Definitions& kind = node.isElement("file")       ? found_->files
                            : node.isElement("sequence") ? found_->sequences
                                                         : found_->multiclips;
        kind.emplace(arena.keep(*id), node);
    });
    return *found_;
}

}  // namespace reelsweep
