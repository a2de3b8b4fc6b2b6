// Between UTF-8, in which this program holds text, and the 16-bit units in which some rules count.
// Thread rule: plain functions, any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace reelsweep {

/// Invalid UTF-8 becomes U+FFFD, one for each byte that fits nowhere.
std::u16string utf16FromUtf8(std::string_view text);
/// An unpaired surrogate becomes U+FFFD.
std::string utf8FromUtf16(std::u16string_view units);
/// Appends one character; a surrogate or a value past U+10FFFF becomes U+FFFD.
void appendUtf8(std::string& text, std::uint32_t character);

}  // namespace reelsweep
