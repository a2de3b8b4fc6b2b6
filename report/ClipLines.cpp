// What a person should know of a clip of a picture.
#include "report/PictureLabel.h"
#include "report/ReasonText.h"
#include "report/TimelinePicture.h"
#include "tidy/PassTable.h"

#include <algorithm>

namespace reelsweep {

namespace {

constexpr std::size_t mostChanges = 4;

std::string kindOf(const DrawnClip& clip) {
    if (clip.isSlug) return "slug";
    switch (clip.kind) {
        case ItemKind::clip: return "clip";
        case ItemKind::generator: return "generator";
        case ItemKind::transition: return "transition";
    }
    return {};
}

std::string timesOf(FrameRange range, const SequenceTimecode& timecode) {
    return timecode.text(range.start) + " – " + timecode.text(range.end);
}

std::string titleOf(std::string_view pass) {
    const PassRow* const row = passNamed(pass);
    return std::string(row ? row->title : pass);
}

// "moved from V4 to V1", "trimmed from 00:00:01:00 – 00:00:04:00", "removed: ..."
std::string fateText(const TimelinePicture& picture, ClipPlace place) {
    const DrawnClip& clip = picture.at(place);
    std::string text(description(clip.fate));
    const ClipPlace other = picture.partnerOf(place);
    if (other.isSomewhere() && (clip.fate == ClipFate::moved || clip.fate == ClipFate::trimmed)) {
        const char* const joint = place.side == PictureSide::before ? " to " : " from ";
        text += joint + description(picture.rowOf(other).label) + " " +
                timesOf(picture.at(other).range, picture.timecode());
    }
    if (clip.reason != noEntry)
        text += ": " + reasonWithTimecode(picture.reason(clip.reason), picture.timecode());
    return text;
}

// "2 changes in it by Remove filters"
void addInnerChanges(const TimelinePicture& picture, ClipPlace place,
                     std::vector<std::string>& lines) {
    std::vector<std::pair<std::string_view, std::size_t>> passes;
    for (const TimelinePicture::ChangedClip& change : picture.changes()) {
        const std::uint32_t clip = place.side == PictureSide::before ? change.before : change.after;
        if (clip != place.clip) continue;
        const auto known = std::find_if(passes.begin(), passes.end(),
                                        [&](const auto& row) { return row.first == change.pass; });
        if (known == passes.end())
            passes.emplace_back(change.pass, 1);
        else
            ++known->second;
    }
    for (std::size_t i = 0; i < std::min(passes.size(), mostChanges); ++i)
        lines.push_back(titleOf(passes[i].first) + ": " + std::to_string(passes[i].second) +
                        (passes[i].second == 1 ? " change" : " changes"));
}

}  // namespace

std::vector<std::string> clipLines(const TimelinePicture& picture, ClipPlace place) {
    const DrawnClip& clip = picture.at(place);
    const SequenceTimecode& timecode = picture.timecode();
    std::vector<std::string> lines;
    const std::string kind = kindOf(clip);
    lines.push_back((clip.name.empty() ? "no name" : std::string(clip.name)) + ", " + kind +
                    " on " + description(picture.rowOf(place).label) +
                    (place.side == PictureSide::before ? ", before" : ", after"));
    lines.push_back(timesOf(clip.range, timecode));
    if (!clip.media.empty() && clip.media != clip.name)
        lines.push_back("media " + std::string(clip.media));
    if (clip.kind != ItemKind::transition)
        lines.push_back("in " + clip.source.start.text() + ", out " + clip.source.end.text());
    if (clip.isOff) lines.emplace_back("disabled");
    for (const FrameRange& hidden : picture.side(place.side).hiddenOf(clip))
        if (lines.size() < 2 * mostChanges)
            lines.push_back(hidden == clip.range ? "hidden by what is above"
                                                 : "hidden " + timesOf(hidden, timecode));
    if (clip.fate != ClipFate::same) lines.push_back(fateText(picture, place));
    addInnerChanges(picture, place, lines);
    if (clip.kept != noEntry) {
        const TimelinePicture::KeptClip& kept = picture.kept()[clip.kept];
        lines.push_back("kept by " + titleOf(kept.pass) + ": " +
                        reasonWithTimecode(kept.reason, timecode));
    }
    return lines;
}

std::string clipLabel(const TimelinePicture& picture, ClipPlace place) {
    const DrawnClip& clip = picture.at(place);
    std::string label(clip.isSlug && clip.name.empty() ? "Slug" : clip.name);
    const ClipPlace other = picture.partnerOf(place);
    if (clip.fate != ClipFate::moved || !other.isSomewhere()) return label;
    return label + (place.side == PictureSide::before ? " → " : " ← ") +
           description(picture.rowOf(other).label);
}

std::string fateSummary(const TimelinePicture& picture) {
    std::string text;
    const auto add = [&](std::size_t count, std::string_view word) {
        if (count == 0) return;
        if (!text.empty()) text += ", ";
        text += std::to_string(count) + " " + std::string(word);
    };
    for (const ClipFate fate : {ClipFate::removed, ClipFate::moved, ClipFate::trimmed,
                                ClipFate::added, ClipFate::changed})
        add(picture.count(fate), description(fate));
    if (text.empty()) text = "nothing changes";
    if (!picture.kept().empty()) text += "; " + std::to_string(picture.kept().size()) + " kept";
    return text;
}

}  // namespace reelsweep
