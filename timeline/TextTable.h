// TextTable: values by text, for reading: it only grows, and does not own the texts.
//
// A file has as many media as a film has shots. Each is looked up about once, so a table that needs
// no memory of its own for each of them is filled and read in half the time of a general one.
// Owner: who makes it; the texts must outlive it. Thread rule: one thread at a time.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace reelsweep {

template <class Value>
class TextTable {
public:
    /// The value of a text, or null. Valid until the next value is added.
    const Value* find(std::string_view text) const {
        if (size_ == 0) return nullptr;
        const Slot& slot = slots_[place(text, std::hash<std::string_view>()(text), slots_)];
        return slot.isUsed ? &slot.value : nullptr;
    }

    std::size_t size() const { return size_; }

    /// Adds a value; one that is there already stays.
    void add(std::string_view text, Value value) {
        if ((size_ + 1) * 2 > slots_.size()) grow();
        const std::size_t hash = std::hash<std::string_view>()(text);
        Slot& slot = slots_[place(text, hash, slots_)];
        if (slot.isUsed) return;
        slot = {text, hash, std::move(value), true};
        ++size_;
    }

private:
    struct Slot {
        std::string_view text;
        std::size_t hash = 0;
        Value value{};
        bool isUsed = false;
    };

    // Where the text is, or where it would be put. There is always an empty slot.
    static std::size_t place(std::string_view text, std::size_t hash,
                             const std::vector<Slot>& slots) {
        std::size_t at = hash & (slots.size() - 1);
        while (slots[at].isUsed && (slots[at].hash != hash || slots[at].text != text))
            at = (at + 1) & (slots.size() - 1);
        return at;
    }

    void grow() {
        std::vector<Slot> larger(slots_.empty() ? 64 : slots_.size() * 2);
        for (Slot& slot : slots_)
            if (slot.isUsed) larger[place(slot.text, slot.hash, larger)] = std::move(slot);
        slots_ = std::move(larger);
    }

    std::vector<Slot> slots_;  // a power of two of them
    std::size_t size_ = 0;
};

}  // namespace reelsweep
