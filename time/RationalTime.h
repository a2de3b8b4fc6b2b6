// RationalTime: a time in seconds as FCPXML writes it: "5s", "1001/30000s". Exact integers.
//
// Thread rule: plain values.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace reelsweep {

class RationalTime {
public:
    RationalTime() = default;

    /// Nothing for a text that is no such time, or whose numbers do not fit.
    static std::optional<RationalTime> parse(std::string_view text);

    /// Nothing when the result does not fit.
    static std::optional<RationalTime> sum(RationalTime a, RationalTime b);
    static std::optional<RationalTime> difference(RationalTime a, RationalTime b);

    bool isNegative() const { return numerator_ < 0; }
    std::strong_ordering operator<=>(const RationalTime& other) const;
    bool operator==(const RationalTime&) const = default;

    /// In lowest terms: "5s", "1001/30000s".
    std::string text() const;

private:
    static std::optional<RationalTime> reduced(std::int64_t numerator, std::int64_t denominator);

    std::int64_t numerator_ = 0;
    std::int64_t denominator_ = 1;  ///< above 0, and without a factor in common with the numerator
};

}  // namespace reelsweep
