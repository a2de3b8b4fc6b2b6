#include "time/Timecode.h"

#include "base/Format.h"

#include <algorithm>

namespace reelsweep {

namespace {

// Drop-frame time code leaves out the first numbers of every minute but each tenth: as many as the
// real rate falls behind the nominal one. The count with the left-out numbers added is the label's
// count.
std::uint64_t withDroppedNumbers(std::uint64_t frames, std::uint64_t timebase) {
    const std::uint64_t dropped = timebase / 15;  // 2 of 30 a second, 4 of 60
    const std::uint64_t minute = timebase * 60 - dropped;
    const std::uint64_t tenMinutes = timebase * 600 - 9 * dropped;
    const std::uint64_t tens = frames / tenMinutes;
    const std::uint64_t rest = frames % tenMinutes;
    const std::uint64_t minutes = rest < dropped ? 0 : (rest - dropped) / minute;
    return frames + (9 * tens + minutes) * dropped;
}

}  // namespace

std::string description(FrameRate rate) {
    if (!rate.known()) return {};
    if (!rate.ntsc) return std::to_string(rate.timebase);
    const std::int64_t thousandths = (rate.timebase * 1'000'000 + 500) / 1001;
    std::string text = formatText("%i.%03i", thousandths / 1000, thousandths % 1000);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

std::string timecode(Frames length, FrameRate rate, bool dropFrame) {
    if (!rate.known()) return {};
    const bool negative = length.count < 0;
    const auto timebase = static_cast<std::uint64_t>(rate.timebase);
    // Negation as unsigned, where the smallest number has an opposite.
    const auto count = static_cast<std::uint64_t>(length.count);
    const std::uint64_t frames = negative ? 0 - count : count;
    const std::uint64_t label = dropFrame ? withDroppedNumbers(frames, timebase) : frames;
    const std::uint64_t seconds = label / timebase;
    // Rates above 100 need a third digit for the frames.
    const std::size_t digits = std::max<std::size_t>(2, std::to_string(timebase - 1).size());
    std::string frameText = std::to_string(label % timebase);
    frameText.insert(0, digits - frameText.size(), '0');
    return formatText("%@%02u:%02u:%02u%@%@", negative ? "-" : "", seconds / 3600,
                      seconds / 60 % 60, seconds % 60, dropFrame ? ";" : ":", frameText);
}

}  // namespace reelsweep
