#include "engine/Timeline.h"
#include "engine/passes/Passes.h"
#include "support/QVLog.h"
#include "xml/QVXMLParser.h"
#include "xml/XMLDocument.h"

#include <stdexcept>

namespace reelsweep::passes {

namespace {

// A slug's source range lies this many frames inside media that is twice as many frames longer.
constexpr Frames handle{30};

// The text of a frame count as the slug clip holds it: hosts read these as 32-bit numbers.
std::string slugNumber(Frames frames) {
    return std::to_string(static_cast<std::int32_t>(frames.count));
}

// Makes the slugs of one sequence.
//
// The first slug of a sequence is "Slug" and defines the file "Slug1"; the next ones are Slug2,
// Slug3 and so on and refer to that file. There is no clip "Slug1": the id belongs to the file.
class SlugMaker {
public:
    SlugMaker(const TimelineEdit& edit, XMLNode sequence) {
        const XMLNode rate = sequence.child("rate");
        rateXML_ =
            rate ? serialise(rate) : "<rate><ntsc>false</ntsc><timebase>24</timebase></rate>";
        for (const XMLNode& source : edit.elementsNamed("mediaSource"))
            if (hasText(source, "Slug")) ++slugCount_;
    }

    /// A slug that fills the range.
    std::string makeXML(FrameRange gap) {
        const Frames length = gap.end - gap.start;
        const std::string suffix = slugCount_ == 0 ? "" : std::to_string(slugCount_ + 1);
        std::string xml = "<clipitem id=\"Slug" + suffix + "\"><name>Slug</name><duration>" +
                          slugNumber(length + handle + handle) + "</duration><in>30</in><out>" +
                          slugNumber(length + handle) + "</out><start>" + slugNumber(gap.start) +
                          "</start><end>" + slugNumber(gap.end) + "</end><enabled>TRUE</enabled>" +
                          rateXML_ + "<file id=\"Slug1\"";
        if (slugCount_ == 0)
            xml += "><name>Slug</name><mediaSource>Slug</mediaSource>" + rateXML_ + "</file>";
        else
            xml += "/>";
        xml += "<sourcetrack><mediatype>video</mediatype></sourcetrack></clipitem>";
        ++slugCount_;
        return xml;
    }

private:
    std::string rateXML_;
    std::size_t slugCount_ = 0;
};

std::vector<XMLNode> clipsBelow(XMLNode track) {
    std::vector<XMLNode> clips;
    track.forEachDescendant({"clipitem", "generatoritem"},
                            [&](XMLNode clip) { clips.push_back(clip); });
    return clips;
}

XMLNode firstVideoTrack(XMLNode sequence) {
    XMLNode track = sequence.nextElement(sequence, "track");
    while (track && !track.parent().isElement("video"))
        track = track.nextElement(sequence, "track");
    return track;
}

// The track's clips with the ranges of their groups. A clip inside another item (a nested sequence,
// a multiclip) is not in the index: its group stands among its own siblings.
class ClipRanges {
public:
    explicit ClipRanges(TrackIndex& index) : index_(index), direct_(index.items()) {}

    struct Clip {
        FrameRange range;
        std::size_t place;  ///< index among its siblings, now
    };
    /// Clips must come in document order.
    Clip next(XMLNode clip) {
        if (clip.parent() == index_.track()) {
            const TrackIndex::Id id = direct_[passed_++];
            return {index_.group(id).range, index_.position(id)};
        }
        FrameRange range;
        QVXMLParser::affectedNodesForClip(clip, &range.start, &range.end);
        return {range, clip.index()};
    }

private:
    TrackIndex& index_;
    std::vector<TrackIndex::Id> direct_;
    std::size_t passed_ = 0;
};

}  // namespace

XMLNode replaceGapsWithSlugs(PassRun& run, XMLNode sequence) {
    run.setProgressLabelText("Replacing gaps with slugs...");
    const XMLNode track = firstVideoTrack(sequence);
    if (!track) {
        QVLog::appendLog("No video tracks found");
        return sequence;
    }
    if (run.cancelled()) return {};
    SlugMaker slugs(run.edit, sequence);
    const std::vector<XMLNode> clips = clipsBelow(track);
    TrackIndex& index = run.edit.index(track);
    ClipRanges ranges(index);
    Frames previousEnd;
    for (const XMLNode& clip : clips) {
        if (run.cancelled()) return {};
        QVLog::fastAppendLog("clip start: %@", clip.child("start").stringValue());
        const auto [range, place] = ranges.next(clip);
        QVLog::fastAppendLog("range start: %i", range.start.count);
        QVLog::fastAppendLog("range end: %i", range.end.count);
        if (range.start > previousEnd) {
            QVLog::fastAppendLog("Gap from %i to %i", previousEnd.count, range.start.count);
            const std::string xml = slugs.makeXML({previousEnd, range.start});
            const Result<XMLNode> slug = sequence.parseDetached(xml);
            if (!slug) throw std::logic_error("slug: " + slug.failure().description());
            // A clip inside another item has an index among its own siblings: that is where the
            // slug goes, into the track all the same.
            run.edit.insertItem(index, *slug, place);
            QVLog::fastAppendLog("slug: %@", xml);
        }
        previousEnd = range.end;
    }
    return sequence;
}

}  // namespace reelsweep::passes
