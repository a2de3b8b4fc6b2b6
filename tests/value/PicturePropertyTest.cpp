// The picture and the proof on random timelines, against a plain look at every single frame.
#include "tests/plain/PlainPicture.h"
#include "tests/properties/Random.h"
#include "tests/properties/RandomCheck.h"
#include "tests/value/DecoratedTimeline.h"
#include "tests/value/Values.h"

#include <gtest/gtest.h>
#include <algorithm>

namespace reelsweep::test {
namespace {

// Malformed timelines reach as far as numbers do; this much of them is looked at.
constexpr int firstFrame = -60;
constexpr int endFrame = 700;
constexpr FrameRange looked{{firstFrame}, {endFrame}};

std::vector<std::string> plainFrames(XMLNode document, XMLNode sequence, MediaType type) {
    return type == MediaType::video ? plainPicture(document, sequence, firstFrame, endFrame)
                                    : plainSound(document, sequence, firstFrame, endFrame);
}

constexpr MediaType types[] = {MediaType::video, MediaType::audio};

// The first frame at which two lists of frames are not the same, in words.
std::string unlike(const std::vector<std::string>& product, const std::vector<std::string>& plain) {
    const auto [a, b] = std::mismatch(product.begin(), product.end(), plain.begin());
    if (a == product.end()) return {};
    return "frame " + std::to_string(a - product.begin() + firstFrame) + "\n  product " + *a +
           "\n  plain   " + *b;
}

TEST(PictureProperty, IsWhatAViewerSeesAtEachFrame) {
    expectOnRandomTimelines(
        [](const std::string& text, const std::string& part) -> Fault {
            const Timeline timeline(text);
            const XMLNode document = timeline.document.node();
            const reelsweep::Timeline value = valueOf(timeline);
            for (const MediaType type : types) {
                if (!isMeant(part, description(type))) continue;
                const Intervals whole(value, type, allFrames, {});
                const Intervals piece(value, type, looked, {});
                const auto plain = plainFrames(document, timeline.sequence, type);
                for (const Intervals* intervals : {&whole, &piece}) {
                    const auto frames = frameTexts(*intervals, document, firstFrame, endFrame);
                    const std::string wrong = unlike(frames, plain);
                    if (!wrong.empty()) return {description(type), wrong};
                }
            }
            return {};
        },
        decoratedTimeline);
}

TEST(PictureProperty, ATimelineDiffersFromItselfNowhere) {
    expectOnRandomTimelines(
        [](const std::string& text, const std::string&) -> Fault {
            const Timeline timeline(text);
            const auto catalogue = MediaCatalogue::of(timeline.document.node());
            const XMLNode copy = timeline.sequence.copy();
            const auto before = reelsweep::Timeline::of(timeline.sequence, catalogue);
            const auto after = reelsweep::Timeline::of(copy, catalogue);
            const PictureDifference difference(before, after, {true, true, true});
            if (difference.isSame() && difference.same(MediaType::video) == difference.frames())
                return {};
            return {"", differencesText(difference, MediaType::video) + " and " +
                            differencesText(difference, MediaType::audio)};
        },
        decoratedTimeline);
}

// One small error in a sequence

XMLNode someItem(XMLNode sequence, Random& random, const char* kind) {
    std::vector<XMLNode> items;
    sequence.forEachDescendant({kind}, [&](XMLNode node) {
        if (node.parent().isElement("track")) items.push_back(node);
    });
    return items.empty() ? XMLNode() : random.one(items);
}

void add(XMLNode time, int frames) {
    if (time) time.setText((leadingFrames(time.stringValue()) + Frames{frames}).text());
}

void shift(XMLNode item, std::initializer_list<const char*> times, int frames) {
    for (const char* const time : times)
        if (item.child(time).stringValue() != "-1") add(item.child(time), frames);
}

void swapPlaces(XMLNode a, XMLNode b) {
    for (const char* const name : {"start", "end", "in", "out"}) {
        XMLNode first = a.child(name), second = b.child(name);
        if (!first || !second) continue;
        const std::string text = first.stringValue();
        first.setText(second.stringValue());
        second.setText(text);
    }
}

struct Error {
    const char* name;
    void (*make)(XMLNode sequence, Random& random);
};

const Error errors[] = {
    {"one frame later",
     [](XMLNode s, Random& r) {
         shift(someItem(s, r, "clipitem"), {"start", "end"}, 1);
     }},
    {"other source frame",
     [](XMLNode s, Random& r) {
         shift(someItem(s, r, "clipitem"), {"in", "out"}, 1);
     }},
    {"longer by a frame",
     [](XMLNode s, Random& r) { shift(someItem(s, r, "clipitem"), {"end"}, 1); }},
    {"begins a frame earlier",
     [](XMLNode s, Random& r) {
         shift(someItem(s, r, "generatoritem"), {"start", "in"}, -1);
     }},
    {"gone", [](XMLNode s, Random& r) { someItem(s, r, "clipitem").detach(); }},
    {"transition gone", [](XMLNode s, Random& r) { someItem(s, r, "transitionitem").detach(); }},
    {"transition moved",
     [](XMLNode s, Random& r) {
         shift(someItem(s, r, "transitionitem"), {"start", "end"}, 1);
     }},
    {"swapped",
     [](XMLNode s, Random& r) {
         swapPlaces(someItem(s, r, "clipitem"), someItem(s, r, "clipitem"));
     }},
    {"on another track",
     [](XMLNode s, Random& r) { someItem(s, r, "track").appendChild(someItem(s, r, "clipitem")); }},
    {"without filter",
     [](XMLNode s, Random& r) { someItem(s, r, "clipitem").child("filter").detach(); }},
    {"other value",
     [](XMLNode s, Random& r) {
         add(someItem(s, r, "clipitem")
                 .child("filter")
                 .child("effect")
                 .child("parameter")
                 .child("value"),
             1);
     }},
    {"disabled",
     [](XMLNode s, Random& r) {
         XMLNode enabled = *s.parseDetached("<enabled>False</enabled>");
         someItem(s, r, "clipitem").prependChild(enabled);
     }},
};

// The frames that the differences name, of those looked at.
std::vector<bool> framesOf(const std::vector<Difference>& differences) {
    std::vector<bool> differ(static_cast<std::size_t>(endFrame - firstFrame));
    for (const Difference& difference : differences) {
        const Frames from = std::max(difference.range.start, looked.start);
        const Frames to = std::min(difference.range.end, looked.end);
        for (Frames f = from; f < to; f = f + Frames{1})
            differ[static_cast<std::size_t>((f - looked.start).count)] = true;
    }
    return differ;
}

std::string missed(const PictureDifference& found, MediaType type,
                   const std::vector<std::string>& before, const std::vector<std::string>& after) {
    const std::vector<bool> differ = framesOf(found.differences(type));
    for (std::size_t f = 0; f < differ.size(); ++f)
        if (differ[f] != (before[f] != after[f]))
            return "frame " + std::to_string(static_cast<int>(f) + firstFrame) +
                   (differ[f] ? " is no difference" : " is not found") + "\n  before " + before[f] +
                   "\n  after  " + after[f] + "\n  found  " + differencesText(found, type);
    return {};
}

TEST(PictureProperty, EveryFrameThatAnErrorChangesIsFoundAndNoOther) {
    std::size_t found = 0;
    expectOnRandomTimelines(
        [&](const std::string& text, const std::string& part) -> Fault {
            const Timeline timeline(text);
            const XMLNode document = timeline.document.node();
            const auto catalogue = MediaCatalogue::of(document);
            const auto before = reelsweep::Timeline::of(timeline.sequence, catalogue);
            const std::vector<std::string> was[] = {
                plainFrames(document, timeline.sequence, MediaType::video),
                plainFrames(document, timeline.sequence, MediaType::audio)};
            for (const Error& error : errors) {
                if (!isMeant(part, error.name)) continue;
                Random random(std::hash<std::string>()(error.name) + text.size());
                // Each timeline gets some of the errors: all of them take long.
                const bool isLeftOut = random.chance(75);
                if (part.empty() && isLeftOut) continue;
                const XMLNode copy = timeline.sequence.copy();
                error.make(copy, random);
                const auto after = reelsweep::Timeline::of(copy, catalogue);
                const PictureDifference difference(before, after);
                for (const MediaType type : types) {
                    const auto is = plainFrames(document, copy, type);
                    const auto& wasHere = was[type == MediaType::video ? 0 : 1];
                    const std::string wrong = missed(difference, type, wasHere, is);
                    if (!wrong.empty()) return {error.name, wrong};
                    found += is == wasHere ? 0 : 1;
                }
            }
            return {};
        },
        decoratedTimeline);
    EXPECT_GT(found, 0u);
}

// What is asked for

std::string changedText(XMLNode source, XMLNode copy, Asked asked,
                        const std::shared_ptr<MediaCatalogue>& catalogue) {
    const PictureDifference difference(reelsweep::Timeline::of(source, catalogue),
                                       reelsweep::Timeline::of(copy, catalogue), asked);
    if (difference.isAsAsked()) return {};
    return differencesText(difference, MediaType::video) + " and " +
           differencesText(difference, MediaType::audio);
}

TEST(PictureProperty, RemovedFiltersChangeOnlyWhatWasAsked) {
    expectOnRandomTimelines(
        [](const std::string& text, const std::string&) -> Fault {
            const Timeline timeline(text);
            const auto catalogue = MediaCatalogue::of(timeline.document.node());
            const XMLNode copy = timeline.sequence.copy();
            std::vector<XMLNode> filters;
            copy.forEachDescendant({"filter"}, [&](XMLNode filter) { filters.push_back(filter); });
            for (XMLNode& filter : filters) filter.detach();
            return {"", changedText(timeline.sequence, copy, {.filters = true}, catalogue)};
        },
        decoratedTimeline);
}

Frames timeOf(XMLNode item, const char* name) {
    return leadingFrames(item.child(name).firstText().value());
}

// Cuts where the transition was: both clips keep their frames, and meet anywhere inside it.
void close(XMLNode transition, Random& random) {
    const Frames start = timeOf(transition, "start");
    const Frames end = timeOf(transition, "end");
    XMLNode before = transition.previousSibling();
    XMLNode after = transition.nextSibling();
    while (before && !isTimelineItem(before)) before = before.previousSibling();
    while (after && !isTimelineItem(after)) after = after.nextSibling();
    const Frames ownStart = timeOf(after, "start");
    const Frames ownEnd = timeOf(before, "end");
    const bool runsOut = ownEnd == edgeInTransition;
    const bool runsIn = ownStart == edgeInTransition;
    Frames cut = runsOut ? end : start;
    if (runsOut && runsIn)
        cut = start + Frames{random.upTo(0, static_cast<int>((end - start).count))};
    // A clip with an edge of its own inside the transition says where the cut is.
    if (runsOut && isClip(after) && !runsIn && start <= ownStart && ownStart < end) cut = ownStart;
    if (runsIn && isClip(before) && !runsOut && start < ownEnd && ownEnd <= end) cut = ownEnd;
    if (runsOut) before.child("end").setText(cut.text());
    if (runsIn) {
        after.child("start").setText(cut.text());
        add(after.child("in"), static_cast<int>((cut - start).count));
    }
}

// A gap between the edges that two clips have inside their transition.
bool leavesGap(const Item& item) {
    if (!item.transition || !item.transition->outgoing || !item.transition->incoming) return false;
    const Item& outgoing = *item.transition->outgoing;
    const Item& incoming = *item.transition->incoming;
    return outgoing.endPlace == EdgePlace::own && incoming.startPlace == EdgePlace::own &&
           outgoing.cut.end != incoming.cut.start;
}

// Malformed transitions, and clips too short for theirs, do not say what closing them would be.
bool canBeClosed(const reelsweep::Timeline& timeline) {
    return std::all_of(timeline.items().begin(), timeline.items().end(), [](const Item& item) {
        const Frames inEnd = item.fadesIn ? item.fadesIn->range.end : item.range.start;
        const Frames outStart = item.fadesOut ? item.fadesOut->range.start : item.range.end;
        return item.hasPlace() && !item.isEmpty() && !leavesGap(item) && inEnd <= outStart &&
               inEnd <= item.range.end && item.range.start <= outStart &&
               (!item.fadesIn || item.node.child("in"));
    });
}

TEST(PictureProperty, TransitionsClosedInSyncChangeOnlyWhatWasAsked) {
    std::size_t closed = 0;
    expectOnRandomTimelines([&](const std::string& text, const std::string&) -> Fault {
        const Timeline timeline(text);
        const auto catalogue = MediaCatalogue::of(timeline.document.node());
        if (!canBeClosed(reelsweep::Timeline::of(timeline.sequence, catalogue))) return {};
        const XMLNode copy = timeline.sequence.copy();
        std::vector<XMLNode> transitions;
        copy.forEachDescendant({"transitionitem"}, [&](XMLNode t) { transitions.push_back(t); });
        Random random(text.size());
        for (const XMLNode& transition : transitions) close(transition, random);
        for (XMLNode& transition : transitions) transition.detach();
        closed += transitions.size();
        return {"", changedText(timeline.sequence, copy,
                                {.videoTransitions = true, .audioTransitions = true}, catalogue)};
    });
    EXPECT_GT(closed, 0u);
}

}  // namespace
}  // namespace reelsweep::test
