#include "timeline/MediaCatalogue.h"

#include "timeline/TimelineContents.h"

namespace reelsweep {

MediaCatalogue::MediaCatalogue(XMLNode root) : contents_(std::make_unique<Contents>(root)) {}

MediaCatalogue::~MediaCatalogue() = default;

std::shared_ptr<MediaCatalogue> MediaCatalogue::of(XMLNode root) {
    return std::shared_ptr<MediaCatalogue>(new MediaCatalogue(root));
}

}  // namespace reelsweep
