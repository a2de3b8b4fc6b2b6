// What a list of sequences says about each: length, rate, tracks, items.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "time/Frames.h"
#include "time/Timecode.h"
#include "xml/XMLNode.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

struct SequenceSummary {
    std::string title;
    std::optional<std::string> uuid;
    Frames length;  ///< its `duration`; without one, where its last item ends
    FrameRate rate;
    Frames start;            ///< what the time code of its first frame counts
    bool dropFrame = false;  ///< its time code is counted in drop-frame
    std::size_t videoTracks = 0;
    std::size_t audioTracks = 0;
    std::size_t items = 0;     ///< clips, generators and transitions that stand in tracks
    bool isShortForm = false;  ///< a host's listing, which says nothing of tracks and items

    static SequenceSummary of(XMLNode sequence);
};

/// A project of an FCPXML document.
struct FCPXProjectSummary {
    std::string name;
    std::string event;  ///< the event that holds it, or empty
};

/// The projects of an FCPXML document in document order.
std::vector<FCPXProjectSummary> fcpxProjects(XMLNode document);

}  // namespace reelsweep
