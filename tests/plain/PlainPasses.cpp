#include "tests/plain/PlainPasses.h"

#include "base/Format.h"
#include "timeline/QVXMLParser.h"
#include "xml/XMLDocument.h"
#include "xml/XMLQuery.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>

namespace reelsweep::test {

namespace {

using Nodes = std::vector<XMLNode>;

Nodes select(XMLNode node, const std::string& query) {
    Result<Nodes> found = selectNodes(node, query);
    if (!found) throw std::logic_error(found.failure().description());
    return *found;
}

XMLNode first(XMLNode node, const char* query) { return QVXMLParser::nodeForQuery(query, node); }

/// The integer of the first match; 0 when there is none.
Frames frames(XMLNode node, const char* query) {
    return leadingFrames(QVXMLParser::stringValueForQuery(query, node).value_or(""));
}

/// Sets a text where there is an element to hold it.
void write(XMLNode node, const char* query, Frames value) {
    first(node, query).setText(value.text());
}

bool contains(const Nodes& nodes, XMLNode node) {
    return std::find(nodes.begin(), nodes.end(), node) != nodes.end();
}

void add(Nodes& nodes, XMLNode node) {
    if (!contains(nodes, node)) nodes.push_back(node);
}

void remove(Nodes& nodes, XMLNode node) { std::erase(nodes, node); }

/// A clip with its transitions and the clips that they join to it.
struct Group {
    explicit Group(XMLNode clip) : nodes(QVXMLParser::affectedNodesForClip(clip, &start, &end)) {}

