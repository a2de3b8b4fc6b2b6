#include "base/Utf16.h"

namespace reelsweep {

namespace {

constexpr std::uint32_t replacement = 0xFFFD;

bool isSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit < 0xE000; }
bool isHighSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLowSurrogate(std::uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// Takes one character off the front of a non-empty text.
std::uint32_t takeCharacter(std::string_view& text) {
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byteAt(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    std::uint32_t character = length < 2 ? lead : lead & (0xFFu >> (length + 1));
    bool valid = length > 0 && length <= text.size();
    for (std::size_t i = 1; valid && i < length; ++i) {
        valid = (byteAt(i) & 0xC0) == 0x80;
        character = (character << 6) | (byteAt(i) & 0x3Fu);
    }
    valid =
        valid && character >= smallest[length] && character <= 0x10FFFF && !isSurrogate(character);
    text.remove_prefix(valid ? length : 1);
    return valid ? character : replacement;
}

}  // namespace

std::u16string utf16FromUtf8(std::string_view text) {
    std::u16string units;
    units.reserve(text.size());
    while (!text.empty()) {
        const std::uint32_t character = takeCharacter(text);
        if (character < 0x10000) {
            units += static_cast<char16_t>(character);
        } else {
            units += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
        }
    }
    return units;
}

std::string utf8FromUtf16(std::u16string_view units) {
    std::string text;
    text.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        std::uint32_t character = units[i];
        if (isHighSurrogate(character) && i + 1 < units.size() && isLowSurrogate(units[i + 1])) {
            character = 0x10000 + ((character - 0xD800) << 10) + (units[i + 1] - 0xDC00u);
            ++i;
        }
        appendUtf8(text, character);
    }
    return text;
}

void appendUtf8(std::string& text, std::uint32_t character) {
    if (isSurrogate(character) || character > 0x10FFFF) character = replacement;
    const auto put = [&](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 | (character >> 6));
        put(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        put(0xE0 | (character >> 12));
        put(0x80 | ((character >> 6) & 0x3F));
        put(0x80 | (character & 0x3F));
    } else {
        put(0xF0 | (character >> 18));
        put(0x80 | ((character >> 12) & 0x3F));
        put(0x80 | ((character >> 6) & 0x3F));
        put(0x80 | (character & 0x3F));
    }
}

}  // namespace reelsweep
