#include "report/PictureProof.h"

#include "timeline/DifferenceText.h"
#include "timeline/PictureDifference.h"

namespace reelsweep {

std::string pictureChangeText(const SequenceLedger& sequence) {
    if (!sequence.picture || sequence.picture->isAsAsked()) return {};
    const PictureDifference& picture = *sequence.picture;
    const bool isPicture = picture.changed(MediaType::video) > Frames{0};
    const MediaType type = isPicture ? MediaType::video : MediaType::audio;
    return groupedNumber(picture.changed(type)) + " of " + groupedNumber(picture.frames()) +
           (isPicture ? " frames show another picture" : " frames have another sound");
}

std::vector<const Difference*> unaskedDifferences(const SequenceLedger& sequence) {
    std::vector<const Difference*> found;
    if (!sequence.picture) return found;
    for (const MediaType type : {MediaType::video, MediaType::audio})
        for (const Difference& difference : sequence.picture->differences(type))
            if (!difference.asked) found.push_back(&difference);
    return found;
}

std::string pictureSumText(const ChangeLedger& ledger) {
    Frames frames, same, asked;
    bool any = false;
    for (const SequenceLedger& sequence : ledger.sequences) {
        if (!sequence.picture) continue;
        any = true;
        frames = frames + sequence.picture->frames();
        same = same + sequence.picture->same(MediaType::video);
        asked = asked + sequence.picture->asked(MediaType::video);
    }
    if (!any) return {};
    std::string text =
        groupedNumber(same) + " of " + groupedNumber(frames) + " frames show the same picture";
    if (asked > Frames{0}) text += ", " + groupedNumber(asked) + " another as asked";
    return text;
}

}  // namespace reelsweep
