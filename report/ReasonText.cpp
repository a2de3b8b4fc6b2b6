#include "report/ReasonText.h"

#include <charconv>
#include <optional>
#include <string_view>

namespace reelsweep {

namespace {

// Takes a number from the front of a text; nothing when there is none.
std::optional<Frames> takeFrames(std::string_view& text) {
    Frames frames;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), frames.count);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return frames;
}

bool take(std::string_view& text, std::string_view word) {
    if (!text.starts_with(word)) return false;
    text.remove_prefix(word.size());
    return true;
}

}  // namespace

std::string reasonWithTimecode(const std::string& reason, const SequenceTimecode& timecode) {
    constexpr std::string_view from = "from ";
    std::string text;
    std::string_view rest = reason;
    while (!rest.empty()) {
        const std::size_t next = rest.find(from);
        if (next == rest.npos) break;
        text += rest.substr(0, next);
        rest.remove_prefix(next);
        std::string_view range = rest.substr(from.size());
        const auto start = takeFrames(range);
        const bool joins = start && take(range, " to ");
        const auto end = joins ? takeFrames(range) : std::nullopt;
        if (end) {
            text += timecode.text(start) + " – " + timecode.text(end);
            rest = range;
        } else {
            text += from;
            rest.remove_prefix(from.size());
        }
    }
    return text += rest;
}

}  // namespace reelsweep
