#include "tidy/passes/Passes.h"
#include "timeline/QVXMLParser.h"
#include "timeline/Vocabulary.h"

#include <algorithm>
#include <array>
#include <span>

namespace reelsweep::passes {

namespace {

using NamesOf = std::vector<std::string> (*)(XMLNode);

// "all markers are removed", or those that the rules leave over.
std::string reasonFor(std::string_view element, const ElementRule& rule) {
    return (rule.isEmpty() ? "all " : "these ") + std::string(element) + "s are removed";
}

// Looks at what taking these out will need. The elements lie far apart in memory: looked at in a
// row they arrive together, where each by itself would be waited for.
void lookAhead(std::span<const XMLNode> elements) {
    for (const XMLNode& element : elements) {
        static_cast<void>(element.firstChild().rawName());
        static_cast<void>(element.previousSibling().kind());
        static_cast<void>(element.nextSibling().kind());
    }
}

Outcome removeAllNamed(PassRun& run, std::string_view element, const ElementRule& rule,
                       NamesOf namesOf) {
    constexpr std::size_t atOnce = 16;
    const std::string reason = reasonFor(element, rule);
    const std::vector<XMLNode> elements = run.edit.elementsNamed(element);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (i % atOnce == 0)
            lookAhead(std::span(elements).subspan(i, std::min(atOnce, elements.size() - i)));
        const XMLNode node = elements[i];
        if (run.cancelled()) return PassRun::stopped();
        if (!rule.isEmpty() && rule.keeps(namesOf(node))) continue;
        if (run.keepsWhatHolds(node)) continue;
        run.edit.detach(node, reason);
    }
    return Done{};
}

constexpr Frames noTime{0};  // what a time that is missing counts as

// Gives the clips on both sides of a transition real edges, so that they meet at a cut. An odd
// length leaves one frame between them: both sides take the half that is rounded down.
void closeOver(PassRun& run, XMLNode transition) {
    const ItemTimes times = run.edit.times(transition);
    const Frames start = times.start.value_or(noTime);
    const Frames end = times.end.value_or(noTime);
    const Frames length = std::max(end - start, Frames{0});
    const XMLNode outgoing = transition.previousSibling();
    const XMLNode incoming = transition.nextSibling();
    const ItemTimes outgoingTimes = run.edit.times(outgoing);
    const ItemTimes incomingTimes = run.edit.times(incoming);
    const bool outgoingRunsIn = outgoingTimes.end == edgeInTransition;
    const bool incomingRunsIn = incomingTimes.start == edgeInTransition;
    const Frames amount = outgoingRunsIn && incomingRunsIn ? length.half() : length;
    if (outgoingRunsIn) {
        run.edit.trim(outgoing, {.start = {},
                                 .end = start + amount,
                                 .in = {},
                                 .out = outgoingTimes.out.value_or(noTime) - amount});
    }
    if (incomingRunsIn) {
        const Frames in = incomingTimes.in.value_or(noTime) + amount;
        run.edit.trim(incoming,
                      {.start = end - amount, .end = {}, .in = std::max(in, Frames{0}), .out = {}});
    }
}

// The same for a careful run: every clip keeps its source in sync. A fade leaves its clip whole.
// Of an odd length the incoming clip takes the frame more.
//   [aaaa(xx)      ->   [aaaaaa]
void closeInSync(PassRun& run, XMLNode transition) {
    const ItemTimes times = run.edit.times(transition);
    const Frames start = times.start.value_or(noTime);
    const Frames end = std::max(times.end.value_or(noTime), start);
    const XMLNode outgoing = transition.previousSibling();
    const XMLNode incoming = transition.nextSibling();
    const ItemTimes outgoingTimes = run.edit.times(outgoing);
    const ItemTimes incomingTimes = run.edit.times(incoming);
    const bool outgoingRunsIn = outgoingTimes.end == edgeInTransition;
    const bool incomingRunsIn = incomingTimes.start == edgeInTransition;
    const Frames middle = start + (end - start).half();
    const Frames cut = outgoingRunsIn && incomingRunsIn ? middle : outgoingRunsIn ? end : start;
    if (outgoingRunsIn) {
        ItemTimes closed{.start = {}, .end = cut, .in = {}, .out = {}};
        if (outgoingTimes.out) closed.out = *outgoingTimes.out - (end - cut);
        run.edit.trim(outgoing, closed);
    }
    if (incomingRunsIn) {
        ItemTimes closed{.start = cut, .end = {}, .in = {}, .out = {}};
        if (incomingTimes.in) closed.in = *incomingTimes.in + (cut - start);
        run.edit.trim(incoming, closed);
    }
}

bool isToStay(const PassRun& run, const ElementRule& rule, XMLNode transition) {
    if (!rule.isEmpty() && rule.keeps(effectNames(transition))) return true;
    return run.keepsAny(
               std::array{transition.previousSibling(), transition, transition.nextSibling()}) ||
           run.excludesTrack(transition.parent()) || run.excludesEverything();
}

Outcome removeTransitions(PassRun& run, MediaType type) {
    // One label for both types: it has never named the type.
    run.showProgress("Removing audio transitions...");
    std::vector<XMLNode> transitions;
    for (const XMLNode track : mainTracks(run.sequence(), type))
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            if (run.edit.isTransition(node)) transitions.push_back(node);
    const ElementRule rule = run.rules ? run.rules->transitions : ElementRule();
    std::erase_if(transitions, [&](XMLNode transition) { return isToStay(run, rule, transition); });
    for (const XMLNode& transition : transitions) {
        if (run.cancelled()) return PassRun::stopped();
        run.isCareful() ? closeInSync(run, transition) : closeOver(run, transition);
    }
    for (const XMLNode& transition : transitions) {
        if (run.cancelled()) return PassRun::stopped();
        run.edit.detach(transition, reasonFor("transition", rule));
    }
    return Done{};
}

}  // namespace

Outcome removeFilters(PassRun& run) {
    run.showProgress("Removing filters...");
    return removeAllNamed(run, "filter", run.rules ? run.rules->filters : ElementRule(),
                          effectNames);
}

Outcome removeMarkers(PassRun& run) {
    run.showProgress("Removing markers...");
    return removeAllNamed(run, "marker", run.rules ? run.rules->markers : ElementRule(),
                          markerNames);
}

Outcome removeVideoTransitions(PassRun& run) { return removeTransitions(run, MediaType::video); }
Outcome removeAudioTransitions(PassRun& run) { return removeTransitions(run, MediaType::audio); }

}  // namespace reelsweep::passes
