// Puts the active angle in the place of a multicam clip.
//
//   angle A     [gap][ aa ][  bb  ]
//   angle B     [    cc    ][ dd  ]
//   multicam clip, A active       [bb]     ->    clip [bb], from the media of bb
//
// Only where one clip of one angle is all that shows: then the multicam clip's place, name and what
// hangs on it go to a copy of that clip, and times inside move with the change of time base:
//
//   time in the copy = time in the multicam - where the angle's clip stands + where it starts
#include "tidy/FCPXPasses.h"
#include "tidy/fcpx/FCPXVocabulary.h"

#include <algorithm>
#include <array>

namespace reelsweep::fcpx {

namespace {

// The order that the format asks for inside a clip.
constexpr auto order = std::to_array<std::string_view>(
    {"note", "conform-rate", "timeMap", "adjust-", "", "lane", "marker", "chapter-marker", "rating",
     "keyword", "analysis-marker", "audio-channel-source", "filter-", "metadata"});
// What stands in any order among its like.
constexpr std::size_t markerPlace = 6;
constexpr std::size_t lastMarkerPlace = 10;

std::size_t placeInClip(XMLNode node) {
    if (!node.isElement()) return 4;
    if (isStoryItem(node) || node.isElement("spine"))
        return node.attribute("lane").value_or("0") == "0" ? 4 : 5;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const std::string_view name = order[i];
        const bool matches = name.ends_with('-') ? node.name().starts_with(name)
                                                 : !name.empty() && node.name() == name;
        if (matches) return i >= markerPlace && i <= lastMarkerPlace ? markerPlace : i;
    }
    return 4;
}

bool isTimed(XMLNode node) {
    bool found = false;
    node.forEachDescendant({"keyframe", "keyframeAnimation", "fadeIn", "fadeOut", "timept"},
                           [&](XMLNode) { found = true; });
    return found;
}

// Why a multicam clip stays as it is.
using Reason = const char*;

// One multicam clip.
class Flattening {
public:
    Flattening(FCPXRun& run, const Resources& resources, XMLNode multicamClip)
        : run_(run), resources_(resources), old_(multicamClip) {}

    /// Answers null when it was done.
    Reason flatten() {
        for (const auto step : {&Flattening::findAngle, &Flattening::findTimes,
                                &Flattening::findClip, &Flattening::lookInside})
            if (const Reason reason = (this->*step)()) return reason;
        run_.edit.replace(old_, made(), "its active angle takes its place");
        return nullptr;
    }

private:
    Reason findAngle() {
        const XMLNode media = resources_.find(old_.attribute("ref").value_or(""));
        multicam_ = media.child("multicam");
        if (!multicam_) return "its multicam is not in the file";
        source_ = old_.child("mc-source");
        if (!source_) return "it does not say which angle is active";
        if (old_.attribute("audioStart") || old_.attribute("audioDuration"))
            return "its sound begins or ends elsewhere";
        if (source_.nextSibling("mc-source")) return "picture and sound are of different angles";
        if (source_.attribute("srcEnable").value_or("all") != "all")
            return "only a part of its angle is used";
        const auto id = source_.attribute("angleID");
        for (XMLNode angle = multicam_.child("mc-angle"); angle;
             angle = angle.nextSibling("mc-angle"))
            if (id && angle.attribute("angleID") == id) angle_ = angle;
        return angle_ ? nullptr : "its multicam does not have the active angle";
    }

    Reason findTimes() {
        if (old_.child("timeMap") || old_.child("conform-rate")) return "its speed is changed";
        const RationalTime zero;
        angleAt_ =
            multicam_.attribute("tcStart") ? timeOf(multicam_, "tcStart") : std::optional(zero);
        start_ = old_.attribute("start") ? timeOf(old_, "start") : angleAt_;
        const auto duration = timeOf(old_, "duration");
        if (start_ && duration) end_ = RationalTime::sum(*start_, *duration);
        return angleAt_ && start_ && end_ ? nullptr : "its times cannot be read";
    }

    // The one clip of the angle that shows from the start to the end.
    Reason findClip() {
        std::optional<RationalTime> at = angleAt_;
        for (XMLNode node = angle_.firstChild(); node; node = node.nextSibling()) {
            if (!node.isElement()) continue;
            if (node.isElement("transition")) return "there are transitions in its angle";
            if (node.attribute("offset")) at = timeOf(node, "offset");
            const auto duration = timeOf(node, "duration");
            const auto end = at && duration ? RationalTime::sum(*at, *duration) : std::nullopt;
            if (!end) return "the times of its angle cannot be read";
            if (*at <= *start_ && *end_ <= *end) {
                clip_ = node;
                clipAt_ = *at;
                return nullptr;
            }
            at = end;
        }
        return "no single clip of its angle covers it";
    }

