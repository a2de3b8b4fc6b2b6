// What stands in an output and not in the input that it was made from.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace reelsweep::test {

/// The one stretch of bytes whose removal makes `output` the same as `input`; nothing when there is
/// none.
inline std::optional<std::string> insertedBytes(const std::string& input,
                                                const std::string& output) {
    if (output.size() < input.size()) return {};
    std::size_t head = 0;
    while (head < input.size() && input[head] == output[head]) ++head;
    const std::size_t added = output.size() - input.size();
    if (output.compare(head + added, std::string::npos, input, head) != 0) return {};
    return output.substr(head, added);
}

}  // namespace reelsweep::test
