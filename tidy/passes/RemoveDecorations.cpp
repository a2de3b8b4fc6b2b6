#include "tidy/passes/Passes.h"
#include "timeline/QVXMLParser.h"
#include "timeline/Vocabulary.h"

#include <algorithm>

namespace reelsweep::passes {

namespace {

XMLNode removeAllNamed(PassRun& run, XMLNode sequence, std::string_view element) {
    const std::string reason = "all " + std::string(element) + "s are removed";
    for (const XMLNode& node : run.edit.elementsNamed(element)) {
        if (run.cancelled()) return {};
        run.edit.detach(node, reason);
    }
    return sequence;
}

// The edge of a neighbour that may run into a transition.
bool runsInto(XMLNode edge) {
    return edge && leadingFrames(edge.stringValue()) == edgeInTransition;
}

Frames framesIn(XMLNode item, const char* name) {
    return leadingFrames(item.child(name).stringValue());
}

// Gives the clips on both sides of a transition real edges, so that they meet at a cut. An odd
// length leaves one frame between them: both sides take the half that is rounded down.
void closeOver(PassRun& run, XMLNode transition) {
    const Frames start = framesIn(transition, "start");
    const Frames end = framesIn(transition, "end");
    const Frames length = std::max(end - start, Frames{0});
    const XMLNode outgoing = transition.previousSibling();
    const XMLNode incoming = transition.nextSibling();
    const bool outgoingRunsIn = runsInto(outgoing.child("end"));
    const bool incomingRunsIn = runsInto(incoming.child("start"));
    const Frames amount = outgoingRunsIn && incomingRunsIn ? length.half() : length;
    if (outgoingRunsIn) {
        run.edit.trim(outgoing, {.start = {},
                                 .end = start + amount,
                                 .in = {},
                                 .out = framesIn(outgoing, "out") - amount});
    }
    if (incomingRunsIn) {
        run.edit.trim(incoming, {.start = end - amount,
                                 .end = {},
                                 .in = std::max(framesIn(incoming, "in") + amount, Frames{0}),
                                 .out = {}});
    }
}

}  // namespace

XMLNode removeFilters(PassRun& run, XMLNode sequence) {
    run.setProgressLabelText("Removing filters...");
    return removeAllNamed(run, sequence, "filter");
}

XMLNode removeMarkers(PassRun& run, XMLNode sequence) {
    run.setProgressLabelText("Removing markers...");
    return removeAllNamed(run, sequence, "marker");
}

XMLNode removeTransitions(PassRun& run, XMLNode sequence, std::string_view type) {
    // One label for both types: it has never named the type.
    run.setProgressLabelText("Removing audio transitions...");
    std::vector<XMLNode> transitions;
    for (const XMLNode track : mainTracks(sequence, std::string(type).c_str()))
        for (const XMLNode transition : childrenNamed(track, "transitionitem"))
            transitions.push_back(transition);
    for (const XMLNode& transition : transitions) {
        if (run.cancelled()) return {};
        closeOver(run, transition);
    }
    for (const XMLNode& transition : transitions) {
        if (run.cancelled()) return {};
        run.edit.detach(transition, "all transitions are removed");
    }
    return sequence;
}

}  // namespace reelsweep::passes
