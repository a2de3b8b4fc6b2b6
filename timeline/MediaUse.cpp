#include "timeline/MediaUse.h"

#include <algorithm>
#include <cstdint>

namespace reelsweep {

namespace {

// Products of a time and two rates.
__extension__ using Wide = __int128;

// A number of frames at one rate as frames at another, rounded down.
Frames atRate(Frames frames, FrameRate from, FrameRate to) {
    if (!from.known() || !to.known()) return frames;
    const Wide scaled =
        static_cast<Wide>(frames.count) * to.timebase * (from.ntsc && !to.ntsc ? 1001 : 1000);
    const Wide divisor = static_cast<Wide>(from.timebase) * (to.ntsc && !from.ntsc ? 1001 : 1000);
    return {static_cast<std::int64_t>(scaled / divisor - (scaled % divisor < 0 ? 1 : 0))};
}

}  // namespace

FrameRate mediaRate(const Item& item) {
    return item.media && item.media->rate.known() ? item.media->rate : item.rate;
}

Frames mediaFrame(const Item& item, Frames own) {
    return atRate(item.filters->speed.mediaFrame(own), item.rate, mediaRate(item));
}

FrameRange mediaRange(const Item& item, FrameRange onTimeline) {
    const Frames firstOwn = item.line.at(onTimeline.start);
    const Frames first = mediaFrame(item, firstOwn);
    if (onTimeline.end <= onTimeline.start) return {first, first};
    const Frames lastOwn = item.line.at(onTimeline.end - Frames{1});
    auto [low, high] = std::minmax({first, mediaFrame(item, lastOwn)});
    // Between its ends a remapped clip may turn around.
    for (const Keyframe& key : item.filters->speed.keyframes) {
        if (key.when < firstOwn || key.when > lastOwn) continue;
        const Frames frame = mediaFrame(item, key.when);
        low = std::min(low, frame);
        high = std::max(high, frame);
    }
    return {low, high + Frames{1}};
}

std::string mediaTimecode(const Item& item, Frames frame) {
    const FrameRate rate = mediaRate(item);
    if (!item.media || !rate.known()) return frame.text();
    const bool dropFrame = item.media->dropFrame && rate.ntsc && rate.timebase % 30 == 0;
    return timecode(item.media->timecodeStart + frame, rate, dropFrame);
}

}  // namespace reelsweep
