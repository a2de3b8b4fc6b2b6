// The names and texts of XMEML's elements, read without copying.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "time/Frames.h"
#include "xml/XMLNode.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace reelsweep {

/// An element's name, for comparing it with many words: most differ in their first letter, so its
/// length is never asked for.
class ElementName {
public:
    explicit ElementName(XMLNode node) : text_(node.rawName()) {}
    char first() const { return *text_; }
    std::string_view view() const { return text_; }

    template <std::size_t size>
    bool operator==(const char (&word)[size]) const {
        for (std::size_t i = 0; i < size; ++i)
            if (text_[i] != word[i]) return false;
        return true;
    }

private:
    const char* text_;
};

/// The element's first text; empty without one.
inline std::string_view elementText(XMLNode element) { return element.text(); }
inline std::string_view childText(XMLNode parent, const char* name) {
    return elementText(parent.child(name));
}

/// The element's id attribute; empty without one.
inline std::string_view elementId(XMLNode element) {
    return element.attribute("id").value_or(std::string_view());
}

/// Equal but for the case of ASCII letters.
bool equalInAnyCase(std::string_view a, std::string_view b);
/// "FALSE" in any letter case; everything else, a missing text too, is true.
inline bool isFalse(std::string_view text) { return equalInAnyCase(text, "FALSE"); }
inline bool isTrue(std::string_view text) { return equalInAnyCase(text, "TRUE"); }

/// A text that is a whole number and nothing else, as nearly all times are; nothing for any other
/// and for more than 15 digits.
std::optional<Frames> wholeNumber(const char* text);

/// The leading integer of an element's text; nothing when it does not begin with one.
std::optional<Frames> framesIn(XMLNode element);
/// The same, and 0 when it does not.
Frames framesOrZero(XMLNode element);

/// The whole number at the front of a text, clamped to 32 bits; 0 without one.
int smallNumber(std::string_view text);

/// A decimal number in its shortest form: "100.0" and "+100" as "100", "-0" as "0". Any other text
/// is left as it is.
std::string plainNumber(std::string_view text);

}  // namespace reelsweep
