// A tidy of a small timeline as it is drawn, for tests.
#pragma once

#include "shell/DryRun.h"
#include "tests/timeline/Timeline.h"

#include <string>
#include <string_view>

namespace reelsweep::test {

/// What a tidy of the sequence would do.
inline DryRun drawn(const Timeline& timeline, const OptionList& passes, bool keepsPicture = false) {
    const DryRunRequest request{.tidy = {.passes = passes, .keepPicture = keepsPicture}};
    auto runs = dryRun(std::span(&timeline.sequence, 1), request);
    return std::move(runs->front());
}

/// "before V2: A[20,40) moved  V1: B[0,90) same | after V1: ...": each track with its clips.
inline std::string drawnText(const TimelinePicture& picture) {
    std::string text;
    for (const PictureSide side : {PictureSide::before, PictureSide::after}) {
        text += side == PictureSide::before ? "before" : " | after";
        for (const DrawnRow& row : picture.side(side).rows) {
            text += " " + description(row.label) + ":";
            for (const DrawnClip& clip : picture.side(side).clipsOf(row)) {
                text += " " + std::string(clip.isSlug ? "slug" : clip.name) + "[" +
                        clip.range.start.text() + "," + clip.range.end.text() + ")";
                if (clip.isOff) text += "off";
                for (const FrameRange& hidden : picture.side(side).hiddenOf(clip))
                    text += "(hidden " + hidden.start.text() + "-" + hidden.end.text() + ")";
                if (clip.fate != ClipFate::same) text += "=" + std::string(description(clip.fate));
                if (clip.kept != noEntry) text += "=kept";
            }
        }
    }
    return text;
}

}  // namespace reelsweep::test
