#include "base/Format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace reelsweep {
namespace {

struct Clip {
    std::string name;
};
std::string description(const Clip& clip) { return "clip " + clip.name; }

struct Place {
    std::string description() const { return "file:3"; }
};

enum class Track { video = 7 };

TEST(Format, RendersEveryArgumentAfterItsOwnType) {
    const char* const none = nullptr;
    const struct {
        std::string text;
        const char* expected;
    } rows[] = {
        {formatText("plain"), "plain"},
        {formatText("%@ %@ %@", "a", std::string("b"), std::string_view("c")), "a b c"},
        {formatText("%@|%s|%@", none, nullptr, std::optional<int>()), "(null)|(null)|(null)"},
        {formatText("%@ %@", std::optional<std::string>("x"), Clip{"A"}), "x clip A"},
        {formatText("%@ at %s", Clip{"B"}, Place{}), "clip B at file:3"},
        {formatText("%i %li %d %u", -1, LLONG_MIN, ULLONG_MAX, -5),
         "-1 -9223372036854775808 18446744073709551615 -5"},
        {formatText("%i %@ %i", true, 12L, Track::video), "1 12 7"},
        {formatText("%i", "text"), "text"},
        {formatText("%0.2f %.0f %f %@", 1.005, 2.5, 1, 0.1), "1.00 2 1.000000 0.1"},
        {formatText("%i %g %e %f", -2.9, 1e-7, 12345.678, NAN), "-2 1e-07 1.234568e+04 nan"},
        {formatText("%f", -1e308).substr(0, 5), "-1000"},
        {formatText("%x %X %#x %o %x", 255, 255, 255, 8, -1), "ff FF 0xff 10 ffffffffffffffff"},
        {formatText("%C%C%c%C", 'A', 0xFC, 0x1F3AC, 0xD800), "Aü\U0001F3AC\uFFFD"},
        {formatText("[%5d|%-5d|%05d|%+d|%.3d]", 42, 42, -42, 42, 7), "[   42|42   |-0042|+42|007]"},
        {formatText("[%6@|%-6@|%.2@]", "äö", "äö", "äöü"), "[    äö|äö    |äö]"},
        {formatText("[%*d|%-*d|%.*f]", 4, 1, -4, 1, 1, 0.25), "[   1|1   |0.2]"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.text, row.expected);
}

TEST(Format, ABadFormatPrintsWhatItCanAndNothingElse) {
    const struct {
        std::string text;
        const char* expected;
    } rows[] = {
        {formatText(""), ""},
        {formatText("%"), "%"},
        {formatText("100%"), "100%"},
        {formatText("%%"), "%"},
        {formatText("%@ and %d."), " and ."},
        {formatText("%i", 1, 2, 3), "1"},
        {formatText("%y %i", 5), "%y 5"},
        {formatText("%n%i", 5), "%n5"},
        {formatText("%-0 #", 5), "%-0 #"},
        {formatText("%lll"), "%lll"},
        {formatText("%*", 3), "%*"},
        {formatText("%*y %i", 3), "%*y 3"},
        {formatText("file%20name %i", 5), "file%20name 5"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.text, row.expected);
    // A width or precision out of all reason costs no memory.
    EXPECT_LT(formatText("%99999999999999999999d", 1).size(), 10000u);
    EXPECT_LT(formatText("%.99999999999999f", 1.5).size(), 10000u);
    const std::string longText(100'000, 'x');
    EXPECT_EQ(formatText("<%@|%@>", longText, longText), "<" + longText + "|" + longText + ">");
}

}  // namespace
}  // namespace reelsweep
