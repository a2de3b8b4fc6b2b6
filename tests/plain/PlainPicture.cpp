#include "tests/plain/PlainPicture.h"

#include "time/Frames.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>

namespace reelsweep::test {

namespace {

using Text = std::string;

Text textOf(XMLNode element) { return Text(element.firstText().value()); }
Text textOf(XMLNode parent, const char* child) { return textOf(parent.child(child)); }

Text upper(Text text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

// A time that begins with a whole number; nothing for any other text.
std::optional<Frames> timeOf(XMLNode item, const char* name) {
    const Text text = textOf(item, name);
    const std::size_t at = text.find_first_not_of(" \t\r\n");
    if (at == text.npos) return {};
    const std::size_t digit = text[at] == '-' || text[at] == '+' ? at + 1 : at;
    if (digit >= text.size() || !std::isdigit(static_cast<unsigned char>(text[digit]))) return {};
    return leadingFrames(text);
}

bool isItem(XMLNode node) {
    return node.isElement("clipitem") || node.isElement("generatoritem") ||
           node.isElement("transitionitem");
}

bool hasElements(XMLNode node) {
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling())
        if (child.isElement()) return true;
    return false;
}

XMLNode definitionBelow(XMLNode top, XMLNode reference) {
    XMLNode found;
    top.forEachDescendant({reference.name()}, [&](XMLNode node) {
        if (!found && hasElements(node) && node.attribute("id") == reference.attribute("id"))
            found = node;
    });
    return found;
}

// The definition that a `file` or `sequence` refers to: in its own tree, else in the document.
XMLNode definitionOf(XMLNode document, XMLNode reference) {
    if (hasElements(reference)) return reference;
    XMLNode top = reference;
    while (top.parent()) top = top.parent();
    const XMLNode found = definitionBelow(top, reference);
    return found ? found : definitionBelow(document, reference);
}

XMLNode fileOf(XMLNode document, XMLNode item) {
    return item.child("file") ? definitionOf(document, item.child("file")) : XMLNode();
}

bool isBlack(XMLNode document, XMLNode item) {
    if (item.isElement("generatoritem")) return textOf(item.child("effect"), "name") == "Slug";
    const XMLNode file = fileOf(document, item);
    return textOf(file, "mediaSource") == "Slug" && textOf(file, "name").empty();
}

bool endsIn(const Text& text, const Text& end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The sequence that a clip plays; null for what plays something else.
XMLNode nestedOf(XMLNode item) {
    const bool plays = item.isElement("clipitem") && !item.child("file");
    return plays ? item.child("sequence") : XMLNode();
}

Text mediaOf(XMLNode document, XMLNode item) {
    if (isBlack(document, item)) return "black";
    if (item.isElement("generatoritem")) return "generator " + textOf(item.child("effect"), "name");
    const XMLNode file = fileOf(document, item);
    if (file) return "file " + textOf(file, "pathurl");
    if (item.child("file")) return "undefined " + Text(*item.child("file").attribute("id"));
    if (const XMLNode sequence = item.child("sequence"))
        return definitionOf(document, sequence)
                   ? "sequence"
                   : "undefined sequence " + Text(sequence.attribute("id").value_or(""));
    return "clip " + textOf(item, "name");
}

// Filters

double numberOf(XMLNode parameter) {
    Text text = textOf(parameter, "value");
    if (text.substr(0, 1) == "+") text.erase(0, 1);
    return xpathNumber(text);
}

bool isAtDefault(const Text& effect, XMLNode parameter) {
    if (parameter.child("keyframe")) return false;
    const Text id = textOf(parameter, "parameterid");
    if (effect == "Opacity") return id == "opacity" && numberOf(parameter) == 100;
    if (effect == "audiolevels") return id == "level" && numberOf(parameter) == 1;
    if (effect == "timeremap") return id == "speed" && numberOf(parameter) == 100;
    return effect == "Crop" && (id == "left" || id == "edgefeather") && numberOf(parameter) == 0;
}

struct PlainEffect {
    Text name;
    Text text;
    bool isSilence = false;
};

// The effects that change something.
std::vector<PlainEffect> effectsOf(XMLNode item) {
    std::vector<PlainEffect> effects;
    for (XMLNode filter = item.child("filter"); filter; filter = filter.nextSibling("filter")) {
        if (upper(textOf(filter, "enabled")) == "FALSE") continue;
        for (XMLNode node = filter.child("effect"); node; node = node.nextSibling("effect")) {
            PlainEffect effect;
            effect.name = textOf(node, node.child("effectid") ? "effectid" : "name");
            effect.text = effect.name;
            bool isNeutral = effect.name == "Opacity" || effect.name == "Crop" ||
                             effect.name == "audiolevels" || effect.name == "timeremap";
            for (XMLNode p = node.child("parameter"); p; p = p.nextSibling("parameter")) {
                isNeutral = isNeutral && isAtDefault(effect.name, p);
                effect.text += " " + textOf(p, "parameterid") + "=" + textOf(p, "value");
                for (XMLNode k = p.child("keyframe"); k; k = k.nextSibling("keyframe"))
                    effect.text += " " + textOf(k, "when") + ":" + textOf(k, "value");
                effect.isSilence = effect.name == "audiolevels" && numberOf(p) == 0;
            }
            if (!isNeutral) effects.push_back(effect);
        }
    }
    return effects;
}

bool concerns(const PlainEffect& effect, bool isVideo) {
    if (effect.name == "audiolevels") return !isVideo;
    if (effect.name == "Opacity" || effect.name == "Crop" || effect.name == "Color Corrector")
        return isVideo;
    return true;
}

bool mayBeTransparent(XMLNode document, XMLNode item) {
    if (item.isElement("generatoritem")) return false;
    const Text alpha = textOf(item, "alphatype");
    const Text path = textOf(fileOf(document, item), "pathurl");
    if (alpha.empty()) return endsIn(path, ".png");
    return alpha != "none" && !endsIn(path, ".mp4");
}

// Items with their places

struct PlainSide {
    XMLNode transition;  // null for none
    Frames start;
    Frames end;
    bool holds(Frames f) const { return transition && start <= f && f < end; }
};

struct PlainItem {
    XMLNode node;
    int track = 0;
    bool isEnabled = true;
    bool hasPlace = true;
    Frames start;  // of what is seen of it
    Frames end;
    Frames anchor;  // where `in` stands
    PlainSide in;
    PlainSide out;
    bool coversAlone = false;
    Text look;
    bool isNothing = false;

    bool isAt(Frames f) const { return isEnabled && start <= f && f < end; }
};

PlainSide sideOf(XMLNode transition) {
    const auto start = timeOf(transition, "start");
    const auto end = timeOf(transition, "end");
    if (!transition.isElement("transitionitem") || !start || !end) return {};
    if (*start == edgeInTransition || *end == edgeInTransition || *end < *start) return {};
    return {transition, *start, *end};
}

XMLNode itemBefore(XMLNode node) {
    do node = node.previousSibling();
    while (node && !isItem(node));
    return node;
}

XMLNode itemAfter(XMLNode node) {
    do node = node.nextSibling();
    while (node && !isItem(node));
    return node;
}

bool endsInside(XMLNode item, const PlainSide& transition) {
    const auto end = timeOf(item, "end");
    return end && (end == edgeInTransition || (transition.start < *end && *end <= transition.end));
}

bool startsInside(XMLNode item, const PlainSide& transition) {
    const auto start = timeOf(item, "start");
    return start && (start == edgeInTransition || transition.holds(*start));
}

bool isClip(XMLNode item) { return item && !item.isElement("transitionitem"); }

void place(PlainItem& item) {
    const auto start = timeOf(item.node, "start");
    const auto end = timeOf(item.node, "end");
    const PlainSide before = sideOf(itemBefore(item.node));
    const PlainSide after = sideOf(itemAfter(item.node));
    const bool startRunsIn = start == edgeInTransition;
    const bool endRunsIn = end == edgeInTransition;
    const bool startKnown = start && (!startRunsIn || before.transition);
    const bool endKnown = end && (!endRunsIn || after.transition);
    item.hasPlace = startKnown && endKnown;
    const Frames length =
        std::max(leadingFrames(textOf(item.node, "out")) - leadingFrames(textOf(item.node, "in")),
                 Frames{0});
    if (startKnown) item.start = startRunsIn ? before.start : *start;
    if (endKnown) item.end = endRunsIn ? after.end : *end;
    if (startKnown && !endKnown) item.end = item.start + length;
    if (!startKnown && endKnown) item.start = item.end - length;
    item.anchor = item.start;
    // A transition between two clips needs both of them for as long as it is.
    if (before.transition && startsInside(item.node, before)) {
        const XMLNode other = itemBefore(before.transition);
        item.in = before;
        if (isClip(other) && endsInside(other, before)) item.start = before.start;
    }
    if (after.transition && endsInside(item.node, after)) {
        const XMLNode other = itemAfter(after.transition);
        item.out = after;
        if (isClip(other) && startsInside(other, after)) item.end = after.end;
    }
}

class PlainSequence {
public:
    PlainSequence(XMLNode document, XMLNode sequence, bool isVideo)
        : document_(document), isVideo_(isVideo) {
        const XMLNode list = sequence.child("media").child(isVideo ? "video" : "audio");
        const XMLNode size = list.child("format").child("samplecharacteristics");
        width_ = leadingFrames(textOf(size, "width")).count;
        for (XMLNode track = list.child("track"); track; track = track.nextSibling("track")) {
            ++tracks_;
            if (upper(textOf(track, "enabled")) == "FALSE") continue;
            for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
                if (isItem(node) && !node.isElement("transitionitem")) add(node);
        }
    }

    /// What is at a frame, from the top down or in any order; whether the last one covers.
    std::vector<Text> at(Frames f, bool isNested, bool* isFull = nullptr) const {
        std::vector<Text> seen;
        std::vector<bool> areNothing;
        bool covered = false;
        for (int track = tracks_; track > 0 && !covered; --track) {
            std::vector<const PlainItem*> here;
            for (const PlainItem& item : items_)
                if (item.track == track && item.isAt(f)) here.push_back(&item);
            for (const PlainItem* item : here) {
                const bool isIn = item->in.holds(f);
                const bool isOut = !isIn && item->out.holds(f);
                seen.push_back(textAt(*item, f, isIn, isOut));
                areNothing.push_back(item->isNothing && !isIn && !isOut);
                covered = isVideo_ && here.size() == 1 && !isIn && !isOut && item->coversAlone &&
                          nestedIsFull(*item, f);
            }
        }
        if (isFull) *isFull = covered;
        while (isVideo_ && !isNested && !seen.empty() && areNothing.back()) {
            seen.pop_back();
            areNothing.pop_back();
        }
        return seen;
    }

private:
    void add(XMLNode node) {
        PlainItem item;
        item.node = node;
        item.track = tracks_;
        item.isEnabled = upper(textOf(node, "enabled")) != "FALSE";
        const std::vector<PlainEffect> effects = effectsOf(node);
        for (const PlainEffect& effect : effects)
            if (!isVideo_ && effect.isSilence) return;
        place(item);
        item.look = plainLook(document_, node, isVideo_);
        item.coversAlone = item.hasPlace && coversAlone(node, effects);
        const bool isPlain = std::none_of(effects.begin(), effects.end(), [](const auto& effect) {
            return effect.name != "timeremap" && concerns(effect, true);
        });
        item.isNothing = isBlack(document_, node) && isPlain && item.hasPlace && isNormal(node);
        items_.push_back(item);
    }

    static bool isNormal(XMLNode node) {
        const Text mode = upper(textOf(node, "compositemode"));
        return mode.empty() || mode == "NORMAL";
    }

    bool coversAlone(XMLNode node, const std::vector<PlainEffect>& effects) const {
        for (const PlainEffect& effect : effects)
            if (effect.name != "Color Corrector" && effect.name != "timeremap" &&
                concerns(effect, true))
                return false;
        if (!isNormal(node) || mayBeTransparent(document_, node)) return false;
        if (node.isElement("generatoritem")) return isBlack(document_, node);
        if (node.child("file") && !fileOf(document_, node)) return false;
        const std::int64_t width = leadingFrames(textOf(fileOf(document_, node)
                                                            .child("media")
                                                            .child("video")
                                                            .child("samplecharacteristics"),
                                                        "width"))
                                       .count;
        return width == 0 || width_ == 0 || width >= width_;
    }

    static Frames sourceAt(const PlainItem& item, Frames f) {
        return leadingFrames(textOf(item.node, "in")) + f - item.anchor;
    }

    // A nested sequence hides what is below it only where its own picture is full.
    bool nestedIsFull(const PlainItem& item, Frames f) const {
        const XMLNode nested = nestedOf(item.node);
        if (!nested) return true;
        for (const PlainEffect& effect : effectsOf(item.node))
            if (effect.name == "timeremap") return false;
        if (sourceAt(item, item.end) < sourceAt(item, item.start)) return false;
        bool isFull = false;
        PlainSequence(document_, definitionOf(document_, nested), true)
            .at(sourceAt(item, f), true, &isFull);
        return isFull;
    }

    Text textAt(const PlainItem& item, Frames f, bool isIn, bool isOut) const {
        Text text = item.look +
                    plainSource(document_, item.node, isVideo_, item.hasPlace, sourceAt(item, f));
        if (isIn) text += " into " + plainTransition(item.in.transition);
        if (isOut) text += " out of " + plainTransition(item.out.transition);
        return text;
    }

    XMLNode document_;
    bool isVideo_;
    int tracks_ = 0;
    std::int64_t width_ = 0;
    std::vector<PlainItem> items_;
};

std::vector<Text> frameByFrame(const PlainSequence& sequence, int first, int end, bool isVideo) {
    std::vector<Text> frames;
    for (int f = first; f < end; ++f) {
        std::vector<Text> seen = sequence.at({f}, false);
        if (!isVideo) std::sort(seen.begin(), seen.end());
        Text text;
        for (const Text& one : seen) text += "[" + one + "]";
        frames.push_back(text);
    }
    return frames;
}

}  // namespace

std::vector<Text> plainPicture(XMLNode document, XMLNode sequence, int first, int end) {
    return frameByFrame(PlainSequence(document, sequence, true), first, end, true);
}

std::vector<Text> plainSound(XMLNode document, XMLNode sequence, int first, int end) {
    return frameByFrame(PlainSequence(document, sequence, false), first, end, false);
}

Text plainLook(XMLNode document, XMLNode item, bool isVideo) {
    Text look = mediaOf(document, item);
    if (isVideo) {
        const Text mode = textOf(item, "compositemode");
        if (!mode.empty() && upper(mode) != "NORMAL") look += " " + mode;
        if (mayBeTransparent(document, item)) look += " alpha";
    }
    const bool hasSpeed = !plainStandsStill(document, item, isVideo);
    for (const PlainEffect& effect : effectsOf(item))
        if (effect.name == "timeremap" ? hasSpeed : concerns(effect, isVideo))
            look += " +" + effect.text;
    if (!isVideo) {
        look += " from " + textOf(item.child("sourcetrack"), "trackindex");
        look += " to " + leadingFrames(textOf(item.parent(), "outputchannelindex")).text();
    }
    return look;
}

Text plainSource(XMLNode document, XMLNode item, bool isVideo, bool hasPlace, Frames source) {
    Text text = hasPlace ? "" : " without place";
    if (!plainStandsStill(document, item, isVideo)) text += " @" + source.text();
    if (!nestedOf(item)) return text;
    const PlainSequence nested(document, definitionOf(document, nestedOf(item)), isVideo);
    const auto addFrame = [&](Frames f) {
        std::vector<Text> seen = nested.at(f, true);
        if (!isVideo) std::sort(seen.begin(), seen.end());
        for (const Text& one : seen) text += "(" + one + " at " + f.text() + ")";
    };
    bool isPlain = true;
    for (const PlainEffect& effect : effectsOf(item))
        isPlain = isPlain && effect.name != "timeremap";
    if (isPlain) addFrame(source);
    // Which of its frames a clip at another speed shows is not known here: all of them count.
    for (int f = -10; !isPlain && f < 1000; ++f) addFrame({f});
    return text;
}

Text plainTransition(XMLNode transition) {
    return textOf(transition, "start") + "-" + textOf(transition, "end") + " " +
           textOf(transition, "alignment") + textOf(transition.child("effect"), "name");
}

bool plainStandsStill(XMLNode document, XMLNode item, bool isVideo) {
    if (!isVideo) return false;
    for (const PlainEffect& effect : effectsOf(item))
        if (effect.name != "timeremap" && concerns(effect, true) &&
            effect.text.find(':') != Text::npos)
            return false;
    const XMLNode file = fileOf(document, item);
    return isBlack(document, item) ||
           (endsIn(textOf(file, "pathurl"), ".png") && textOf(file, "duration") == "1");
}

}  // namespace reelsweep::test
