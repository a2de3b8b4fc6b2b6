// ContentText: what elements hold, written down so that equal texts are equal contents.
//
// Owner: who makes it; clear() keeps its memory for the next content.
// Thread rule: one thread at a time.
#pragma once

#include <string_view>
#include <vector>

namespace reelsweep {

class ContentText {
public:
    // No XML text holds these, so they part texts without doubt.
    static constexpr char endOfText = '\x1F';
    static constexpr char endOfElement = '\x1E';

    void clear() { used_ = 0; }
    void add(char c) {
        if (used_ == memory_.size()) grow();
        memory_[used_++] = c;
    }
    /// Most texts are a few letters long: to measure them first would take as long as to copy them.
    void add(const char* nulTerminated) {
        for (; *nulTerminated != '\0'; ++nulTerminated) add(*nulTerminated);
    }
    void add(std::string_view text) {
        for (const char c : text) add(c);
    }
    /// A text with its end.
    void addText(const char* nulTerminated) {
        add(nulTerminated);
        add(endOfText);
    }
    void addText(std::string_view text) {
        add(text);
        add(endOfText);
    }
    std::string_view view() const { return {memory_.data(), used_}; }

private:
    void grow() { memory_.resize(memory_.empty() ? 512 : memory_.size() * 2); }

    std::vector<char> memory_;
    std::size_t used_ = 0;
};

}  // namespace reelsweep