    Frames start;  // before `nodes`, whose initialiser fills both
    Frames end;
    Nodes nodes;
};

void detachGroups(const Nodes& clips) {
    for (const XMLNode& clip : clips)
        for (XMLNode node : Group(clip).nodes) node.detach();
}

constexpr const char* clipSteps = "./(clipitem | generatoritem)";
constexpr const char* itemSteps = "./(clipitem | generatoritem | transitionitem)";

}  // namespace

XMLNode plainRenameSequence(XMLNode sequence) {
    const std::string id(sequence.attribute("id").value_or("Sequence"));
    sequence.setOnlyAttribute("id", id + "-Tidied");
    XMLNode name = first(sequence, "./name[1]");
    name.setText(name.stringValue() + "-Tidied");
    first(sequence, "./uuid[1]").setText("UUID");
    return sequence;
}

XMLNode plainRemoveDisabledClips(XMLNode sequence, std::string_view type) {
    detachGroups(select(sequence, "./media[1]/" + std::string(type) +
                                      "[1]/track/(clipitem | generatoritem)/"
                                      "enabled[text()=\"FALSE\"]/.."));
    return sequence;
}

XMLNode plainRemoveSilentAudioClips(XMLNode sequence) {
    detachGroups(select(sequence,
                        "./media[1]/audio[1]/track/(clipitem | generatoritem)/filter/effect[1]/"
                        "effectid[text()=\"audiolevels\"]/../parameter[1]/value[text()=\"0\"]/"
                        "../../../.."));
    return sequence;
}

XMLNode plainCollapseMulticlips(XMLNode sequence) {
    for (XMLNode node : select(sequence, ".//video/track/clipitem/multiclip/collapsed"))
        node.setText("TRUE");
    return sequence;
}

XMLNode plainRemoveUnusedTracks(XMLNode sequence) {
    for (XMLNode track : select(sequence, ".//video/track[position()>1]"))
        if (select(track, ".//clipitem").empty() && select(track, ".//generatoritem").empty())
            track.detach();
    return sequence;
}

XMLNode plainReplaceGapsWithSlugs(XMLNode sequence) {
    const Nodes tracks = select(sequence, ".//video/track");
    if (tracks.empty()) return sequence;
    const XMLNode rate = first(sequence, "./rate");
    const std::string rateXML =
        rate ? serialise(rate) : "<rate><ntsc>false</ntsc><timebase>24</timebase></rate>";
    XMLNode track = tracks.front();
    const Nodes items = select(track, ".//clipitem | .//generatoritem");
    std::size_t slugCount = select(sequence, ".//mediaSource[text()=\"Slug\"]").size();
    Frames previousEnd;
    // Slugs are written with 32-bit numbers.
    const auto number = [](Frames value) { return static_cast<std::int32_t>(value.count); };
    for (const XMLNode& item : items) {
        const Group group(item);
        if (group.start > previousEnd) {
            const Frames gap = group.start - previousEnd;
            std::string xml = formatText(
                "<clipitem id=\"Slug%@\"><name>Slug</name><duration>%i</duration><in>30</in>"
                "<out>%i</out><start>%i</start><end>%i</end><enabled>TRUE</enabled>%@"
                "<file id=\"Slug1\"",
                slugCount == 0 ? "" : std::to_string(slugCount + 1), number(gap + Frames{60}),
                number(gap + Frames{30}), number(previousEnd), number(group.start), rateXML);
            xml += slugCount != 0 ? "/>"
                                  : formatText(
                                        "><name>Slug</name><mediaSource>Slug</mediaSource>%@"
                                        "</file>",
                                        rateXML);
            xml += "<sourcetrack><mediatype>video</mediatype></sourcetrack></clipitem>";
            track.insertChildAtIndex(*sequence.parseDetached(xml), item.index());
            ++slugCount;
        }
        previousEnd = group.end;
    }
    return sequence;
}

namespace {

/// Items of a track that start in, end in or cover the range, and clips without a position.
Nodes itemsNearRange(XMLNode track, Frames rangeStart, Frames rangeEnd) {
    const std::string s = rangeStart.text();
    const std::string e = rangeEnd.text();
    const std::string items = itemSteps;
    return QVXMLParser::nodesFromQueries(track,
                                         {items + "[start[1]>=" + s + " and start[1]<" + e + "]",
                                          items + "[end[1]>" + s + " and end[1]<=" + e + "]",
                                          items + "[start[1]<=" + s + " and end[1]>=" + e + "]",
                                          std::string(clipSteps) + "[start[1]=-1 and end[1]=-1]"});
}

bool overlaps(const Group& lower, Frames rangeStart, Frames rangeEnd) {
    return (lower.start >= rangeStart && lower.start < rangeEnd) ||
           (lower.end > rangeStart && lower.end <= rangeEnd) ||
           (lower.start <= rangeStart && lower.end >= rangeEnd);
}

void collapseTrack(XMLNode upper, XMLNode lower) {
    const Nodes upperClips = select(upper, clipSteps);
    for (std::size_t j = 0; j < upperClips.size(); ++j) {
        const Group group(upperClips[j]);
        const Nodes near = itemsNearRange(lower, group.start, group.end);
        Nodes candidates = near;
        for (const XMLNode& node : near)
            if (!overlaps(Group(node), group.start, group.end)) remove(candidates, node);
        if (!candidates.empty()) continue;

        std::size_t index = 0;
        if (!group.nodes.empty()) {
            const Frames start = frames(group.nodes.front(), "./start[1]");
            const Nodes before = select(
                lower, std::string(itemSteps) + "[end>-1 and end<=" + start.text() + "][last()]");
            if (!before.empty()) index = before.front().index() + 1;
        }
        for (std::size_t n = 0; n < group.nodes.size(); ++n) {
            XMLNode node = group.nodes[n];
            node.detach();
            lower.insertChildAtIndex(node, index + n);
        }
        const auto last = std::find(upperClips.begin(), upperClips.end(), group.nodes.back());
        if (last != upperClips.end())
            j = std::max(j, static_cast<std::size_t>(last - upperClips.begin()));
    }
}

}  // namespace

XMLNode plainCollapseTracks(XMLNode sequence, bool reverse) {
    const Nodes tracks = select(sequence, "./media[1]/video[1]/track");
    for (std::size_t step = 1; step < tracks.size(); ++step) {
        const std::size_t upper = reverse ? tracks.size() - step : step;
        collapseTrack(tracks[upper], tracks[upper - 1]);
    }
    return sequence;
}

// clang-format off
const std::vector<std::string>& plainTransparentEffects() {
    static const std::vector<std::string> names = {
        "Black Hole", "Bulge", "Disc Warp", "Droplet", "Earthquake", "Fisheye", "Poke",
        "Ripple", "Scrape", "Twirl", "Wave", "Whirlpool", "Blue and Green Screen",
        "Chroma Keyer", "Color Key", "Luma Key", "Primatte RT", "Eight-Point Garbage Matte",
        "Extract", "Four-Point Garbage Matte", "Image Mask", "Mask Feather", "Mask Shape",
        "Matte Choker", "Matte Magic", "Soft Edges", "Basic 3D", "Curl", "Rotate", "Crawl",
        "Lower 3rd", "Outline Text", "Scrolling Text", "Text", "Typewriter", "Circle", "Oval",
        "Rectangle", "Square", "Title 3D", "Title Crawl", "Vector Shape", "Caustics",
        "Membrane", "Soft Gradient", "Star"};
    return names;
}
// clang-format on

bool plainIsClipTransparent(XMLNode clip, const std::vector<std::string>& ignoredEffects) {
    const auto text = [&](const char* query) {
        return QVXMLParser::stringValueForQuery(query, clip);
    };
    const auto opacity = text(
        "./filter/effect/name[1][text()=\"Opacity\"]/../parameter/"
        "parameterid[1][text()=\"opacity\"]/../value[1]/text()");
    if (opacity && leadingFrames(*opacity) < Frames{100}) return true;
    const auto mode = text("./compositemode[1]/text()");
    if (mode && *mode != "normal") return true;
    if (!select(clip,
                "./filter/effect[1]/name[1][text()=\"Crop\"]/../parameter/"
                "parameterid[1][text()!=\"edgefeather\"]/..[value[1]>0]")
             .empty())
        return true;
    const auto mix =
        text("./filter/effect/parameter/parameterid[1][text()=\"mix\"]/../value[1]/text()");
    if (mix && leadingFrames(*mix) < Frames{100}) return true;

    std::vector<std::string> names = plainTransparentEffects();
    names.insert(names.end(), ignoredEffects.begin(), ignoredEffects.end());
    const auto listed = [&](const std::optional<std::string>& name) {
        return name && std::find(names.begin(), names.end(), *name) != names.end();
    };
    if (clip.name() == "generatoritem" && listed(text("./effect[1]/name[1]/text()"))) return true;
    for (const XMLNode& effect : select(clip, "./filter/effect[1]"))
        if (listed(QVXMLParser::nameForNode(effect))) return true;
    return false;
}

namespace {

/// The walk of the two passes below: opaque clips of all tracks but the lowest, top track first.
template <class Body>
XMLNode forEachOpaqueClip(XMLNode sequence, Body body) {
    const Nodes tracks = select(sequence, "./media[1]/video[1]/track");
    for (std::size_t upper = tracks.size(); upper-- > 1;)
        for (const XMLNode& clip : select(tracks[upper], clipSteps))
            if (!plainIsClipTransparent(clip)) body(Group(clip), tracks[upper - 1]);
    return sequence;
}

void removeBelow(const Group& group, XMLNode lower) {
    const Nodes near = QVXMLParser::nodesFromQueries(
        lower, {std::string(clipSteps) + "[start[1]>=" + group.start.text() +
                    " and end[1]<=" + group.end.text() + "]",
                std::string(clipSteps) + "[start[1]=-1 and end[1]=-1]"});
    Nodes hidden = near;
    for (const XMLNode& node : near) {
        const Group lowerGroup(node);
        if (lowerGroup.start >= group.start && lowerGroup.end <= group.end) {
            for (const XMLNode& member : lowerGroup.nodes) add(hidden, member);
        } else {
            remove(hidden, node);
            for (const XMLNode& member : lowerGroup.nodes) remove(hidden, member);
        }
    }
    for (XMLNode node : hidden) node.detach();
}

void mergeBelow(const Group& group, XMLNode lower, std::size_t& splits) {
    Frames rangeStart = group.start;
    Frames rangeEnd = group.end;
    const Frames zero;
    // The first node's length is taken off at both ends.
    const XMLNode firstNode = group.nodes.front();
    const Frames firstStart = frames(firstNode, "./start");
    const Frames firstEnd = frames(firstNode, "./end");
    const bool placed = firstStart >= zero && firstEnd >= zero;
    if (placed && firstNode.isElement("transitionitem"))
        rangeStart = rangeStart + (firstEnd - firstStart);
    if (placed && group.nodes.back().isElement("transitionitem"))
        rangeEnd = rangeEnd - (firstEnd - firstStart);

    const Nodes near = itemsNearRange(lower, rangeStart, rangeEnd);
    Nodes overlapped = near;
    for (const XMLNode& node : near) {
        const Group lowerGroup(node);
        if (overlaps(lowerGroup, rangeStart, rangeEnd)) {
            for (const XMLNode& member : lowerGroup.nodes) add(overlapped, member);
        } else {
            remove(overlapped, node);
            for (const XMLNode& member : lowerGroup.nodes) remove(overlapped, member);
        }
    }
    for (XMLNode c : overlapped) {
        const Frames s = frames(c, "./start[1]");
        const Frames e = frames(c, "./end[1]");
        const Frames in = frames(c, "./in[1]");
        if (s >= zero && e >= zero && s < rangeStart && e > rangeEnd) {
            XMLNode copy = c.copy();
            write(c, "./start[1]", rangeEnd);
            write(c, "./in[1]", in - s + rangeEnd);
            write(copy, "./end[1]", rangeStart);
            lower.insertChildAtIndex(copy, c.index());
            if (++splits > 2000) throw std::length_error("the timeline grows too large");
        } else if (s < rangeStart && e <= rangeEnd && e != rangeStart && e > rangeStart) {
            write(c, "./end[1]", rangeStart);
        } else if (rangeStart <= s && s < rangeEnd && e > rangeEnd) {
            write(c, "./start[1]", rangeEnd);
            write(c, "./in[1]", in - s + rangeEnd);
        } else if (s >= rangeStart && e <= rangeEnd) {
            c.detach();
        }
    }
}

}  // namespace

XMLNode plainRemoveObscuredClips(XMLNode sequence) {
    return forEachOpaqueClip(sequence, removeBelow);
}

XMLNode plainMergeClips(XMLNode sequence) {
    std::size_t splits = 0;
    return forEachOpaqueClip(
        sequence, [&](const Group& group, XMLNode lower) { mergeBelow(group, lower, splits); });
}

XMLNode plainRemoveFilters(XMLNode sequence) {
    for (XMLNode filter : select(sequence, ".//filter")) filter.detach();
    return sequence;
}

XMLNode plainRemoveMarkers(XMLNode sequence) {
    for (XMLNode marker : select(sequence, ".//marker")) marker.detach();
    return sequence;
}

XMLNode plainRemoveTransitions(XMLNode sequence, std::string_view type) {
    const Nodes transitions =
        select(sequence, "./media[1]/" + std::string(type) + "[1]/track/transitionitem");
    const Frames zero;
    for (const XMLNode& t : transitions) {
        const Frames tStart = frames(t, "./start");
        const Frames tEnd = frames(t, "./end");
        const Frames length = std::max(tEnd - tStart, zero);
        const Frames half = length.half();
        const XMLNode p = t.previousSibling();
        const XMLNode n = t.nextSibling();
        const bool outgoing = first(p, "./end[1]") && frames(p, "./end[1]") == edgeInTransition;
        const bool incoming = first(n, "./start[1]") && frames(n, "./start[1]") == edgeInTransition;
        if (outgoing) {
            const Frames amount = incoming ? half : length;
            write(p, "./end[1]", tStart + amount);
            write(p, "./out[1]", frames(p, "./out[1]") - amount);
        }
        if (incoming) {
            const Frames amount = outgoing ? half : length;
            write(n, "./start[1]", tEnd - amount);
            write(n, "./in[1]", std::max(frames(n, "./in[1]") + amount, zero));
        }
    }
    for (XMLNode t : transitions) t.detach();
    return sequence;
}

const std::vector<PlainStep>& plainSteps() {
    using N = XMLNode;
    static const std::vector<PlainStep> steps = {
        {"disabled video", "removeDisabledVideoClips", "",
         [](N s) { return plainRemoveDisabledClips(s, "video"); }},
        {"disabled audio", "removeDisabledAudioClips", "",
         [](N s) { return plainRemoveDisabledClips(s, "audio"); }},
        {"silent", "removeSilentAudio", "", plainRemoveSilentAudioClips},
        {"obscured", "collapseUncompositedClips", "collapseTracks", plainRemoveObscuredClips},
        {"collapse reverse", "collapseTracks", "",
         [](N s) { return plainCollapseTracks(s, true); }},
        {"collapse forward", "collapseTracks", "",
         [](N s) { return plainCollapseTracks(s, false); }},
        {"merge", "collapseUncompositedClips", "collapseTracks", plainMergeClips},
        {"collapse again", "collapseTracks", "collapseUncompositedClips",
         [](N s) { return plainCollapseTracks(s, false); }},
        {"multiclips", "collapseMultiClips", "", plainCollapseMulticlips},
        {"tracks", "removeUnusedTracks", "", plainRemoveUnusedTracks},
        {"gaps", "replaceGaps", "", plainReplaceGapsWithSlugs},
        {"filters", "removeFilters", "", plainRemoveFilters},
        {"markers", "removeMarkers", "", plainRemoveMarkers},
        {"video transitions", "removeVideoTransitions", "",
         [](N s) { return plainRemoveTransitions(s, "video"); }},
        {"audio transitions", "removeAudioTransitions", "",
         [](N s) { return plainRemoveTransitions(s, "audio"); }},
    };
    return steps;
}

XMLNode plainRun(XMLNode sequence, const std::vector<std::string>& options) {
    const auto isOn = [&](std::string_view option) {
        return option.empty() || std::find(options.begin(), options.end(), option) != options.end();
    };
    plainRenameSequence(sequence);
    for (const PlainStep& step : plainSteps())
        if (isOn(step.option) && isOn(step.onlyWith)) step.run(sequence);
    return sequence;
}

}  // namespace reelsweep::test
