#include "timeline/ElementText.h"

#include "base/Text.h"

#include <algorithm>
#include <limits>

namespace reelsweep {

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

bool equalInAnyCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

std::optional<Frames> wholeNumber(const char* text) {
    const bool negative = *text == '-';
    const char* const first = text + (negative ? 1 : 0);
    const char* at = first;
    std::int64_t count = 0;
    for (; isDigit(*at) && at - first < 15; ++at) count = count * 10 + (*at - '0');
    if (*at != '\0' || at == first) return {};
    return Frames{negative ? -count : count};
}

std::optional<Frames> framesIn(XMLNode element) {
    const char* const text = element.rawText();
    if (const auto number = wholeNumber(text)) return number;

    const char* at = text;
    while (*at == ' ' || (*at >= '\t' && *at <= '\r')) ++at;
    if (*at == '-' || *at == '+') ++at;
    if (!isDigit(*at)) return {};
    return leadingFrames(text);
}

Frames framesOrZero(XMLNode element) { return framesIn(element).value_or(Frames{}); }

int smallNumber(std::string_view text) {
    const std::int64_t count = leadingFrames(text).count;
    return static_cast<int>(std::clamp<std::int64_t>(count, std::numeric_limits<int>::min(),
                                                     std::numeric_limits<int>::max()));
}

std::string plainNumber(std::string_view text) {
    std::string_view rest = trimmed(text);
    const bool negative = !rest.empty() && rest.front() == '-';
    if (!rest.empty() && (rest.front() == '-' || rest.front() == '+')) rest.remove_prefix(1);
    const std::size_t point = std::min(rest.find('.'), rest.size());
    std::string_view whole = rest.substr(0, point);
    std::string_view part = rest.substr(std::min(point + 1, rest.size()));
    const auto allDigits = [](std::string_view digits) {
        return std::all_of(digits.begin(), digits.end(), isDigit);
    };
    if ((whole.empty() && part.empty()) || !allDigits(whole) || !allDigits(part))
        return std::string(text);
    while (!whole.empty() && whole.front() == '0') whole.remove_prefix(1);
    while (!part.empty() && part.back() == '0') part.remove_suffix(1);
    std::string number = negative && !(whole.empty() && part.empty()) ? "-" : "";
    number += whole.empty() ? "0" : whole;
    if (!part.empty()) number.append(".").append(part);
    return number;
}

}  // namespace reelsweep
