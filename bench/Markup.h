// What generated files are made with: numbers by a seed, and XML line by line.
//
// Owner: the generator. Thread rule: each belongs to one thread.
#pragma once

#include "base/AtomicFile.h"

#include <fmt/format.h>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

// The standard library's distributions differ between implementations; this does not.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}
    /// A number from 0 to n - 1.
    long below(long n) {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return static_cast<long>((state_ >> 11) % static_cast<std::uint64_t>(n));
    }
    bool oneIn(long n) { return below(n) == 0; }

private:
    std::uint64_t state_;
};

// Tab-indented XML, one element a line.
class Markup {
public:
    explicit Markup(ByteSink& sink) : sink_(sink) {}
    ~Markup() { sink_.write(buffer_); }
    Markup(const Markup&) = delete;
    Markup& operator=(const Markup&) = delete;

    void line(std::string_view text) {
        buffer_.append(open_.size(), '\t').append(text).push_back('\n');
        if (buffer_.size() < 1024 * 1024) return;
        sink_.write(buffer_);
        buffer_.clear();
    }
    void open(const char* element, std::string_view attributes = {}) {
        line(fmt::format("<{}{}>", element, attributes));
        open_.push_back(element);
    }
    void close() {
        const char* const element = open_.back();
        open_.pop_back();
        line(fmt::format("</{}>", element));
    }
    template <class Value>
    void leaf(const char* element, const Value& value) {
        line(fmt::format("<{0}>{1}</{0}>", element, value));
    }

private:
    ByteSink& sink_;
    std::string buffer_;
    std::vector<const char*> open_;
};

}  // namespace reelsweep
