#include "timeline/TrackEntry.h"

#include "timeline/ItemTimes.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace reelsweep {

bool conflict(FrameRange lower, FrameRange upper) {
    return (lower.start >= upper.start && lower.start < upper.end) ||
           (lower.end > upper.start && lower.end <= upper.end) ||
           (lower.start <= upper.start && lower.end >= upper.end);
}

Overlap overlapOf(FrameRange item, FrameRange hiding) {
    const auto [start, end] = item;
    const Frames zero{0};
    if (start >= zero && end >= zero && start < hiding.start && end > hiding.end)
        return Overlap::sticksOutOnBothSides;
    if (start < hiding.start && end <= hiding.end && end > hiding.start) return Overlap::tailHidden;
    if (start >= hiding.start && start < hiding.end && end > hiding.end) return Overlap::headHidden;
    if (start >= hiding.start && end <= hiding.end) return Overlap::inside;
    return Overlap::none;
}

TrackEntry TrackEntry::of(XMLNode node) {
    TrackEntry entry;
    entry.node = node;
    entry.smallestEnd = std::numeric_limits<double>::infinity();
    entry.largestEnd = -std::numeric_limits<double>::infinity();
    if (node.isElement("clipitem") || node.isElement("generatoritem"))
        entry.kind = Kind::item;
    else if (node.isElement("transitionitem"))
        entry.kind = Kind::transition;

    const auto [startElement, endElement] = node.firstChildren({"start", "end"});
    const EdgeText start = EdgeText::of(startElement);
    const EdgeText end = EdgeText::of(endElement);
    entry.start = start.frames;
    entry.startNumber = start.number;
    entry.startInTransition = start.inTransition;
    entry.end = end.frames;
    entry.wholeTexts = {start.wholeText, end.wholeText};
    entry.endNumber = end.number;
    entry.endInTransition = end.inTransition;
    entry.isPlain = entry.isTimed() && start.isPlain() && end.isPlain() &&
                    !(entry.kind == Kind::transition && (start.inTransition || end.inTransition));
    for (XMLNode e = endElement; e; e = e.nextSibling("end")) {
        const double number = e == endElement ? end.number : EdgeText::of(e).number;
        if (std::isnan(number)) continue;
        entry.smallestEnd = std::min(entry.smallestEnd, number);
        entry.largestEnd = std::max(entry.largestEnd, number);
    }
    return entry;
}

FoundBy TrackEntry::foundInTheWayOf(FrameRange range) const {
    const double from = static_cast<double>(range.start.count);
    const double to = static_cast<double>(range.end.count);
    if (!isTimed()) return FoundBy::nothing;
    if (startNumber >= from && startNumber < to) return FoundBy::startInRange;
    if (endNumber > from && endNumber <= to) return FoundBy::endInRange;
    if (startNumber <= from && endNumber >= to) return FoundBy::coveringRange;
    const bool groupOnly = kind == Kind::item && startNumber == -1 && endNumber == -1;
    return groupOnly ? FoundBy::groupOnly : FoundBy::nothing;
}

FoundBy TrackEntry::foundInside(FrameRange range) const {
    if (kind != Kind::item) return FoundBy::nothing;
    if (startNumber >= static_cast<double>(range.start.count) &&
        endNumber <= static_cast<double>(range.end.count))
        return FoundBy::ownRange;
    return startNumber == -1 && endNumber == -1 ? FoundBy::groupOnly : FoundBy::nothing;
}

}  // namespace reelsweep
