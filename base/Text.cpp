#include "base/Text.h"

#include <algorithm>

namespace reelsweep {

std::size_t characterCount(std::string_view text) {
    return text.size() -
           static_cast<std::size_t>(std::count_if(text.begin(), text.end(), continuesCharacter));
}

std::size_t lastCharacterBytes(std::string_view text) {
    if (text.empty()) return 0;
    std::size_t start = text.size() - 1;
    while (start > 0 && continuesCharacter(text[start])) --start;
    return text.size() - start;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blank = " \t\n\v\f\r";
    const std::size_t first = text.find_first_not_of(blank);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blank) - first + 1);
}

}  // namespace reelsweep
