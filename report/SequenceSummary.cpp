#include "report/SequenceSummary.h"

#include "timeline/QVXMLParser.h"
#include "timeline/SequenceTimecode.h"
#include "timeline/Vocabulary.h"

#include <algorithm>

namespace reelsweep {

namespace {

Frames framesOf(XMLNode element) { return leadingFrames(element.stringValue()); }

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

}  // namespace

SequenceSummary SequenceSummary::of(XMLNode sequence) {
    const std::vector<XMLNode> video = mainTracks(sequence, MediaType::video);
    const std::vector<XMLNode> audio = mainTracks(sequence, MediaType::audio);
    const XMLNode duration = sequence.child("duration");

    SequenceSummary summary;
    summary.title = QVXMLParser::nameForNode(sequence).value_or("");
    summary.uuid = QVXMLParser::uuidForNode(sequence, true);
    summary.length = duration ? framesOf(duration) : std::max(lastEnd(video), lastEnd(audio));
    const SequenceTimecode timecode = SequenceTimecode::of(sequence);
    summary.rate = timecode.rate;
    summary.start = timecode.start;
    summary.dropFrame = timecode.dropFrame;
    summary.videoTracks = video.size();
    summary.audioTracks = audio.size();
    summary.items = itemCount(video) + itemCount(audio);
    return summary;
}

std::vector<FCPXProjectSummary> fcpxProjects(XMLNode document) {
    std::vector<FCPXProjectSummary> projects;
    const auto nameOf = [](XMLNode node) {
        return std::string(node.attribute("name").value_or(""));
    };
    const auto addThoseOf = [&](XMLNode event) {
        for (const XMLNode project : childrenNamed(event, "project"))
            projects.push_back({nameOf(project), nameOf(event)});
    };
    for (const XMLNode root : childrenNamed(document, "fcpxml")) {
        for (XMLNode child = root.firstChild(); child; child = child.nextSibling()) {
            if (child.isElement("project")) projects.push_back({nameOf(child), ""});
            if (child.isElement("event")) addThoseOf(child);
            if (!child.isElement("library")) continue;
            for (const XMLNode event : childrenNamed(child, "event")) addThoseOf(event);
        }
    }
    return projects;
}

}  // namespace reelsweep
