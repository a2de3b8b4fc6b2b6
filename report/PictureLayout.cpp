#include "report/PictureLayout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace reelsweep {

namespace {

constexpr std::uint8_t bitOf(ClipFate fate) {
    return static_cast<std::uint8_t>(1U << static_cast<unsigned>(fate));
}

// The frames that drop-frame time code has left out before a number that counts all of them.
std::int64_t droppedBefore(std::int64_t number, std::int64_t timebase) {
    const std::int64_t minutes = number / (timebase * 60);
    return (minutes - minutes / 10) * (timebase / 15);
}

// The frame whose time code has that number, or the first number after it that is not left out.
Frames frameWithNumber(std::int64_t number, const SequenceTimecode& timecode) {
    if (!timecode.dropFrame || number < 0) return {number};
    const std::int64_t timebase = timecode.rate.timebase;
    const bool isLeftOut =
        number / (timebase * 60) % 10 != 0 && number % (timebase * 60) < timebase / 15;
    const std::int64_t there =
        isLeftOut ? number - number % (timebase * 60) + timebase / 15 : number;
    return {there - droppedBefore(there, timebase)};
}

// The smallest round step of that many frames, in numbers of the time code.
std::int64_t roundStep(double frames, const FrameRate& rate) {
    if (!rate.known()) {
        std::int64_t step = 1;
        for (int i = 0; static_cast<double>(step) < frames && i < 50; ++i)
            step = i % 3 == 1 ? step / 2 * 5 : step * 2;
        return step;
    }
    for (const std::int64_t step : {1, 2, 4, 5, 6, 8, 10, 12, 15})
        if (static_cast<double>(step) >= frames && rate.timebase % step == 0 &&
            step < rate.timebase)
            return step;
    constexpr auto seconds =
        std::to_array<std::int64_t>({1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600});
    for (const std::int64_t step : seconds)
        if (static_cast<double>(step * rate.timebase) >= frames) return step * rate.timebase;
    const std::int64_t hour = 3600 * rate.timebase;
    return hour * std::max<std::int64_t>(
                      1, static_cast<std::int64_t>(
                             std::ceil(std::min(frames, 1e15) / static_cast<double>(hour))));
}

// What is farther away than any clip is drawn is as good as there.
Frames framesAt(double frame) {
    const auto most = static_cast<double>(farthestFrame.count) * 2;
    return {static_cast<std::int64_t>(std::clamp(frame, -most, most))};
}

// Joins narrow clips that touch the same pixels.
class Crowds {
public:
    Crowds(std::vector<ClipCrowd>& crowds, double width)
        : crowds_(crowds), width_(static_cast<std::int32_t>(std::ceil(width))) {}

    void add(const DrawnClip& clip, double x, double width) {
        const auto from = std::max(0, static_cast<std::int32_t>(std::floor(x)));
        const auto to = std::clamp(static_cast<std::int32_t>(std::floor(x + width)), from + 1,
                                   std::max(width_, from + 1));
        if (from >= width_) return;
        const std::uint8_t fates = bitOf(clip.fate);
        if (crowds_.empty()) {
            crowds_.push_back({from, to - from, fates, clip.isOff});
            return;
        }
        ClipCrowd& last = crowds_.back();
        const std::int32_t lastEnd = last.x + last.width;
        const bool isAlike = last.fates == fates && last.isOff == clip.isOff;
        if (from <= lastEnd && isAlike) {
            last.width = std::max(lastEnd, to) - last.x;
        } else if (from < lastEnd) {
            share(clip, from, to);
        } else {
            crowds_.push_back({from, to - from, fates, clip.isOff});
        }
    }

private:
    // The clip shares its first pixels with the last crowd, which parts there.
    void share(const DrawnClip& clip, std::int32_t from, std::int32_t to) {
        const ClipCrowd last = crowds_.back();
        const std::int32_t lastEnd = last.x + last.width;
        const auto both = static_cast<std::uint8_t>(last.fates | bitOf(clip.fate));
        const std::int32_t sharedEnd = std::min(lastEnd, to);
        if (from > last.x)
            crowds_.back().width = from - last.x;
        else
            crowds_.pop_back();
        crowds_.push_back({from, sharedEnd - from, both, last.isOff || clip.isOff});
        if (to > lastEnd)
            crowds_.push_back({lastEnd, to - lastEnd, bitOf(clip.fate), clip.isOff});
        else if (lastEnd > to)
            crowds_.push_back({to, lastEnd - to, last.fates, last.isOff});
    }

