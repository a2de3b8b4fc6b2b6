// PictureLayout: where the clips of a picture come to stand in pixels, and where the time code.
//
// Only what is in view is laid out, and clips that are narrower than a few pixels are drawn
// together: a row costs no more than it is wide, whatever stands in it.
//
//   clips    [a     ][b][c][d]|||||||||[e        ]
//   boxes    [a     ]                  [e        ]
//   crowds            ################              10 clips, of which 2 removed
//
// Thread rule: plain functions over values.
#pragma once

#include "report/TimelinePicture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace reelsweep {

/// The part of the time line that is in view. Pixels count from its left edge.
struct PictureView {
    double first = 0;           ///< the frame at the left edge
    double pixelsPerFrame = 1;  ///< above 0
    double width = 0;           ///< in pixels

    double x(Frames frame) const {
        return (static_cast<double>(frame.count) - first) * pixelsPerFrame;
    }
    Frames frameAt(double pixel) const;
    /// The frames of which something is in view.
    FrameRange range() const;
    /// All of a range in that many pixels.
    static PictureView fitting(FrameRange range, double width);
};

/// A clip that is wide enough for itself.
struct ClipBox {
    std::uint32_t clip = 0;  ///< position in DrawnSide::clips
    double x = 0;
    double width = 0;
};

/// Clips too narrow for boxes of their own.
struct ClipCrowd {
    std::int32_t x = 0;
    std::int32_t width = 0;
    std::uint8_t fates = 0;  ///< a bit for each ClipFate that occurs
    bool isOff = false;      ///< some are disabled

    bool has(ClipFate fate) const { return (fates >> static_cast<unsigned>(fate)) & 1U; }
};

struct RowLayout {
    std::vector<ClipBox> boxes;
    std::vector<ClipCrowd> crowds;

    void clear() {
        boxes.clear();
        crowds.clear();
    }
};

/// Narrower clips are drawn together, in pixels.
inline constexpr double narrowestBox = 4;

/// Lays out what of a row is in view. The layout is emptied first; its memory is used again.
void layOutRow(const DrawnSide& side, const DrawnRow& row, const PictureView& view,
               RowLayout& layout);

/// What became of clips, along the whole of a picture: one entry a pixel, a bit for each fate.
std::vector<std::uint8_t> overview(const TimelinePicture& picture, int width);

struct RulerMark {
    Frames frame;
    std::string text;
};

/// Marks at round time codes, at least `spacing` pixels apart. In drop-frame time code a minute
/// begins with the first number that there is: 01:01:00;02.
std::vector<RulerMark> rulerMarks(const SequenceTimecode& timecode, const PictureView& view,
                                  double spacing);

}  // namespace reelsweep
