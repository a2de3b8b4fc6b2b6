// Text: small questions about UTF-8 texts. Thread rule: plain functions.
#pragma once

#include <cstddef>
#include <string_view>

namespace reelsweep {

/// True for a byte that goes on with a character that an earlier byte started.
constexpr bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// The characters of the text, counted as code points.
std::size_t characterCount(std::string_view text);

/// The bytes of the text's last character; 0 for an empty text.
std::size_t lastCharacterBytes(std::string_view text);

/// The text without white space and line ends at both ends.
std::string_view trimmed(std::string_view text);

}  // namespace reelsweep