    std::vector<ClipCrowd>& crowds_;
    std::int32_t width_;
};

}  // namespace

Frames PictureView::frameAt(double pixel) const {
    return framesAt(std::floor(first + pixel / pixelsPerFrame));
}

FrameRange PictureView::range() const {
    return {frameAt(0), framesAt(std::ceil(first + width / pixelsPerFrame))};
}

PictureView PictureView::fitting(FrameRange range, double width) {
    const auto length = static_cast<double>((range.end - range.start).count);
    return {static_cast<double>(range.start.count), std::max(width, 1.0) / std::max(length, 1.0),
            width};
}

void layOutRow(const DrawnSide& side, const DrawnRow& row, const PictureView& view,
               RowLayout& layout) {
    layout.clear();
    Crowds crowds(layout.crowds, view.width);
    const std::span<const DrawnClip> clips = side.clipsIn(row, view.range());
    for (const DrawnClip& clip : clips) {
        const double x = view.x(clip.range.start);
        const double width = view.x(clip.range.end) - x;
        if (x + width <= 0 && width > 0) continue;
        if (width < narrowestBox)
            crowds.add(clip, x, width);
        else
            layout.boxes.push_back(
                {static_cast<std::uint32_t>(&clip - side.clips.data()), x, width});
    }
}

std::vector<std::uint8_t> overview(const TimelinePicture& picture, int width) {
    std::vector<std::uint8_t> fates(static_cast<std::size_t>(std::max(width, 0)));
    const PictureView view = PictureView::fitting(picture.range(), width);
    const auto add = [&](const DrawnClip& clip) {
        if (clip.fate == ClipFate::same) return;
        const auto pixel = [&](Frames frame) {
            return static_cast<std::size_t>(std::clamp(view.x(frame), 0.0, width - 1.0));
        };
        for (std::size_t x = pixel(clip.range.start); x <= pixel(clip.range.end); ++x)
            fates[x] |= bitOf(clip.fate);
    };
    if (fates.empty()) return fates;
    for (const DrawnClip& clip : picture.before().clips) add(clip);
    for (const DrawnClip& clip : picture.after().clips) add(clip);
    return fates;
}

std::vector<RulerMark> rulerMarks(const SequenceTimecode& timecode, const PictureView& view,
                                  double spacing) {
    std::vector<RulerMark> marks;
    const std::int64_t step = roundStep(spacing / view.pixelsPerFrame, timecode.rate);
    const FrameRange range = view.range();
    // Numbers of the time code are as many as its frames, and a few more where some are left out.
    const Frames first = timecode.rate.known() ? timecode.start + range.start : range.start;
    const Frames last = timecode.rate.known() ? timecode.start + range.end : range.end;
    std::int64_t number = first.count / step * step;
    for (const std::size_t most = 1 + static_cast<std::size_t>(view.width / spacing) * 2;
         marks.size() < most; number += step) {
        const Frames there =
            timecode.rate.known() ? frameWithNumber(number, timecode) : Frames{number};
        if (there > last || number > std::numeric_limits<std::int64_t>::max() - step) break;
        if (there < first) continue;
        const Frames frame = timecode.rate.known() ? there - timecode.start : there;
        // Numbers that were left out lead to one and the same frame.
        if (!marks.empty() && marks.back().frame == frame) continue;
        marks.push_back({frame, timecode.text(frame)});
    }
    return marks;
}

}  // namespace reelsweep
