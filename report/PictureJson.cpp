#include "report/PictureJson.h"

#include "timeline/DifferenceText.h"

#include <nlohmann/json.hpp>

namespace reelsweep {

namespace {

using Json = nlohmann::ordered_json;

Json contributorsValue(std::span<const Contributor> contributors, Frames frame) {
    Json list = Json::array();
    for (const Contributor& contributor : contributors)
        list.push_back(contributorText(contributor, frame));
    return list;
}

Json differenceValue(const Difference& difference, const SequenceTimecode& timecode) {
    Json value;
    value["type"] = description(difference.type);
    value["kind"] = description(difference.kind);
    value["asked"] = difference.asked;
    value["start"] = difference.range.start.count;
    value["end"] = difference.range.end.count;
    const bool isKnown = timecode.rate.known();
    value["startTimecode"] = isKnown ? Json(timecode.text(difference.range.start)) : Json(nullptr);
    value["endTimecode"] = isKnown ? Json(timecode.text(difference.range.end)) : Json(nullptr);
    value["before"] = contributorsValue(difference.before, difference.range.start);
    value["after"] = contributorsValue(difference.after, difference.range.start);
    value["text"] = differenceText(difference, timecode);
    return value;
}

Json halfValue(const PictureDifference& picture, MediaType type) {
    Json half;
    half["same"] = picture.same(type).count;
    half["asked"] = picture.asked(type).count;
    half["changed"] = picture.changed(type).count;
    return half;
}

}  // namespace

Json pictureJson(const PictureDifference& picture) {
    Json value;
    value["frames"] = picture.frames().count;
    value["picture"] = halfValue(picture, MediaType::video);
    value["sound"] = halfValue(picture, MediaType::audio);
    value["differences"] = Json::array();
    for (const MediaType type : {MediaType::video, MediaType::audio})
        for (const Difference& difference : picture.differences(type))
            value["differences"].push_back(
                differenceValue(difference, picture.source().timecode()));
    return value;
}

}  // namespace reelsweep
