#include "time/RationalTime.h"

#include <charconv>
#include <limits>
#include <numeric>

namespace reelsweep {

namespace {

// Products of two 64-bit numbers.
__extension__ using Wide = __int128;

bool fits(Wide number) {
    return number > std::numeric_limits<std::int64_t>::min() &&
           number <= std::numeric_limits<std::int64_t>::max();
}

std::optional<std::int64_t> number(std::string_view text) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !fits(value)) return {};
    return value;
}

}  // namespace

std::optional<RationalTime> RationalTime::reduced(std::int64_t numerator,
                                                  std::int64_t denominator) {
    if (denominator <= 0) return {};
    const std::int64_t common = std::gcd(numerator, denominator);
    RationalTime time;
    time.numerator_ = numerator / common;
    time.denominator_ = denominator / common;
    return time;
}

std::optional<RationalTime> RationalTime::parse(std::string_view text) {
    if (!text.ends_with('s')) return {};
    text.remove_suffix(1);
    const std::size_t slash = text.find('/');
    const auto numerator = number(text.substr(0, slash));
    const auto denominator =
        slash == text.npos ? std::optional<std::int64_t>(1) : number(text.substr(slash + 1));
    if (!numerator || !denominator) return {};
    return reduced(*numerator, *denominator);
}

std::optional<RationalTime> RationalTime::sum(RationalTime a, RationalTime b) {
    // Over the least common denominator, so that few sums are too large.
    const std::int64_t common = std::gcd(a.denominator_, b.denominator_);
    const Wide denominator = Wide{a.denominator_ / common} * b.denominator_;
    const Wide numerator = Wide{a.numerator_} * (b.denominator_ / common) +
                           Wide{b.numerator_} * (a.denominator_ / common);
    if (!fits(numerator) || !fits(denominator)) return {};
    return reduced(static_cast<std::int64_t>(numerator), static_cast<std::int64_t>(denominator));
}

std::optional<RationalTime> RationalTime::difference(RationalTime a, RationalTime b) {
    b.numerator_ = -b.numerator_;
    return sum(a, b);
}

std::strong_ordering RationalTime::operator<=>(const RationalTime& other) const {
    const Wide mine = Wide{numerator_} * other.denominator_;
    const Wide others = Wide{other.numerator_} * denominator_;
    return mine < others   ? std::strong_ordering::less
           : mine > others ? std::strong_ordering::greater
                           : std::strong_ordering::equal;
}

std::string RationalTime::text() const {
    const std::string whole = std::to_string(numerator_);
    return denominator_ == 1 ? whole + "s" : whole + "/" + std::to_string(denominator_) + "s";
}

}  // namespace reelsweep
