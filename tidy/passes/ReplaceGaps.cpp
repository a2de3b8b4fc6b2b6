#include "base/Log.h"
#include "base/UUID.h"
#include "tidy/passes/Passes.h"
#include "timeline/Vocabulary.h"
#include "xml/XMLDocument.h"

#include <algorithm>
#include <stdexcept>
#include <unordered_map>

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
    /// A careful one gives the slugs a file of their own, and defines it whatever slugs there are.
    /// Another sequence's "Slug1" may have another rate, or be defined elsewhere or not at all.
    SlugMaker(TimelineEdit& edit, bool careful) {
        if (careful) fileId_ = "Slug-" + newUUID();
        const XMLNode rate = edit.sequence().child("rate");
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
                          rateXML_ + "<file id=\"" + fileId_ + "\"";
        if (slugCount_ == 0 || (fileId_ != sharedFileId && made_ == 0))
            xml += "><name>Slug</name><mediaSource>Slug</mediaSource>" + rateXML_ + "</file>";
        else
            xml += "/>";
        xml += "<sourcetrack><mediatype>video</mediatype></sourcetrack></clipitem>";
        ++slugCount_;
        ++made_;
        return xml;
    }

private:
    static constexpr const char* sharedFileId = "Slug1";

    std::string fileId_ = sharedFileId;
    std::size_t made_ = 0;
    std::string rateXML_;
    std::size_t slugCount_ = 0;
};

std::vector<XMLNode> clipsBelow(const TimelineEdit& edit, XMLNode track) {
    std::vector<XMLNode> clips;
    for (XMLNode node = track.firstChild(); node; node = node.nextSibling()) {
        const ItemFacts* const known = edit.facts(node);
        if (known ? known->isClip() : isClip(node)) clips.push_back(node);
        if (edit.mayHoldItems(node))
            node.forEachDescendant({"clipitem", "generatoritem"},
                                   [&](XMLNode clip) { clips.push_back(clip); });
    }
    return clips;
}

std::string startText(const TimelineEdit& edit, XMLNode clip) {
    const ItemFacts* const known = edit.facts(clip);
    return (known ? *known->start : clip.child("start")).stringValue();
}

XMLNode firstVideoTrack(XMLNode sequence) {
    XMLNode track = sequence.nextElement(sequence, "track");
    while (track && !track.parent().isElement("video"))
        track = track.nextElement(sequence, "track");
    return track;
}

// The clips below a track with the ranges of their groups. The group of a clip inside another item
// (a nested sequence, a multiclip) stands among its own siblings, so each parent has its index.
class ClipRanges {
public:
    explicit ClipRanges(TimelineEdit& edit) : edit_(edit) {}

    struct Clip {
        FrameRange range;
        std::size_t place;  ///< index among its siblings, now
    };
    /// Clips must come in document order.
    Clip next(XMLNode clip) {
        const TrackIndex& index = edit_.index(clip.parent());
        const auto [found, isNew] = siblings_.try_emplace(clip.parent());
        Siblings& siblings = found->second;
        if (isNew) siblings.clips = index.items();
        const TrackIndex::Id id = siblings.clips[siblings.passed++];
        return {index.group(id).range, index.position(id)};
    }

private:
    struct Siblings {
        std::vector<TrackIndex::Id> clips;  ///< as they stood before any slug
        std::size_t passed = 0;
    };

    TimelineEdit& edit_;
    std::unordered_map<XMLNode, Siblings> siblings_;
};

void insertSlug(PassRun& run, const TrackIndex& index, std::size_t place, const std::string& xml) {
    const Result<XMLNode> slug = index.track().parseDetached(xml);
    if (!slug) throw std::logic_error("slug: " + slug.failure().description());
    run.edit.insertItem(index, *slug, place);
    Log::fastAppend("slug: %@", xml);
}

// A careful run fills what is empty and nothing else: each slug stands before the whole group after
// the hole, and over no item.
//   --x[aa]---[bb]--   ->   [s]x[aa][s][bb]--
Outcome fillHoles(PassRun& run, XMLNode track, SlugMaker& slugs) {
    const TrackIndex& index = run.edit.index(track);
    Frames filledUpTo;
    for (const TrackIndex::Id id : index.items()) {
        if (run.cancelled()) return PassRun::stopped();
        const TrackIndex::Group group = index.group(id);
        if (group.range.start == edgeInTransition || group.range.end == edgeInTransition) continue;
        const FrameRange hole{filledUpTo, group.range.start};
        const bool isHole = hole.start < hole.end &&
                            index.firstInTheWay(hole) == TrackIndex::none &&
                            !run.guard->keepsAny(run.edit.step(), index.nodes(group));
        if (isHole) insertSlug(run, index, index.position(group.first), slugs.makeXML(hole));
        filledUpTo = std::max(filledUpTo, group.range.end);
    }
    return Done{};
}

}  // namespace

Outcome replaceGaps(PassRun& run) {
    run.showProgress("Replacing gaps with slugs...");
    const XMLNode track = firstVideoTrack(run.sequence());
    if (!track) {
        Log::append("No video tracks found");
        return Done{};
    }
    if (run.excludesTrack(track) || run.excludesEverything()) return Done{};
    if (run.cancelled()) return PassRun::stopped();
    SlugMaker slugs(run.edit, run.isCareful());
    if (run.isCareful()) return fillHoles(run, track, slugs);
    const std::vector<XMLNode> clips = clipsBelow(run.edit, track);
    const TrackIndex& index = run.edit.index(track);
    ClipRanges ranges(run.edit);
    Frames previousEnd;
    for (const XMLNode& clip : clips) {
        if (run.cancelled()) return PassRun::stopped();
        Log::fastAppend("clip start: %@", startText(run.edit, clip));
        const auto [range, place] = ranges.next(clip);
        Log::fastAppend("range start: %i", range.start.count);
        Log::fastAppend("range end: %i", range.end.count);
        if (range.start > previousEnd) {
            Log::fastAppend("Gap from %i to %i", previousEnd.count, range.start.count);
            const std::string xml = slugs.makeXML({previousEnd, range.start});
            // The slug goes into the track at the clip's index among its own siblings, even for a
            // clip inside another item. It stands right before the clip, and so behind the
            // transition that fades the clip in.
            insertSlug(run, index, place, xml);
        }
        // This holds for a clip that lies inside the one before it and ends earlier, too. A slug
        // may then stand over the rest of that earlier clip, as it always could.
        previousEnd = range.end;
    }
    return Done{};
}

}  // namespace reelsweep::passes
