#include "timeline/SequenceTimecode.h"

namespace reelsweep {

SequenceTimecode SequenceTimecode::of(XMLNode sequence) {
    const XMLNode rate = sequence.child("rate");
    const XMLNode timecode = sequence.child("timecode");
    SequenceTimecode result;
    result.rate = {leadingFrames(rate.child("timebase").stringValue()).count,
                   rate.child("ntsc").stringValue() == "TRUE"};
    const std::int64_t timebase = result.rate.timebase;
    result.dropFrame = result.rate.ntsc && (timebase == 30 || timebase == 60) &&
                       timecode.child("displayformat").stringValue() == "DF";
    result.start = leadingFrames(timecode.child("frame").stringValue());
    return result;
}

std::string SequenceTimecode::text(const std::optional<Frames>& frame) const {
    if (!frame) return {};
    if (*frame == edgeInTransition) return "transition";
    return rate.known() ? timecode(start + *frame, rate, dropFrame) : frame->text();
}

}  // namespace reelsweep
