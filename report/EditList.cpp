#include "report/EditList.h"

#include "base/Format.h"
#include "report/PullList.h"
#include "timeline/MediaUse.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace reelsweep {

namespace {

constexpr const char* blackReel = "BL";
constexpr const char* noReel = "AX";
constexpr std::size_t reelLetters = 8;

// A comment is one line.
std::string oneLine(std::string_view text) {
    std::string line(text);
    for (char& letter : line)
        if (static_cast<unsigned char>(letter) < 0x20) letter = ' ';
    return line;
}

// Letters and digits, as the format wants them.
std::string reelOf(const Item* item) {
    if (!item || (item->media && item->media->isBlack)) return blackReel;
    std::string reel;
    for (const char letter : item->media ? item->media->reel : std::string_view())
        if (std::isalnum(static_cast<unsigned char>(letter)) || letter == '_')
            reel += static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    if (reel.size() > reelLetters) reel.resize(reelLetters);
    return reel.empty() ? noReel : reel;
}

// What plays in a stretch of the record side: a clip, or black for none.
struct Event {
    const Item* item = nullptr;
    FrameRange record;
    const Item* from = nullptr;        // what the dissolve comes from; null for black
    const Item* transition = nullptr;  // the dissolve at its start, if any
};

// The events of a track in record order. A clip gives way where the dissolve to the next begins.
class Events {
public:
    explicit Events(const Track& track) {
        for (const Item& item : track.items) {
            if (item.kind == ItemKind::transition || !item.enabled || item.isEmpty()) continue;
            add(item);
        }
    }

    std::vector<Event> events;
    std::size_t leftOut = 0;

private:
    void add(const Item& item) {
        const Item* const in = dissolveInto(item);
        const Item* const out = dissolveFrom(item);
        FrameRange record{in ? in->range.start : item.cut.start,
                          out ? out->range.start : item.cut.end};
        const Frames free = events.empty() ? record.start : events.back().record.end;
        record.start = std::max(record.start, free);
        if (record.end <= record.start) {
            // A clip that is all dissolve still ends somewhere.
            if (!in) {
                ++leftOut;
                return;
            }
            record.end = record.start;
        }
        events.push_back({&item, record, in ? shown(in->transition->outgoing) : nullptr, in});
        // A fade to black is a dissolve to nothing.
        if (out && !shown(out->transition->incoming))
            events.push_back({nullptr, {record.end, out->range.end}, &item, out});
    }

    static const Item* shown(const Item* item) { return item && item->enabled ? item : nullptr; }
    static const Item* dissolveInto(const Item& item) {
        const Item* const in = item.fadesIn;
        return in && in->enabled && in->transition && in->range.start < in->range.end ? in
                                                                                      : nullptr;
    }
    static const Item* dissolveFrom(const Item& item) {
        const Item* const out = item.fadesOut;
        return out && out->enabled && out->transition && out->range.start < out->range.end
                   ? out
                   : nullptr;
    }
};

class Writer {
public:
    Writer(const Timeline& timeline, ByteSink& sink) : timeline_(timeline), sink_(sink) {}

    WrittenEditList write(const Track& track, std::string_view title) {
        put("TITLE: " + oneLine(title));
        put(timeline_.timecode().dropFrame ? "FCM: DROP FRAME" : "FCM: NON-DROP FRAME");
        const Events events(track);
        written_.leftOut = events.leftOut;
        for (const Event& event : events.events) {
            put("");
            write(event);
        }
        return written_;
    }

private:
    void put(const std::string& line) { written_.ok = written_.ok && sink_.write(line + "\r\n"); }

    void write(const Event& event) {
        ++written_.events;
        if (event.transition) {
            line(event.from, "C       ", {event.record.start, event.record.start});
            const Frames length = event.transition->range.end - event.transition->range.start;
            line(event.item, formatText("D    %03d", length.count), event.record);
            putSpeed(event);
            putComments(event.from, "FROM");
            putComments(event.item, "TO");
            put("* EFFECT NAME: " + oneLine(event.transition->transition->effect));
        } else {
            line(event.item, "C       ", event.record);
            putSpeed(event);
            putComments(event.item, "FROM");
        }
    }

    // "001  REEL     V     C        01:00:00:00 01:00:04:00 01:00:10:00 01:00:14:00"
    void line(const Item* item, const std::string& edit, FrameRange record) {
        const SequenceTimecode& timecode = timeline_.timecode();
        std::string source;
        if (item && item->media && !item->media->isBlack) {
            const FrameRange used = sourceOf(*item, record);
            source = mediaTimecode(*item, used.start) + " " + mediaTimecode(*item, used.end);
        } else {
            const SequenceTimecode fromZero{timecode.rate, timecode.dropFrame, {}};
            source = fromZero.text(Frames{0}) + " " + fromZero.text(record.end - record.start);
        }
        put(formatText("%03u  %-8s V     %@ %@ %@ %@", written_.events, reelOf(item), edit, source,
                       timecode.text(record.start), timecode.text(record.end)));
    }

    // From the frame at which a clip stands to the one at which it would go on.
    static FrameRange sourceOf(const Item& item, FrameRange record) {
        const Frames first = mediaFrame(item, item.line.at(record.start));
        const Frames next = mediaFrame(item, item.line.at(record.end));
        return {std::min(first, next), std::max(first, next)};
    }

    void putComments(const Item* item, const std::string& role) {
        if (!item) return;
        const Media* const media = item->media;
        put("* " + role + " CLIP NAME: " + oneLine(item->name));
        if (media && !media->reel.empty() && media->reel != reelOf(item))
            put("* " + role + " REEL: " + oneLine(media->reel));
        if (media && !media->path.empty())
            put("* " + role + " FILE: " + oneLine(pathOfURL(media->path)));
        const Speed& speed = item->filters->speed;
        if (speed.kind == Speed::Kind::remapped) put("* " + role + " CLIP SPEED VARIES");
    }

    // "M2   REEL       050.0                01:00:00:00": frames a second, and where it begins.
    void putSpeed(const Event& event) {
        const Item* const item = event.item;
        if (!item || !item->media || item->filters->speed.kind != Speed::Kind::constant) return;
        const Speed& speed = item->filters->speed;
        const double percent = std::abs(std::strtod(std::string(speed.percent).c_str(), nullptr));
        const double rate = percent / 100 * static_cast<double>(timeline_.rate().timebase) *
                            (speed.reversed ? -1 : 1);
        put(formatText("M2   %-8s   %05.1f                %@", reelOf(item), rate,
                       mediaTimecode(*item, sourceOf(*item, event.record).start)));
    }

    const Timeline& timeline_;
    ByteSink& sink_;
    WrittenEditList written_;
};

}  // namespace

WrittenEditList writeEditList(const Timeline& timeline, const Track& track, std::string_view title,
                              ByteSink& sink) {
    return Writer(timeline, sink).write(track, title);
}

}  // namespace reelsweep