    Reason lookInside() {
        const bool isMedia = clip_.isElement("asset-clip") || clip_.isElement("clip") ||
                             clip_.isElement("video") || clip_.isElement("ref-clip");
        if (!isMedia) return "its angle does not show media there";
        if (clip_.attribute("audioStart") || clip_.attribute("audioDuration"))
            return "the sound of its angle begins or ends elsewhere";
        if (isDisabled(clip_)) return "its angle is switched off there";
        if (clip_.child("timeMap") || clip_.child("conform-rate"))
            return "the speed of its angle is changed";
        auto clipStart = timeOf(clip_, "start");
        if (!clip_.attribute("start")) {
            const XMLNode asset = resources_.find(clip_.attribute("ref").value_or(""));
            clipStart = asset.attribute("start") ? timeOf(asset, "start") : RationalTime();
        }
        if (clipStart) shift_ = RationalTime::difference(*clipStart, clipAt_);
        if (!shift_ || !RationalTime::sum(*start_, *shift_)) return "its times cannot be read";
        for (XMLNode node = old_.firstChild(); node; node = node.nextSibling())
            if (const Reason reason = lookAt(node)) return reason;
        for (XMLNode node = source_.firstChild(); node; node = node.nextSibling()) {
            if (!node.isElement()) continue;
            if (!node.name().starts_with("filter-") && !node.name().starts_with("adjust-"))
                return "the roles of its angle are set";
            if (isTimed(node)) return "effects on it change over time";
            if (node.name().starts_with("adjust-")) return "its angle is adjusted in it";
        }
        return nullptr;
    }

    Reason lookAt(XMLNode node) const {
        if (!node.isElement() || node == source_) return nullptr;
        if (node.name().starts_with("adjust-")) return "it is adjusted";
        if (node.name().starts_with("filter-") && isTimed(node))
            return "effects on it change over time";
        const char* const time = isStoryItem(node) || node.isElement("spine") ? "offset" : "start";
        if (!node.attribute(time)) return nullptr;
        const auto there = timeOf(node, time);
        return there && RationalTime::sum(*there, *shift_) ? nullptr : "its times cannot be read";
    }

    XMLNode made() const {
        XMLNode clip = clip_.copy();
        for (const char* const name : {"lane", "offset", "name", "duration", "enabled", "modDate"})
            if (const auto value = old_.attribute(name)) clip.setAttribute(name, *value);
        if (!old_.attribute("offset")) clip.removeAttribute("offset");
        clip.setAttribute("start", RationalTime::sum(*start_, *shift_)->text());
        std::vector<XMLNode> children;
        for (const XMLNode from : {old_, source_})
            for (XMLNode node = from.firstChild(); node; node = node.nextSibling())
                if (node.isElement() && node != source_) children.push_back(node);
        for (XMLNode child : children) add(clip, child);
        return clip;
    }

    // Behind its like. A thing that there is one of gives way to the multicam clip's own.
    void add(XMLNode clip, XMLNode child) const {
        if (placeInClip(child) == 5 || placeInClip(child) == markerPlace) {
            const char* const time = placeInClip(child) == 5 ? "offset" : "start";
            if (const auto there = timeOf(child, time))
                child.setAttribute(time, RationalTime::sum(*there, *shift_)->text());
        }
        for (const char* const single : {"note", "metadata"})
            if (XMLNode had = clip.child(single); had && child.isElement(single)) had.detach();
        XMLNode next = clip.firstChild();
        while (next && placeInClip(next) <= placeInClip(child)) next = next.nextSibling();
        if (next)
            clip.insertBefore(child, next);
        else
            clip.appendChild(child);
    }

    FCPXRun& run_;
    const Resources& resources_;
    XMLNode old_;
    XMLNode multicam_;
    XMLNode source_;
    XMLNode angle_;
    XMLNode clip_;
    std::optional<RationalTime> angleAt_;  ///< the time at which the angle begins
    std::optional<RationalTime> start_;    ///< of what shows, in the time of the multicam
    std::optional<RationalTime> end_;
    RationalTime clipAt_;                ///< where the angle's clip stands, in the same time
    std::optional<RationalTime> shift_;  ///< from the time of the multicam to that of the clip
};

}  // namespace

Outcome fcpxFlattenMulticam(FCPXRun& run) {
    const Resources resources(run.document());
    for (const XMLNode clip : elementsNamed(run.document(), {"mc-clip"})) {
        if (run.stop.stop_requested()) return stopped();
        if (const Reason reason = Flattening(run, resources, clip).flatten())
            run.edit.noteKept(clip, reason);
    }
    return Done{};
}

}  // namespace reelsweep::fcpx
