#include "report/Otio.h"

#include "timeline/MediaUse.h"
#include "timeline/NestedSequence.h"

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace reelsweep {

namespace {

using Json = nlohmann::ordered_json;

// Stacks may nest as deep as the files do; readers of JSON have their limits.
constexpr int deepestStack = 20;

// The format has its rates as decimal numbers of frames a second.
double rateNumber(FrameRate rate) {
    const double timebase = rate.known() ? static_cast<double>(rate.timebase) : 25.0;
    return rate.ntsc ? timebase * 1000.0 / 1001.0 : timebase;
}

Json time(Frames frames, FrameRate rate) {
    return {{"OTIO_SCHEMA", "RationalTime.1"},
            {"rate", rateNumber(rate)},
            {"value", static_cast<double>(frames.count)}};
}

Json range(Json start, Json duration) {
    return {{"OTIO_SCHEMA", "TimeRange.1"},
            {"duration", std::move(duration)},
            {"start_time", std::move(start)}};
}

Json named(const char* schema, std::string_view name) {
    return {{"OTIO_SCHEMA", schema}, {"metadata", Json::object()}, {"name", name}};
}

// What every clip, gap and stack has.
Json item(const char* schema, std::string_view name, Json sourceRange, bool isEnabled) {
    Json value = named(schema, name);
    value["source_range"] = std::move(sourceRange);
    value["effects"] = Json::array();
    value["markers"] = Json::array();
    value["enabled"] = isEnabled;
    return value;
}

// The colours that the format knows.
std::string markerColour(std::string_view colour) {
    constexpr std::string_view known[] = {"PINK", "RED",    "ORANGE",  "YELLOW", "GREEN", "CYAN",
                                          "BLUE", "PURPLE", "MAGENTA", "BLACK",  "WHITE"};
    std::string upper(colour);
    for (char& letter : upper)
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    return std::find(std::begin(known), std::end(known), upper) == std::end(known) ? "RED" : upper;
}

Json markersValue(std::span<const Marker> markers, Frames origin, FrameRate rate) {
    Json list = Json::array();
    for (const Marker& marker : markers) {
        Json value = named("Marker.2", marker.name);
        value["color"] = markerColour(marker.colour);
        const Frames length = marker.out > marker.in ? marker.out - marker.in : Frames{};
        value["marked_range"] = range(time(origin + marker.in, rate), time(length, rate));
        if (!marker.comment.empty()) value["metadata"]["reelsweep"]["comment"] = marker.comment;
        list.push_back(std::move(value));
    }
    return list;
}

Json referenceValue(const Item& clip) {
    const Media* const media = clip.media;
    if (!media || media->kind == Media::Kind::none || media->kind == Media::Kind::undefined)
        return named("MissingReference.1", media ? media->name : std::string_view());
    Json reference;
    if (media->kind == Media::Kind::generator || (media->isBlack && media->path.empty())) {
        reference = named("GeneratorReference.1", media->name);
        reference["generator_kind"] = media->isBlack ? "black" : std::string(media->name);
        reference["parameters"] = Json::object();
    } else {
        reference = named("ExternalReference.1", media->name);
        reference["target_url"] = media->path;
    }
    reference["available_range"] = nullptr;
    if (media->duration > Frames{0})
        reference["available_range"] = range(time(media->timecodeStart, mediaRate(clip)),
                                             time(media->duration, mediaRate(clip)));
    reference["available_image_bounds"] = nullptr;
    if (!media->reel.empty()) reference["metadata"]["reelsweep"]["reel"] = media->reel;
    return reference;
}

void addEffects(Json& value, const FilterStack& stack) {
    const Speed& speed = stack.speed;
    if (speed.kind == Speed::Kind::constant) {
        double scalar = std::strtod(std::string(speed.percent).c_str(), nullptr) / 100;
        if (speed.reversed && scalar > 0) scalar = -scalar;
        Json warp = named(scalar == 0 ? "FreezeFrame.1" : "LinearTimeWarp.1", "");
        warp["effect_name"] = scalar == 0 ? "FreezeFrame" : "LinearTimeWarp";
        warp["enabled"] = true;
        warp["time_scalar"] = scalar;
        value["effects"].push_back(std::move(warp));
    }
    for (const Filter& filter : stack.filters) {
        if (filter.meaning == FilterMeaning::speed && speed.kind == Speed::Kind::constant) continue;
        if (filter.isNeutral) continue;
        Json effect = named("Effect.1", filter.name);
        effect["effect_name"] = filter.effectId;
        effect["enabled"] = filter.enabled;
        value["effects"].push_back(std::move(effect));
    }
}

// One timeline, with what is nested in it.
class Maker {
public:
    Json stackOf(const Timeline& timeline, std::string_view name, int depth) {
        Json stack = item("Stack.1", name, nullptr, true);
        stack["markers"] = markersValue(timeline.markers(), {}, timeline.rate());
        stack["children"] = Json::array();
        for (const Track& track : timeline.tracks())
            stack["children"].push_back(trackValue(timeline, track, depth));
        return stack;
    }

    std::size_t leftOut = 0;

private:
    Json trackValue(const Timeline& timeline, const Track& track, int depth) {
        const std::string number = description(track);
        Json value = item("Track.1", track.name.empty() ? number : std::string(track.name), nullptr,
                          track.enabled);
        value["kind"] = track.type == MediaType::video ? "Video" : "Audio";
        value["children"] = Json::array();
        Json& children = value["children"];
        Frames at;
        for (const Item& each : track.items) {
            if (each.kind == ItemKind::transition) continue;
            const FrameRange place{std::max(each.cut.start, at), each.cut.end};
            if (place.end <= place.start) {
                ++leftOut;
                continue;
            }
            const Item* const in = each.fadesIn;
            // A transition between two clips stands there already, after the first of them.
            const bool isFadeIn = in && !in->transition->outgoing;
            if (place.start > at || (isFadeIn && children.empty()))
                children.push_back(gap(place.start - at, timeline.rate()));
            if (isFadeIn) children.push_back(transitionValue(*in, place.start, timeline.rate()));
            children.push_back(clipValue(each, place, timeline.rate(), depth));
            if (each.fadesOut)
                children.push_back(transitionValue(*each.fadesOut, place.end, timeline.rate()));
            at = place.end;
        }
        return value;
    }

    static Json gap(Frames length, FrameRate rate) {
        return item("Gap.1", "", range(time({}, rate), time(length, rate)), true);
    }

    static Json transitionValue(const Item& transition, Frames cut, FrameRate rate) {
        Json value = named("Transition.1", transition.transition->effect);
        const bool isDissolve = transition.transition->effect == "Cross Dissolve";
        value["transition_type"] = isDissolve ? "SMPTE_Dissolve" : "Custom_Transition";
        const auto offset = [&](Frames length) { return time(std::max(length, Frames{}), rate); };
        value["in_offset"] = offset(cut - transition.range.start);
        value["out_offset"] = offset(transition.range.end - cut);
        return value;
    }

    Json clipValue(const Item& clip, FrameRange place, FrameRate rate, int depth) {
        const Frames first = mediaFrame(clip, clip.line.at(place.start));
        const Frames origin = clip.media ? clip.media->timecodeStart : Frames{};
        const Json length = time(place.end - place.start, rate);
        const std::string_view name =
            clip.name.empty() && clip.media ? clip.media->name : clip.name;
        const NestedSequence* const nested = clip.media ? clip.media->nested : nullptr;
        Json value;
        if (nested && depth < deepestStack) {
            value = stackOf(nested->timeline, name, depth + 1);
            value["source_range"] = range(time(first, nested->timeline.rate()), length);
            value["enabled"] = clip.enabled;
        } else {
            value = item("Clip.2", name, range(time(origin + first, mediaRate(clip)), length),
                         clip.enabled);
            value["markers"] = markersValue(clip.notes->markers, origin, mediaRate(clip));
            value["media_references"] = {{"DEFAULT_MEDIA", referenceValue(clip)}};
            value["active_media_reference_key"] = "DEFAULT_MEDIA";
        }
        addEffects(value, *clip.filters);
        addMetadata(value, clip);
        return value;
    }

    static void addMetadata(Json& value, const Item& clip) {
        Json own = Json::object();
        if (!clip.id.empty()) own["id"] = clip.id;
        if (!clip.compositeMode.empty()) own["compositeMode"] = clip.compositeMode;
        if (!clip.notes->label.empty()) own["label"] = clip.notes->label;
        if (!clip.notes->colour.empty()) own["colour"] = clip.notes->colour;
        if (!own.empty()) value["metadata"]["reelsweep"] = std::move(own);
    }
};

}  // namespace

WrittenOtio writeOtio(const Timeline& timeline, std::string_view name, ByteSink& sink) {
    Maker maker;
    Json document = named("Timeline.1", name);
    document["global_start_time"] = time(timeline.timecode().start, timeline.rate());
    document["tracks"] = maker.stackOf(timeline, "tracks", 0);
    WrittenOtio written;
    // Names in files may decode to bytes that are no UTF-8.
    written.ok = sink.write(document.dump(4, ' ', false, Json::error_handler_t::replace) + "\n");
    written.leftOut = maker.leftOut;
    return written;
}

}  // namespace reelsweep
