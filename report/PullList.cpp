#include "report/PullList.h"

#include "timeline/MediaUse.h"
#include "timeline/NestedSequence.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <map>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

namespace reelsweep {

namespace {

// The clips of a timeline and of what is nested in it, by their media.
class Collector {
public:
    void add(const Timeline& timeline) {
        for (const Track& track : timeline.tracks())
            for (const Item& item : track.items)
                if (track.enabled && item.enabled && !item.isEmpty()) add(item);
    }

    std::vector<PulledMedia> list() {
        std::vector<PulledMedia> all;
        for (auto& [key, uses] : uses_) all.push_back(pulled(uses));
        const auto order = [](const PulledMedia& pulled) {
            return std::tie(pulled.media->name, pulled.path);
        };
        std::stable_sort(all.begin(), all.end(), [&](const PulledMedia& a, const PulledMedia& b) {
            return order(a) < order(b);
        });
        return all;
    }

private:
    using Use = std::pair<FrameRange, const Item*>;

    void add(const Item& item) {
        if (item.kind == ItemKind::transition || !item.media) return;
        const Media& media = *item.media;
        if (media.nested && nested_.insert(media.nested).second) add(media.nested->timeline);
        const bool isFile =
            media.kind == Media::Kind::file || (media.kind == Media::Kind::undefined);
        if (!isFile || media.isBlack) return;
        const FrameRange frames =
            media.isStill ? FrameRange{{}, Frames{1}} : mediaRange(item, item.range);
        uses_[media.key].emplace_back(frames, &item);
    }

    static PulledMedia pulled(std::vector<Use>& uses) {
        std::stable_sort(uses.begin(), uses.end(),
                         [](const Use& a, const Use& b) { return a.first.start < b.first.start; });
        PulledMedia pulled;
        pulled.media = uses.front().second->media;
        pulled.path = pathOfURL(pulled.media->path);
        for (const auto& [frames, item] : uses) {
            if (pulled.stretches.empty() || frames.start > pulled.stretches.back().frames.end)
                pulled.stretches.push_back({frames, 0, {}, {}});
            PulledStretch& stretch = pulled.stretches.back();
            stretch.frames.end = std::max(stretch.frames.end, frames.end);
            ++stretch.clips;
        }
        for (PulledStretch& stretch : pulled.stretches) {
            stretch.in = mediaTimecode(*uses.front().second, stretch.frames.start);
            stretch.out = mediaTimecode(*uses.front().second, stretch.frames.end);
        }
        return pulled;
    }

    std::map<std::string_view, std::vector<Use>> uses_;
    std::set<const NestedSequence*> nested_;
};

}  // namespace

std::vector<PulledMedia> pullList(const Timeline& timeline) {
    Collector collector;
    collector.add(timeline);
    return collector.list();
}

std::string pathOfURL(std::string_view url) {
    constexpr std::string_view scheme = "file://";
    if (!url.starts_with(scheme)) return std::string(url);
    std::string_view rest = url.substr(scheme.size());
    if (rest.starts_with("localhost")) rest.remove_prefix(std::string_view("localhost").size());
    std::string path;
    for (std::size_t i = 0; i < rest.size(); ++i) {
        unsigned byte = 0;
        const char* const digits = rest.data() + i + 1;
        const bool isCoded = rest[i] == '%' && i + 2 < rest.size() &&
                             std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2 &&
                             byte >= 0x20;
        path += isCoded ? static_cast<char>(byte) : rest[i];
        if (isCoded) i += 2;
    }
    // "/C:/Media" is how a URL has a drive.
    const bool hasDrive = path.size() > 2 && path[0] == '/' && path[2] == ':' &&
                          std::isalpha(static_cast<unsigned char>(path[1]));
    return hasDrive ? path.substr(1) : path;
}

}  // namespace reelsweep
