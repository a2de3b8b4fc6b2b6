#include "tidy/TidyRules.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>

#include <fnmatch.h>

namespace reelsweep {

namespace {

bool answersToAny(std::span<const std::string> names, const std::vector<std::string>& patterns) {
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        return std::any_of(patterns.begin(), patterns.end(),
                           [&](const std::string& pattern) { return answersTo(name, pattern); });
    });
}

// A row of the table; the path leads to its list.
template <auto... path>
constexpr RuleRow row(std::string_view key, std::string_view option, std::string_view value,
                      std::string_view summary) {
    using List = std::vector<std::string>;
    return {key,
            option,
            value,
            summary,
            [](TidyRules& rules) -> List& { return (rules.*....*path); },
            [](const TidyRules& rules) -> const List& { return (rules.*....*path); }};
}

constexpr auto keep = &ElementRule::keep;
constexpr auto only = &ElementRule::only;
constexpr auto filters = &TidyRules::filters;
constexpr auto markers = &TidyRules::markers;
constexpr auto transitions = &TidyRules::transitions;
constexpr auto table = std::to_array<RuleRow>({
    row<&TidyRules::tracks>("excludeTracks", "--exclude-track", "TRACK",
                            "Leave a track alone, and hide nothing under it: V3,\n"
                            "A1-A4, or its name; may be repeated"),
    row<&TidyRules::clips>("excludeClips", "--exclude-clip", "CLIP",
                           "The same for clips: an id, or a name"),
    row<&TidyRules::colours>("excludeColours", "--exclude-colour", "LABEL",
                             "The same for clips with this label"),
    row<filters, keep>("filtersKeep", "--filters-keep", "NAME",
                       "Filters that removeFilters leaves in place"),
    row<filters, only>("filtersOnly", "--filters-only", "NAME",
                       "The only filters that removeFilters takes out"),
    row<markers, keep>("markersKeep", "--markers-keep", "TEXT",
                       "Markers that removeMarkers leaves in place, by name,\n"
                       "comment or colour"),
    row<markers, only>("markersOnly", "--markers-only", "TEXT",
                       "The only markers that removeMarkers takes out"),
    row<transitions, keep>("transitionsKeep", "--transitions-keep", "NAME",
                           "Transitions that stay, by the name of their effect"),
    row<transitions, only>("transitionsOnly", "--transitions-only", "NAME",
                           "The only transitions that are taken out"),
});

void append(std::vector<std::string>& list, const std::vector<std::string>& more) {
    for (const std::string& text : more)
        if (std::find(list.begin(), list.end(), text) == list.end()) list.push_back(text);
}

// Without the layout around it.
std::string trimmed(const std::string& text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

struct Colour {
    int red = 0;
    int green = 0;
    int blue = 0;
};

// The word for a colour: by its hue, where it has one.
std::string wordFor(const Colour& colour) {
    const auto [low, high] = std::minmax({colour.red, colour.green, colour.blue});
    const int depth = high - low;
    if (depth < 24) return high > 200 ? "white" : high < 50 ? "black" : "grey";
    int hue = colour.red == high     ? 60 * (colour.green - colour.blue) / depth
              : colour.green == high ? 120 + 60 * (colour.blue - colour.red) / depth
                                     : 240 + 60 * (colour.red - colour.green) / depth;
    if (hue < 0) hue += 360;
    constexpr std::array<std::pair<int, const char*>, 8> words = {{{14, "red"},
                                                                   {41, "orange"},
                                                                   {70, "yellow"},
                                                                   {160, "green"},
                                                                   {200, "cyan"},
                                                                   {255, "blue"},
                                                                   {320, "purple"},
                                                                   {345, "pink"}}};
    for (const auto& [upTo, word] : words)
        if (hue <= upTo) return word;
    return "red";
}

std::optional<Colour> colourOf(XMLNode marker) {
    const auto number = [](XMLNode element) {
        return std::strtoll(element.stringValue().c_str(), nullptr, 10);
    };
    // One number, with red in the lowest byte.
    if (const XMLNode packed = marker.child("pproColor")) {
        const auto bytes = static_cast<std::uint32_t>(number(packed));
        return Colour{static_cast<int>(bytes & 0xff), static_cast<int>(bytes >> 8 & 0xff),
                      static_cast<int>(bytes >> 16 & 0xff)};
    }
    const XMLNode colour = marker.child("color");
    if (!colour) return {};
    const auto part = [&](const char* name) {
        return static_cast<int>(std::clamp(number(colour.child(name)), 0LL, 255LL));
    };
    return Colour{part("red"), part("green"), part("blue")};
}

}  // namespace

bool ElementRule::keeps(std::span<const std::string> names) const {
    return answersToAny(names, keep) || (!only.empty() && !answersToAny(names, only));
}

TidyRules merged(TidyRules rules, const TidyRules& more) {
    for (const RuleRow& each : table) append(each.list(rules), each.of(more));
    return rules;
}

std::span<const RuleRow> ruleTable() { return table; }

bool answersTo(const std::string& text, const std::string& pattern) {
    return ::fnmatch(pattern.c_str(), text.c_str(), FNM_CASEFOLD) == 0;
}

bool isPattern(std::string_view text) { return text.find_first_of("*?[") != text.npos; }

std::vector<std::string> effectNames(XMLNode filterOrTransition) {
    const XMLNode effect = filterOrTransition.child("effect");
    std::vector<std::string> names;
    for (const XMLNode element :
         {effect.child("name"), effect.child("effectid"), filterOrTransition.child("name")})
        if (element) names.push_back(trimmed(element.stringValue()));
    return names;
}

std::vector<std::string> markerNames(XMLNode marker) {
    std::vector<std::string> names;
    for (const XMLNode element : {marker.child("name"), marker.child("comment")})
        if (element) names.push_back(trimmed(element.stringValue()));
    if (const auto colour = colourOf(marker)) names.push_back(wordFor(*colour));
    return names;
}

}  // namespace reelsweep
