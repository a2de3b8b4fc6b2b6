// Looking at the bytes of a document many at a time; for the sources of xml/ only.
//
// Every function reads up to 24 bytes behind the place that it is given, so bytes that come from
// outside stand before a padding of zeros. No stretch of bytes goes on over a zero.
// Thread rule: plain functions.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace reelsweep::bytes {

/// What must stand, all zero, behind the last byte.
constexpr std::size_t paddingBytes = 32;

// Bytes are looked at eight at a time, as one number whose lowest byte is the first of them.
using Word = std::uint64_t;
constexpr std::size_t wordBytes = sizeof(Word);

inline Word wordAt(const char* at) {
    Word word = 0;
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(&word, at, wordBytes);
    } else {
        for (std::size_t i = 0; i < wordBytes; ++i)
            word |= Word{static_cast<unsigned char>(at[i])} << (8 * i);
    }
    return word;
}

constexpr Word eachByte(char value) {
    return Word{0x0101010101010101} * static_cast<unsigned char>(value);
}
constexpr Word highBits = eachByte('\x80');

// Each answers the high bits of the bytes it looks for. Only the first of them can be relied on:
// behind it others may be set by a borrow.
constexpr Word zeroBytes(Word word) { return (word - eachByte(1)) & ~word & highBits; }
constexpr Word bytesBelow(Word word, char limit) {
    return (word - eachByte(limit)) & ~word & highBits;
}
inline std::size_t firstOf(Word bits) {
    return static_cast<std::size_t>(std::countr_zero(bits)) / 8;
}

enum : unsigned char { startsName = 1, inName = 2, isSpace = 4 };

constexpr std::array<unsigned char, 256> classes = [] {
    std::array<unsigned char, 256> table{};
    const auto add = [&](char first, char last, unsigned char bits) {
        for (char c = first; c <= last; ++c) table[static_cast<unsigned char>(c)] |= bits;
    };
    add('a', 'z', startsName | inName);
    add('A', 'Z', startsName | inName);
    add('_', '_', startsName | inName);
    add(':', ':', startsName | inName);
    add('0', '9', inName);
    add('-', '.', inName);
    for (const char c : {' ', '\t', '\n', '\r'}) add(c, c, isSpace);
    return table;
}();

inline bool is(char c, unsigned char classBits) {
    return (classes[static_cast<unsigned char>(c)] & classBits) != 0;
}
inline bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

inline const char* passName(const char* at) {
    while (is(*at, inName)) ++at;
    return at;
}
inline const char* passSpace(const char* at) {
    while (is(*at, isSpace)) ++at;
    return at;
}

// From a line end on: the line end and the stretch of one kind of white space that indents the next
// line.
inline const char* passIndentation(const char* at) {
    const char kind = *++at;
    if (kind != '\t' && kind != ' ') return at;
    for (;;) {
        const Word others = wordAt(at) ^ eachByte(kind);
        if (others != 0) return at + firstOf(others);
        at += wordBytes;
    }
}

// To the first byte that is one of the three marks, a control character, or beyond ASCII.
template <char mark1, char mark2, char mark3>
const char* passPlain(const char* at) {
    for (;;) {
        const Word word = wordAt(at);
        const Word stops = zeroBytes(word ^ eachByte(mark1)) | zeroBytes(word ^ eachByte(mark2)) |
                           zeroBytes(word ^ eachByte(mark3)) | bytesBelow(word, ' ') |
                           (word & highBits);
        if (stops != 0) return at + firstOf(stops);
        at += wordBytes;
    }
}

inline bool isCharacter(std::uint32_t code) {
    return code == '\t' || code == '\n' || code == '\r' || (code >= 0x20 && code < 0xD800) ||
           (code >= 0xE000 && code < 0xFFFE) || (code >= 0x10000 && code < 0x110000);
}

// How many bytes a character beyond ASCII takes; 0 when they are no UTF-8 or no XML character.
inline std::size_t characterBytes(const char* at) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(at[index]); };
    struct Form {
        unsigned char mask, lead;
        std::uint32_t least;
    };
    constexpr std::array<Form, 3> forms{
        {{0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}}};
    for (std::size_t more = 1; more <= forms.size(); ++more) {
        const Form& form = forms[more - 1];
        if ((byte(0) & form.mask) != form.lead) continue;
        std::uint32_t code = byte(0) & static_cast<unsigned char>(~form.mask);
        for (std::size_t i = 1; i <= more; ++i) {
            if ((byte(i) & 0xC0) != 0x80) return 0;
            code = code << 6 | (byte(i) & 0x3Fu);
        }
        return code >= form.least && isCharacter(code) ? more + 1 : 0;
    }
    return 0;
}

inline bool startsWith(const char* at, std::string_view text) {
    return std::memcmp(at, text.data(), text.size()) == 0;
}

}  // namespace reelsweep::bytes
