// What a property list may cost, found out before it is parsed.
//
// The parser and the values recurse as deep as a list nests, and a binary list may name one object
// many times, each of which becomes a copy. A file of a hundred bytes can so stand for gigabytes.
// Thread rule: plain functions, any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace reelsweep {

struct PropertyListLimits {
    std::uint64_t bytes = std::uint64_t{16} << 20;  ///< of the file, and of all its values
    std::uint32_t depth = 512;                      ///< lists in dictionaries in lists
    std::uint64_t nodes = 100'000;                  ///< values and keys
};

/// Empty when the bytes stay within the limits; else what is wrong, such as "nests deeper than 512
/// levels". The answer holds for what the parser would make of the bytes, valid list or not.
std::string problemWithSize(std::string_view bytes, const PropertyListLimits& limits);

}  // namespace reelsweep
