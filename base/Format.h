// Format: texts from printf-style formats with the placeholder %@, made safe by the arguments'
// types.
//
//   formatText("range start: %i", start)          formatText("%@ is empty at: %li", name, frame)
//
// The directives are %@ %d %i %u %x %X %o %f %F %e %E %g %G %s %S %c %C %p and %%, with flags,
// width and precision (also *); length modifiers (h, l, ll, q, L, z, t, j) are accepted and mean
// nothing, since an argument knows its size. %@ takes a text, a number, an optional, or any value
// with   std::string description(const T&)      found beside the type, or
//   std::string T::description() const.
// A whole number is printed whole whatever the directive. A missing argument prints nothing, a null
// text or empty optional prints "(null)", an unknown directive prints itself. No locale is used.
// Thread rule: plain functions; an argument is only read during the call.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace reelsweep {

/// A text that grows; short ones need no memory from the heap.
class TextBuffer {
public:
    TextBuffer() = default;
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;

    void append(std::string_view text) {
        if (size_ + text.size() > capacity_) grow(text.size());
        if (!text.empty()) std::memcpy(data_ + size_, text.data(), text.size());
        size_ += text.size();
    }
    void append(std::size_t count, char character) {
        if (size_ + count > capacity_) grow(count);
        std::memset(data_ + size_, character, count);
        size_ += count;
    }
    std::string_view view() const { return {data_, size_}; }

private:
    void grow(std::size_t more);

    std::array<char, 480> inline_;
    std::string heap_;
    char* data_ = inline_.data();
    std::size_t size_ = 0;
    std::size_t capacity_ = inline_.size();
};

/// One argument of a format, without its type. Refers to the argument's value.
class FormatArgument {
public:
    template <class T>
    static FormatArgument of(const T& value);

private:
    friend class Formatter;

    /// A value that describes itself, and how.
    struct Described {
        const void* object;
        std::string (*describe)(const void*);
    };

    std::variant<std::monostate, std::int64_t, std::uint64_t, double, std::string_view, Described>
        value_;
};

template <class T>
concept DescribedBesideType = requires(const T& value) {
    { description(value) } -> std::convertible_to<std::string>;
};
template <class T>
concept DescribedByMember = requires(const T& value) {
    { value.description() } -> std::convertible_to<std::string>;
};

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <class T>
FormatArgument FormatArgument::of(const T& value) {
    FormatArgument argument;
    if constexpr (IsOptional<T>::value) {
        if (value) return of(*value);
    } else if constexpr (std::is_null_pointer_v<T>) {
        // stays null
    } else if constexpr (std::is_floating_point_v<T>) {
        argument.value_ = static_cast<double>(value);
    } else if constexpr (std::is_integral_v<T>) {
        using Widest = std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>;
        argument.value_ = static_cast<Widest>(value);
    } else if constexpr (std::is_convertible_v<const T&, const char*>) {
        if (const char* const text = value) argument.value_ = std::string_view(text);
    } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
        argument.value_ = std::string_view(value);
    } else if constexpr (DescribedBesideType<T> || DescribedByMember<T>) {
        argument.value_ = Described{&value, [](const void* object) -> std::string {
                                        const T& described = *static_cast<const T*>(object);
                                        if constexpr (DescribedBesideType<T>)
                                            return description(described);
                                        else
                                            return described.description();
                                    }};
    } else if constexpr (std::is_enum_v<T>) {
        return of(static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (std::is_pointer_v<T>) {
        if (value) argument.value_ = std::uint64_t{reinterpret_cast<std::uintptr_t>(value)};
    } else {
        static_assert(std::is_void_v<T>, "give the type a description() to print it with %@");
    }
    return argument;
}

/// Appends the formatted text to the buffer.
void formatInto(TextBuffer& buffer, std::string_view format,
                std::span<const FormatArgument> arguments);

/// The formatted text.
template <class... Args>
std::string formatText(std::string_view format, const Args&... args) {
    const std::array<FormatArgument, sizeof...(Args)> arguments{FormatArgument::of(args)...};
    TextBuffer buffer;
    formatInto(buffer, format, arguments);
    return std::string(buffer.view());
}

}  // namespace reelsweep
