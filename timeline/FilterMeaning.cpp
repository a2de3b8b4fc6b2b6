#include "timeline/FilterMeaning.h"

#include "timeline/ElementText.h"

#include <algorithm>
#include <utility>

namespace reelsweep {

namespace {

// Effect identifiers and names, as Final Cut Pro, Premiere Pro and Resolve write them.
constexpr std::pair<std::string_view, FilterMeaning> meanings[] = {
    {"opacity", FilterMeaning::opacity},
    {"basic", FilterMeaning::motion},
    {"basic motion", FilterMeaning::motion},
    {"crop", FilterMeaning::crop},
    {"deformation", FilterMeaning::distort},
    {"distort", FilterMeaning::distort},
    {"timeremap", FilterMeaning::speed},
    {"time remap", FilterMeaning::speed},
    {"audiolevels", FilterMeaning::level},
    {"audio levels", FilterMeaning::level},
    {"audiopan", FilterMeaning::pan},
    {"audio pan", FilterMeaning::pan},
    // They change each pixel by itself and have no say over its transparency.
    {"color corrector", FilterMeaning::colour},
    {"colorcorrection", FilterMeaning::colour},
    {"color corrector 3-way", FilterMeaning::colour},
    {"brightness and contrast", FilterMeaning::colour},
    {"brightness and contrast (bezier)", FilterMeaning::colour},
    {"broadcast safe", FilterMeaning::colour},
    {"desaturate", FilterMeaning::colour},
    {"desaturate highlights", FilterMeaning::colour},
    {"desaturate lows", FilterMeaning::colour},
    {"gamma correction", FilterMeaning::colour},
    {"levels", FilterMeaning::colour},
    {"proc amp", FilterMeaning::colour},
    {"rgb balance", FilterMeaning::colour},
    {"sepia", FilterMeaning::colour},
    {"tint", FilterMeaning::colour},
};

struct Default {
    FilterMeaning meaning;
    std::string_view parameter;
    std::string_view value;
};

constexpr Default defaults[] = {
    {FilterMeaning::opacity, "opacity", "100"},
    {FilterMeaning::motion, "scale", "100"},
    {FilterMeaning::motion, "rotation", "0"},
    {FilterMeaning::motion, "center", "0 0"},
    {FilterMeaning::motion, "centerOffset", "0 0"},
    {FilterMeaning::motion, "antiflicker", "0"},
    {FilterMeaning::crop, "left", "0"},
    {FilterMeaning::crop, "right", "0"},
    {FilterMeaning::crop, "top", "0"},
    {FilterMeaning::crop, "bottom", "0"},
    {FilterMeaning::crop, "edgefeather", "0"},
    {FilterMeaning::distort, "ulcorner", "-0.5 -0.5"},
    {FilterMeaning::distort, "urcorner", "0.5 -0.5"},
    {FilterMeaning::distort, "lrcorner", "0.5 0.5"},
    {FilterMeaning::distort, "llcorner", "-0.5 0.5"},
    {FilterMeaning::distort, "aspect", "0"},
    {FilterMeaning::level, "level", "1"},
};

// "horiz 0.0 vert 0" as "0 0".
std::string numbersOf(std::string_view value) {
    std::string numbers;
    while (!value.empty()) {
        const std::size_t end = std::min(value.find(' '), value.size());
        const std::string_view word = value.substr(0, end);
        value.remove_prefix(std::min(end + 1, value.size()));
        if (word.empty() || word == "horiz" || word == "vert") continue;
        if (!numbers.empty()) numbers += ' ';
        numbers += plainNumber(word);
    }
    return numbers;
}

bool isDefault(FilterMeaning meaning, const Parameter& parameter) {
    if (!parameter.keyframes.empty()) return false;
    return std::any_of(std::begin(defaults), std::end(defaults), [&](const Default& known) {
        return known.meaning == meaning && equalInAnyCase(known.parameter, parameter.id) &&
               known.value == numbersOf(parameter.value);
    });
}

std::string_view valueOf(const Filter& filter, std::string_view id) {
    const Parameter* const parameter = filter.parameter(id);
    return parameter ? parameter->value : std::string_view();
}

}  // namespace

const Parameter* Filter::parameter(std::string_view id) const {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const Parameter& p) { return equalInAnyCase(p.id, id); });
    return found == parameters.end() ? nullptr : &*found;
}

bool Speed::operator==(const Speed& other) const {
    const auto equalKeys = [](const Keyframe& a, const Keyframe& b) {
        return a.when == b.when && a.value == b.value;
    };
    return kind == other.kind && reversed == other.reversed && percent == other.percent &&
           std::equal(keyframes.begin(), keyframes.end(), other.keyframes.begin(),
                      other.keyframes.end(), equalKeys);
}

FilterMeaning filterMeaning(std::string_view effect) {
    for (const auto& [name, meaning] : meanings)
        if (equalInAnyCase(effect, name)) return meaning;
    return FilterMeaning::other;
}

bool isAtDefaults(const Filter& filter) {
    if (filter.meaning == FilterMeaning::speed) return speedOf(filter).kind == Speed::Kind::plain;
    const bool hasDefaults =
        std::any_of(std::begin(defaults), std::end(defaults),
                    [&](const Default& known) { return known.meaning == filter.meaning; });
    return hasDefaults &&
           std::all_of(filter.parameters.begin(), filter.parameters.end(),
                       [&](const Parameter& p) { return isDefault(filter.meaning, p); });
}

Speed speedOf(const Filter& timeRemap) {
    Speed speed;
    if (const std::string_view percent = valueOf(timeRemap, "speed"); !percent.empty())
        speed.percent = percent;
    speed.reversed = isTrue(valueOf(timeRemap, "reverse")) || speed.percent.front() == '-';
    const Parameter* const graph = timeRemap.parameter("graphdict");
    const std::string_view variable = valueOf(timeRemap, "variablespeed");
    const bool isVariable = !variable.empty() && variable != "0" && !isFalse(variable);
    // A frozen frame has the speed 0, and its keyframes say which frame it is.
    if (graph && !graph->keyframes.empty() && (isVariable || speed.percent == "0")) {
        speed.kind = Speed::Kind::remapped;
        speed.keyframes = graph->keyframes;
    } else if (speed.percent != "100" || speed.reversed) {
        speed.kind = Speed::Kind::constant;
    }
    return speed;
}

Amount amountOf(const Filter& filter, std::string_view fallback) {
    for (const Parameter& parameter : filter.parameters) {
        const bool isTheOne = equalInAnyCase(parameter.id, "opacity") ||
                              equalInAnyCase(parameter.id, "level") ||
                              filter.parameters.size() == 1;
        if (isTheOne) return {parameter.value, parameter.keyframes};
    }
    return {fallback, {}};
}

}  // namespace reelsweep
