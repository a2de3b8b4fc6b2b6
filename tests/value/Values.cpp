#include "tests/value/Values.h"

#include "tests/plain/PlainPicture.h"

#include <algorithm>
#include <unordered_map>

namespace reelsweep::test {

namespace {

// What a frame shows, with the looks of clips kept: they are the same at every frame.
class FrameTexts {
public:
    FrameTexts(XMLNode document, bool isVideo) : document_(document), isVideo_(isVideo) {}

    std::string of(const Contributor& contributor, Frames frame) {
        const Item& item = *contributor.item;
        std::string& look = looks_[item.node];
        if (look.empty()) look = plainLook(document_, item.node, isVideo_);
        std::string text = look + plainSource(document_, item.node, isVideo_, item.hasPlace(),
                                              contributor.sourceFrame(frame));
        if (contributor.side == TransitionSide::none) return text;
        return text + (contributor.side == TransitionSide::incoming ? " into " : " out of ") +
               plainTransition(contributor.transition->node);
    }

private:
    XMLNode document_;
    bool isVideo_;
    std::unordered_map<XMLNode, std::string> looks_;
};

}  // namespace

reelsweep::Timeline valueOf(const Timeline& timeline) {
    return reelsweep::Timeline::of(timeline.sequence, MediaCatalogue::of(timeline.document.node()));
}

reelsweep::Timeline valueOf(std::string_view notation) { return valueOf(Timeline(notation)); }

std::string intervalsText(const Intervals& intervals) {
    std::string text;
    for (const Interval& interval : intervals) {
        if (!text.empty()) text += "  ";
        text += interval.range.start.text() + "-" + interval.range.end.text();
        for (const Contributor& contributor : interval.contributors) {
            text += " " + std::string(contributor.item->name) + "@" +
                    contributor.sourceFrame(interval.range.start).text();
            if (contributor.side == TransitionSide::outgoing) text += ">";
            if (contributor.side == TransitionSide::incoming) text += "<";
            if (contributor.covers) text += "#";
        }
    }
    return text;
}

std::string differencesText(const PictureDifference& difference, MediaType type) {
    std::string text;
    for (const Difference& one : difference.differences(type)) {
        if (!text.empty()) text += ", ";
        text += std::string(one.asked ? "asked " : "changed ") +
                std::string(description(one.kind)) + " [" + one.range.start.text() + "," +
                one.range.end.text() + ")";
    }
    return text;
}

std::vector<std::string> frameTexts(const Intervals& intervals, XMLNode document, int first,
                                    int end) {
    const bool isVideo = intervals.type() == MediaType::video;
    FrameTexts texts(document, isVideo);
    std::vector<std::string> frames(static_cast<std::size_t>(end - first));
    for (const Interval& interval : intervals) {
        const Frames from = std::max(interval.range.start, Frames{first});
        for (Frames f = from; f < std::min(interval.range.end, Frames{end}); f = f + Frames{1}) {
            std::vector<std::string> seen;
            for (const Contributor& contributor : interval.contributors)
                seen.push_back(texts.of(contributor, f));
            if (!isVideo) std::sort(seen.begin(), seen.end());
            for (const std::string& one : seen)
                frames[static_cast<std::size_t>(f.count - first)] += "[" + one + "]";
        }
    }
    return frames;
}

}  // namespace reelsweep::test
