// What stands beside a turnover, of small timelines.
#pragma once

#include "base/AtomicFile.h"
#include "tests/timeline/Timeline.h"
#include "timeline/MediaCatalogue.h"
#include "timeline/Timeline.h"

#include <string>

namespace reelsweep::test {

class TextSink final : public ByteSink {
public:
    bool write(std::string_view bytes) override {
        text += bytes;
        return true;
    }
    std::string text;
};

/// The value of a sequence of 25 frames a second, in the notation of tests/timeline.
inline reelsweep::Timeline timelineOf(const std::string& notation,
                                      const std::string& rate = "<timebase>25</timebase>") {
    const Timeline timeline("S: {<name>Reel</name><rate>" + rate + "</rate>} " + notation);
    return reelsweep::Timeline::of(timeline.sequence, MediaCatalogue::of(timeline.document.node()));
}

/// A `file` of so many frames whose time code starts at that frame.
inline std::string file(const std::string& name, int frames, int start = 0,
                        const std::string& more = "") {
    return "{<file id=\"" + name + "\"><name>" + name + ".mov</name><pathurl>file://localhost/m/" +
           name + "%20x.mov</pathurl><rate><timebase>25</timebase></rate><duration>" +
           std::to_string(frames) + "</duration><timecode><frame>" + std::to_string(start) +
           "</frame>" + more +
           "</timecode><media><video><samplecharacteristics/></video></media></file>}";
}

}  // namespace reelsweep::test
