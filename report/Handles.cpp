#include "report/Handles.h"

#include "timeline/DifferenceText.h"
#include "timeline/MediaUse.h"

namespace reelsweep {

std::vector<ShortHandle> shortHandles(const Timeline& timeline, Frames wanted) {
    std::vector<ShortHandle> found;
    for (const Track& track : timeline.tracks()) {
        if (!track.enabled) continue;
        for (const Item& item : track.items) {
            const Media* const media = item.media;
            if (item.kind != ItemKind::clip || !item.enabled || item.isEmpty() || !media) continue;
            if (media->kind != Media::Kind::file || media->isStill || media->isBlack) continue;
            if (media->duration <= Frames{0}) continue;
            const FrameRange used = mediaRange(item, item.range);
            const ShortHandle handle{&track, &item, used.start, media->duration - used.end};
            if (handle.head < wanted || handle.tail < wanted) found.push_back(handle);
        }
    }
    return found;
}

std::string shortHandleText(const Timeline& timeline, const ShortHandle& handle) {
    const Item& item = *handle.item;
    std::string text = description(*handle.track) + " " + timeline.timecode().text(item.cut.start);
    text += " ";
    text += item.name.empty() ? item.media->name : item.name;
    return text + ": " + groupedNumber(handle.head) +
           (handle.head == Frames{1} ? " frame before, " : " frames before, ") +
           groupedNumber(handle.tail) + " after";
}

}  // namespace reelsweep
