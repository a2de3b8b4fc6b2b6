// The texts of XMEML's leaf elements, read without copying.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "time/Frames.h"
#include "xml/XMLNode.h"

#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace reelsweep {

/// The element's first text; empty without one.
inline std::string_view elementText(XMLNode element) { return element.text(); }
inline std::string_view childText(XMLNode parent, const char* name) {
    return elementText(parent.child(name));
}

/// Whether a text is this word. Faster than == where a text is compared with many words.
template <std::size_t size>
bool is(std::string_view text, const char (&word)[size]) {
    return text.size() == size - 1 && std::memcmp(text.data(), word, size - 1) == 0;
}

/// Equal but for the case of ASCII letters.
bool equalInAnyCase(std::string_view a, std::string_view b);
/// "FALSE" in any letter case; everything else, a missing text too, is true.
inline bool isFalse(std::string_view text) { return equalInAnyCase(text, "FALSE"); }
inline bool isTrue(std::string_view text) { return equalInAnyCase(text, "TRUE"); }

/// The leading integer of a text; nothing when it does not begin with one.
std::optional<Frames> framesIn(std::string_view text);

/// The whole number at the front of a text, clamped to 32 bits; 0 without one.
int smallNumber(std::string_view text);

/// A decimal number in its shortest form: "100.0" and "+100" as "100", "-0" as "0". Any other text
/// is left as it is.
std::string plainNumber(std::string_view text);

}  // namespace reelsweep
