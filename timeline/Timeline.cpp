#include "timeline/Timeline.h"

#include "timeline/TimelineContents.h"
#include "timeline/TimelineReader.h"

#include <algorithm>
#include <functional>

namespace reelsweep {

Timeline Timeline::of(XMLNode sequence, const std::shared_ptr<MediaCatalogue>& catalogue,
                      TimelineDetail detail) {
    auto contents = std::make_shared<Contents>();
    contents->catalogue = catalogue;
    contents->store = std::make_unique<TimelineStore>();
    TimelineReader(catalogue->contents(), *contents->store, detail).read(sequence, *contents);
    return Timeline(std::move(contents));
}

Timeline Timeline::ofEdited(XMLNode sequence, const Timeline& source, TimelineDetail detail) {
    auto contents = std::make_shared<Contents>();
    contents->catalogue = source.contents_->catalogue;
    contents->source = source.contents_;
    contents->store = std::make_unique<TimelineStore>();
    TimelineReader(contents->catalogue->contents(), *contents->store, detail)
        .read(sequence, *contents);
    return Timeline(std::move(contents));
}

std::string_view Timeline::name() const { return contents_->name; }
std::string_view Timeline::id() const { return contents_->id; }
const SequenceTimecode& Timeline::timecode() const { return contents_->timecode; }
FrameSize Timeline::size() const { return contents_->size; }
std::string_view Timeline::pixelAspect() const { return contents_->pixelAspect; }
Frames Timeline::end() const { return contents_->end; }
std::span<const Track> Timeline::tracks() const { return contents_->tracks; }
std::span<const Item> Timeline::items() const { return contents_->items; }
std::span<const Marker> Timeline::markers() const { return contents_->markers; }
const FilterStack& Timeline::mixFilters() const { return *contents_->mixFilters; }
const FilterStack& Timeline::pictureFilters() const { return *contents_->pictureFilters; }

std::span<const Track> Timeline::tracks(MediaType type) const {
    const std::size_t video = contents_->videoTracks;
    return type == MediaType::video ? tracks().first(video) : tracks().subspan(video);
}

const Track& Timeline::trackOf(const Item& item) const {
    // The items of all tracks stand one after the other.
    const auto past = std::partition_point(
        contents_->tracks.begin(), contents_->tracks.end(), [&](const Track& track) {
            return std::less_equal<>()(track.items.data() + track.items.size(), &item);
        });
    return *past;
}

std::string description(const Track& track) {
    return (track.type == MediaType::video ? "V" : "A") + std::to_string(track.number);
}

}  // namespace reelsweep
