// TextArena: memory for the texts and lists of values that live as long as each other.
//
// Nothing in it is freed before all of it. Owner: who makes it. Thread rule: one thread at a time.
#pragma once

#include <cstring>
#include <memory_resource>
#include <new>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace reelsweep {

class TextArena {
public:
    std::string_view keep(std::string_view text) {
        if (text.empty()) return {};
        char* const copy = static_cast<char*>(memory_.allocate(text.size(), 1));
        std::memcpy(copy, text.data(), text.size());
        return {copy, text.size()};
    }

    template <class T>
    std::span<const T> keep(const std::vector<T>& list) {
        static_assert(std::is_trivially_copyable_v<T>);
        if (list.empty()) return {};
        const std::size_t bytes = list.size() * sizeof(T);
        void* const copy = memory_.allocate(bytes, alignof(T));
        std::memcpy(copy, list.data(), bytes);
        return {static_cast<const T*>(copy), list.size()};
    }

    /// A value that is never destroyed, so one that owns nothing.
    template <class T, class... Arguments>
    T* make(Arguments&&... arguments) {
        static_assert(std::is_trivially_destructible_v<T>);
        return new (memory_.allocate(sizeof(T), alignof(T)))
            T{std::forward<Arguments>(arguments)...};
    }

private:
    // Grows by itself; a file may hold a thousand sequences of a few clips.
    std::pmr::monotonic_buffer_resource memory_{std::size_t{4} * 1024};
};

}  // namespace reelsweep
