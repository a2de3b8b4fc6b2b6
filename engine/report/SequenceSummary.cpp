#include "engine/report/SequenceSummary.h"

#include "engine/Timeline.h"
#include "support/Format.h"
#include "xml/QVXMLParser.h"
#include "xml/XMLQuery.h"

#include <algorithm>

namespace reelsweep {

namespace {

Frames framesOf(XMLNode element) { return leadingFrames(element.stringValue()); }

bool isTrue(XMLNode element) { return element.stringValue() == "TRUE"; }

// Where the last item of the sequence ends; 0 without items.
Frames lastEnd(const std::vector<XMLNode>& tracks) {
    Frames last;
    for (const XMLNode& track : tracks)
        for (XMLNode item = track.firstChild(); item; item = item.nextSibling())
            if (isTimelineItem(item)) last = std::max(last, framesOf(item.child("end")));
    return last;
}

std::size_t itemCount(const std::vector<XMLNode>& tracks) {
    std::size_t count = 0;
    for (const XMLNode& track : tracks)
        for (XMLNode item = track.firstChild(); item; item = item.nextSibling())
            if (isTimelineItem(item)) ++count;
    return count;
}

// Drop-frame time code leaves out the first numbers of every minute but each tenth: as many as the
// real rate falls behind the nominal one. The count with the left-out numbers added is the label's
// count.
std::uint64_t withDroppedNumbers(std::uint64_t frames, std::uint64_t timebase) {
    const std::uint64_t dropped = timebase / 15;  // 2 of 30 a second, 4 of 60
    const std::uint64_t minute = timebase * 60 - dropped;
    const std::uint64_t tenMinutes = timebase * 600 - 9 * dropped;
    const std::uint64_t tens = frames / tenMinutes;
    const std::uint64_t rest = frames % tenMinutes;
    const std::uint64_t minutes = rest < dropped ? 0 : (rest - dropped) / minute;
    return frames + (9 * tens + minutes) * dropped;
}

}  // namespace

std::string description(FrameRate rate) {
    if (!rate.known()) return {};
    if (!rate.ntsc) return std::to_string(rate.timebase);
    const std::int64_t thousandths = (rate.timebase * 1'000'000 + 500) / 1001;
    std::string text = formatText("%i.%03i", thousandths / 1000, thousandths % 1000);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

std::string timecode(Frames length, FrameRate rate, bool dropFrame) {
    if (!rate.known()) return {};
    const bool negative = length.count < 0;
    const auto timebase = static_cast<std::uint64_t>(rate.timebase);
    // Negation as unsigned, where the smallest number has an opposite.
    const auto count = static_cast<std::uint64_t>(length.count);
    const std::uint64_t frames = negative ? 0 - count : count;
    const std::uint64_t label = dropFrame ? withDroppedNumbers(frames, timebase) : frames;
    const std::uint64_t seconds = label / timebase;
    // Rates above 100 need a third digit for the frames.
    const std::size_t digits = std::max<std::size_t>(2, std::to_string(timebase - 1).size());
    std::string frameText = std::to_string(label % timebase);
    frameText.insert(0, digits - frameText.size(), '0');
    return formatText("%@%02u:%02u:%02u%@%@", negative ? "-" : "", seconds / 3600,
                      seconds / 60 % 60, seconds % 60, dropFrame ? ";" : ":", frameText);
}

SequenceSummary SequenceSummary::of(XMLNode sequence) {
    const std::vector<XMLNode> video = mainTracks(sequence, "video");
    const std::vector<XMLNode> audio = mainTracks(sequence, "audio");
    const XMLNode rate = sequence.child("rate");
    const XMLNode duration = sequence.child("duration");

    SequenceSummary summary;
    summary.title = QVXMLParser::nameForNode(sequence).value_or("");
    summary.uuid = QVXMLParser::uuidForNode(sequence, true);
    summary.length = duration ? framesOf(duration) : std::max(lastEnd(video), lastEnd(audio));
    summary.rate = {framesOf(rate.child("timebase")).count, isTrue(rate.child("ntsc"))};
    const std::int64_t timebase = summary.rate.timebase;
    summary.dropFrame = summary.rate.ntsc && (timebase == 30 || timebase == 60) &&
                        sequence.child("timecode").child("displayformat").stringValue() == "DF";
    summary.videoTracks = video.size();
    summary.audioTracks = audio.size();
    summary.items = itemCount(video) + itemCount(audio);
    return summary;
}

std::vector<FCPXProjectSummary> fcpxProjects(XMLNode document) {
    std::vector<FCPXProjectSummary> projects;
    const auto nodes = selectNodes(document,
                                   "./fcpxml/project | ./fcpxml/event/project | "
                                   "./fcpxml/library/event/project");
    if (!nodes) return projects;
    for (const XMLNode& project : *nodes) {
        const XMLNode parent = project.parent();
        const auto nameOf = [](XMLNode node) {
            return std::string(node.attribute("name").value_or(""));
        };
        projects.push_back({nameOf(project), parent.isElement("event") ? nameOf(parent) : ""});
    }
    return projects;
}

}  // namespace reelsweep
