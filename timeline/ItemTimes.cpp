#include "timeline/ItemTimes.h"

#include "timeline/ElementText.h"

#include <cmath>
#include <limits>

namespace reelsweep {

namespace {

bool isOneText(XMLNode element, XMLNode firstText) {
    return firstText && firstText == element.firstChild() && !firstText.nextSibling();
}

}  // namespace

Frames framesOf(XMLNode element) {
    const char* const only = element.onlyText();
    if (!only) return leadingFrames(element.stringValue());
    const auto number = wholeNumber(only);
    return number ? *number : leadingFrames(only);
}

ItemTimes ItemTimes::of(XMLNode item) {
    const auto [start, end, in, out] = item.firstChildren({"start", "end", "in", "out"});
    const auto read = [](XMLNode time) {
        return time ? std::optional(framesOf(time)) : std::nullopt;
    };
    return {read(start), read(end), read(in), read(out)};
}

EdgeText EdgeText::of(XMLNode element) {
    EdgeText edge{{}, {}, std::numeric_limits<double>::quiet_NaN()};
    if (!element) return edge;
    const char* const only = element.onlyText();
    if (const auto number = only ? wholeNumber(only) : std::nullopt) {
        edge.frames = edge.wholeText = *number;
        edge.number = static_cast<double>(number->count);
        edge.inTransition = only == edgeInTransitionText;
        return edge;
    }
    const XMLNode text = element.firstText();
    edge.frames = leadingFrames(text.value());
    edge.inTransition = text.value() == edgeInTransitionText;
    if (isOneText(element, text)) {
        edge.wholeText = edge.frames;
        edge.number = xpathNumber(text.value());
    } else {
        const std::string whole = element.stringValue();
        edge.wholeText = leadingFrames(whole);
        edge.number = xpathNumber(whole);
    }
    return edge;
}

bool EdgeText::isPlain() const {
    constexpr double largestExactInteger = 9007199254740992.0;  // 2^53
    return frames == wholeText && number == static_cast<double>(frames.count) &&
           std::abs(number) < largestExactInteger && (frames == edgeInTransition) == inTransition;
}

}  // namespace reelsweep
