// OpenElements: the elements around a place in a document, whose end tags are to come; for the
// sources of xml/ only.
//
// The names are kept as words, so that an end tag is compared at once. Bytes are given as
// DocumentBytes.h wants them. Owner: the caller. Thread rule: each belongs to one thread.
#pragma once

#include "xml/DocumentBytes.h"

#include <algorithm>
#include <string>
#include <vector>

namespace reelsweep {

namespace bytes {

// How the bytes of a name, and the '>' behind it in its end tag, lie in two words. They come from a
// table by the length of the name, since a branch on that is seldom foreseen.
struct NameWords {
    Word headMask, tailMask;        // the bytes of the name
    Word headEnd, tailEnd;          // the '>' behind it
    Word headEndMask, tailEndMask;  // the bytes of both
};
constexpr std::size_t longestInWords = 2 * wordBytes - 1;  // longer names lie elsewhere too

constexpr std::array<NameWords, longestInWords + 2> nameWords = [] {
    std::array<NameWords, longestInWords + 2> table{};
    for (std::size_t bytes = 0; bytes < table.size(); ++bytes) {
        NameWords& words = table[bytes];
        for (std::size_t i = 0; i < bytes; ++i)
            (i < wordBytes ? words.headMask : words.tailMask) |= Word{0xFF}
                                                                 << (8 * (i % wordBytes));
        words.headEndMask = words.headMask;
        words.tailEndMask = words.tailMask;
        if (bytes > longestInWords) continue;
        const bool inHead = bytes < wordBytes;
        const std::size_t shift = 8 * (bytes % wordBytes);
        (inHead ? words.headEnd : words.tailEnd) = Word{'>'} << shift;
        (inHead ? words.headEndMask : words.tailEndMask) |= Word{0xFF} << shift;
    }
    return table;
}();

inline const NameWords& wordsOfName(std::size_t bytes) {
    return nameWords[std::min(bytes, longestInWords + 1)];
}

}  // namespace bytes

class OpenElements {
public:
    bool empty() const { return elements_.empty(); }
    std::size_t depth() const { return elements_.size(); }

    void push(std::string_view name, std::uint8_t notes) {
        const bytes::NameWords& words = bytes::wordsOfName(name.size());
        Element& element = elements_.emplace_back();
        element.head = (bytes::wordAt(name.data()) & words.headMask) | words.headEnd;
        element.tail =
            (bytes::wordAt(name.data() + bytes::wordBytes) & words.tailMask) | words.tailEnd;
        element.nameBytes = static_cast<std::uint32_t>(name.size());
        element.notes = notes;
        if (name.size() <= bytes::longestInWords) return;
        element.nameAt = static_cast<std::uint32_t>(longNames_.size());
        longNames_.append(name);
    }

    /// Takes the innermost away and answers its notes.
    std::uint8_t pop() {
        const Element& element = elements_.back();
        const std::uint8_t notes = element.notes;
        if (element.nameBytes > bytes::longestInWords) longNames_.resize(element.nameAt);
        elements_.pop_back();
        return notes;
    }

    /// Of the innermost one.
    std::size_t nameBytes() const { return elements_.back().nameBytes; }
    /// Whether its name and '>' stand there. Of a long name false says nothing.
    bool endsAt(const char* at) const {
        const Element& element = elements_.back();
        const bytes::NameWords& words = bytes::wordsOfName(element.nameBytes);
        return differ(element, at, words.headEndMask, words.tailEndMask) == 0 &&
               element.nameBytes <= bytes::longestInWords;
    }
    /// Whether its name stands there, whatever follows; at least nameBytes() bytes can be read.
    bool isNamedAt(const char* at) const {
        const Element& element = elements_.back();
        const bytes::NameWords& words = bytes::wordsOfName(element.nameBytes);
        if (differ(element, at, words.headMask, words.tailMask) != 0) return false;
        return element.nameBytes <= bytes::longestInWords ||
               std::memcmp(at, longNames_.data() + element.nameAt, element.nameBytes) == 0;
    }

private:
    struct Element {
        bytes::Word head;  // the first 8 bytes of the name and '>', zero where there are none
        bytes::Word tail;  // the next 8
        std::uint32_t nameBytes;
        std::uint32_t nameAt;  // in longNames_, of a long name
        std::uint8_t notes;
    };

    static bytes::Word differ(const Element& element, const char* at, bytes::Word headMask,
                              bytes::Word tailMask) {
        return ((bytes::wordAt(at) ^ element.head) & headMask) |
               ((bytes::wordAt(at + bytes::wordBytes) ^ element.tail) & tailMask);
    }

    std::vector<Element> elements_;
    std::string longNames_;
};

}  // namespace reelsweep
