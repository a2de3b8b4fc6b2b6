// What a list of sequences says about each: length, rate, tracks, items.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "xml/Frames.h"
#include "xml/XMLNode.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

/// How many frames a second a sequence has: `timebase`, or with `ntsc` 1000/1001 of it.
struct FrameRate {
    std::int64_t timebase = 0;
    bool ntsc = false;

    /// False when the file says none, or none that a time code can be counted in.
    bool known() const { return timebase > 0 && timebase <= 1'000'000; }
};

/// "25", "29.97", "23.976"; empty when it is not known.
std::string description(FrameRate rate);

/// A number of frames as hours, minutes, seconds and frames: "01:00:04:12". With `dropFrame`, which
/// only rates of 29.97 and 59.94 have, the frame numbers that keep the time code with the clock are
/// left out, and the frames follow a semicolon: "01:00:00;02". Empty when the rate is not known.
std::string timecode(Frames length, FrameRate rate, bool dropFrame);

struct SequenceSummary {
    std::string title;
    std::optional<std::string> uuid;
    Frames length;  ///< its `duration`; without one, where its last item ends
    FrameRate rate;
    bool dropFrame = false;  ///< its time code is counted in drop-frame
    std::size_t videoTracks = 0;
    std::size_t audioTracks = 0;
    std::size_t items = 0;  ///< clips, generators and transitions that stand in tracks

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
