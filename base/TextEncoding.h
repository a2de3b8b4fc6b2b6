// TextEncoding: texts in the encodings that other programs and systems write.
//
// Thread rule: plain functions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace reelsweep {

/// The numbers by which the editing platform knows its encodings.
enum class TextEncoding : std::uint32_t {
    ascii = 1,
    utf8 = 4,
    isoLatin1 = 5,
    shiftJIS = 8,
    isoLatin2 = 9,
    utf16 = 10,  ///< with a byte order mark; without one, in this machine's order
    windows1252 = 12,
    macRoman = 30,
    utf16BigEndian = 0x90000100,
    utf16LittleEndian = 0x94000100,
};

/// The bytes as UTF-8. What the encoding does not have becomes U+FFFD, so that one bad byte does
/// not cost the whole text; so does everything above 127 in ASCII, and all in an unknown encoding.
std::string decodedText(std::string_view bytes, TextEncoding encoding);

}  // namespace reelsweep
