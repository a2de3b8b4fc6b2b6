// Takes effects and markers out of a document.
#include "tidy/FCPXPasses.h"
#include "tidy/fcpx/FCPXVocabulary.h"

#include <algorithm>

namespace reelsweep::fcpx {

namespace {

Outcome removeFilters(FCPXRun& run, std::initializer_list<std::string_view> names) {
    for (const XMLNode filter : elementsNamed(run.document(), names)) {
        if (run.stop.stop_requested()) return stopped();
        const XMLNode parent = filter.parent();
        // What a transition holds is the transition; what a mask holds goes with it.
        if (parent.isElement("transition") || parent.isElement("filter-video-mask")) continue;
        run.edit.detach(filter, "all effects of the kind are removed");
    }
    return Done{};
}

}  // namespace

Outcome fcpxRemoveVideoFilters(FCPXRun& run) {
    return removeFilters(run, {"filter-video", "filter-video-mask"});
}

Outcome fcpxRemoveAudioFilters(FCPXRun& run) { return removeFilters(run, {"filter-audio"}); }

Outcome fcpxRemoveMarkers(FCPXRun& run) {
    const std::vector<std::string>& kinds = run.markerKinds;
    std::vector<XMLNode> markers;
    run.document().forEachDescendant({}, [&](XMLNode element) {
        if (std::find(kinds.begin(), kinds.end(), element.name()) != kinds.end())
            markers.push_back(element);
    });
    for (const XMLNode marker : markers) {
        if (run.stop.stop_requested()) return stopped();
        run.edit.detach(marker, "all markers of the kind are removed");
    }
    return Done{};
}

}  // namespace reelsweep::fcpx
