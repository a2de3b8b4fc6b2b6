// SequenceTimecode: how a sequence counts its time code.
//
// Thread rule: plain values; of() on the thread that owns the tree.
#pragma once

#include "time/Timecode.h"
#include "xml/XMLNode.h"

#include <optional>
#include <string>

namespace reelsweep {

/// How a sequence counts its time code: its rate, and the time code of its first frame.
struct SequenceTimecode {
    FrameRate rate;
    bool dropFrame = false;
    Frames start;  ///< what the time code of frame 0 counts

    static SequenceTimecode of(XMLNode sequence);
    /// The time code of a frame of the sequence, as an editing system shows it; "transition" for an
    /// edge inside one, the bare number when the rate is not known, and empty for no frame.
    std::string text(const std::optional<Frames>& frame) const;
};

}  // namespace reelsweep
