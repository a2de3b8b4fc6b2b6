#include "time/Frames.h"

#include <charconv>
#include <limits>

namespace reelsweep {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view withoutLeadingSpace(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    return text;
}

}  // namespace

Frames leadingFrames(std::string_view text) {
    text = withoutLeadingSpace(text);
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    const std::uint64_t limit = negative ? largest + 1 : largest;
    std::uint64_t value = 0;
    for (; !text.empty() && isDigit(text.front()); text.remove_prefix(1)) {
        const std::uint64_t digit = static_cast<std::uint64_t>(text.front() - '0');
        value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
    }
    return {static_cast<std::int64_t>(negative ? 0 - value : value)};
}

double xpathNumber(std::string_view text) {
    text = withoutLeadingSpace(text);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    // XPath knows neither a plus sign nor exponents, which from_chars would read.
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    bool digits = false;
    bool point = false;
    for (std::size_t i = text.substr(0, 1) == "-" ? 1 : 0; i < text.size(); ++i) {
        if (isDigit(text[i]))
            digits = true;
        else if (text[i] == '.' && !point)
            point = true;
        else
            return notANumber;
    }
    if (!digits) return notANumber;
    double value = notANumber;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
    if (parsed.ec == std::errc::result_out_of_range)
        return text.front() == '-' ? -std::numeric_limits<double>::infinity()
                                   : std::numeric_limits<double>::infinity();
    return value;
}

}  // namespace reelsweep
