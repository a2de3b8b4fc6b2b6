#include "base/TextEncoding.h"

#include <array>
#include <bit>
#include <cerrno>

#include <iconv.h>

namespace reelsweep {

namespace {

/// The library's name of the encoding; null for one that nobody uses here.
const char* nameOf(TextEncoding encoding) {
    switch (encoding) {
        case TextEncoding::ascii: return "ASCII";
        case TextEncoding::utf8: return "UTF-8";
        case TextEncoding::isoLatin1: return "ISO-8859-1";
        case TextEncoding::shiftJIS: return "SHIFT_JIS";
        case TextEncoding::isoLatin2: return "ISO-8859-2";
        case TextEncoding::utf16: return "UTF-16";
        case TextEncoding::windows1252: return "WINDOWS-1252";
        case TextEncoding::macRoman: return "MACINTOSH";
        case TextEncoding::utf16BigEndian: return "UTF-16BE";
        case TextEncoding::utf16LittleEndian: return "UTF-16LE";
    }
    return nullptr;
}

}  // namespace

std::string decodedText(std::string_view bytes, TextEncoding encoding) {
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    const char* const name = nameOf(encoding);
    const iconv_t converter = ::iconv_open("UTF-8", name ? name : "ASCII");
    if (converter == std::bit_cast<iconv_t>(std::intptr_t{-1})) return std::string(bytes);
    std::string text;
    std::array<char, 4096> buffer{};
    // The library takes a pointer to something it could change and does not.
    char* in = const_cast<char*>(bytes.data());
    std::size_t left = bytes.size();
    while (left > 0) {
        char* out = buffer.data();
        std::size_t room = buffer.size();
        const std::size_t result = ::iconv(converter, &in, &left, &out, &room);
        const int error = result == static_cast<std::size_t>(-1) ? errno : 0;
        text.append(buffer.data(), buffer.size() - room);
        if (error == EINVAL) {
            text += replacement;  // the text ends within a character
            break;
        }
        if (error == EILSEQ) {
            text += replacement;
            ++in;
            --left;
        }
    }
    ::iconv_close(converter);
    return text;
}

}  // namespace reelsweep
