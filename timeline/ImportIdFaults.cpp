// Ids: what is defined twice, nowhere, or after its first use.
#include "timeline/ImportFaultParts.h"
#include "timeline/MediaReader.h"
#include "timeline/Vocabulary.h"
#include "xml/XMLDocument.h"

#include <unordered_map>
#include <unordered_set>

namespace reelsweep::importfaults {

std::string idOf(XMLNode element) { return std::string(element.attribute("id").value_or("")); }

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

std::string nameOf(XMLNode item) {
    const std::string name = item.child("name").stringValue();
    return name.empty() ? item.child("effect").child("name").stringValue() : name;
}

std::string place(TrackLabel track, const ItemTimes& times, const SequenceTimecode& timecode) {
    std::string text = description(track);
    if (!times.start && !times.end) return text;
    return text + ", " + timecode.text(times.start) + " to " + timecode.text(times.end);
}

namespace {

using Kind = ImportFaultKind;

class IdFaults {
public:
    IdFaults(XMLNode root, std::vector<ImportFault>& faults) : root_(root), faults_(faults) {}

    void find() {
        if (root_.isElement("sequence")) visit(root_);
        root_.forEachDescendant({"clipitem", "generatoritem", "transitionitem", "file", "sequence",
                                 "clip", "masterclipid"},
                                [&](XMLNode element) { visit(element); });
        for (const XMLNode& reference : references_) undefined(reference);
        if (masterClips_.empty()) return;
        // A document that brings no master clips along leaves them to where it came from.
        std::unordered_set<std::string> told;
        for (const XMLNode& reference : masterClipReferences_) {
            const std::string id = reference.stringValue();
            if (!masterClips_.contains(id) && told.insert(id).second)
                add(Kind::undefinedReference, reference.parent(), id,
                    "It names the master clip " + quoted(id) + ", which is defined nowhere.");
        }
    }

private:
    void visit(XMLNode element) {
        const std::string id = element.isElement("masterclipid") ? "" : idOf(element);
        if (element.isElement("masterclipid")) {
            masterClipReferences_.push_back(element);
        } else if (id.empty()) {
            return;
        } else if (isTimelineItem(element)) {
            if (!items_.insert(id).second)
                add(Kind::idTwice, element, id, "Another item has the id " + quoted(id) + " too.");
        } else if (element.isElement("clip")) {
            if (isDefinition(element)) masterClips_.insert(id);
        } else if (isDefinition(element)) {
            define(element, id);
        } else {
            const std::string key = keyOf(element, id);
            if (!definitions_.contains(key)) references_.push_back(element);
        }
    }

    static std::string keyOf(XMLNode element, const std::string& id) {
        return std::string(element.name()) + '\n' + id;
    }

    void define(XMLNode element, const std::string& id) {
        const auto [first, isFirst] = definitions_.emplace(keyOf(element, id), element);
        if (isFirst) return;
        if (element.isElement("sequence"))
            add(Kind::sequenceTwice, element, id,
                "The sequence " + quoted(id) + " is defined a second time.");
        else if (serialise(first->second) == serialise(element))
            add(Kind::fileTwice, element, id,
                "The file " + quoted(id) + " is defined a second time.");
        else
            add(Kind::fileTwiceUnlike, element, id,
                "Another file has the id " + quoted(id) + " too.");
    }

    // Of many references to one thing the first is told.
    void undefined(XMLNode reference) {
        const std::string id = idOf(reference);
        const std::string key = keyOf(reference, id);
        if (!told_.insert(key).second) return;
        const std::string what = "the " + std::string(reference.name()) + " " + quoted(id);
        if (definitions_.contains(key))
            add(Kind::usedBeforeDefinition, reference, id,
                "It uses " + what + " before that is defined.");
        else
            add(Kind::undefinedReference, reference, id,
                "It uses " + what + ", which is defined nowhere.");
    }

    void add(Kind kind, XMLNode element, const std::string& id, std::string text) {
        ImportFault fault;
        fault.kind = kind;
        fault.id = id;
        fault.node = element;
        fault.text = std::move(text);
        XMLNode sequence = element.isElement("sequence") ? element : XMLNode();
        for (XMLNode at = element; at && !sequence; at = at.parent()) {
            if (isTimelineItem(at) && fault.item.empty()) {
                fault.item = nameOf(at);
                fault.times = ItemTimes::of(at);
            }
            if (at.isElement("track") && fault.track.number == 0) fault.track = labelOf(at);
            if (at.isElement("sequence") && at != element) sequence = at;
        }
        fault.sequence = sequence.child("name").stringValue();
        if (sequence && fault.track.number != 0)
            fault.place = place(fault.track, fault.times, SequenceTimecode::of(sequence));
        faults_.push_back(std::move(fault));
    }

    static TrackLabel labelOf(XMLNode track) {
        TrackLabel label{track.parent().isElement("video"), 0};
        for (XMLNode at = track; at; at = at.previousSibling())
            if (at.isElement("track")) ++label.number;
        return label;
    }

    XMLNode root_;
    std::vector<ImportFault>& faults_;
    std::unordered_set<std::string> items_;
    std::unordered_set<std::string> masterClips_;
    std::unordered_map<std::string, XMLNode> definitions_;
    std::vector<XMLNode> references_;  // to what was not defined before
    std::vector<XMLNode> masterClipReferences_;
    std::unordered_set<std::string> told_;
};

}  // namespace

void findIdFaults(XMLNode root, std::vector<ImportFault>& faults) { IdFaults(root, faults).find(); }

}  // namespace reelsweep::importfaults
