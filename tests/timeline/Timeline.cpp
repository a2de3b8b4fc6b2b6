#include "tests/timeline/Timeline.h"

#include "time/Frames.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>

namespace reelsweep::test {

namespace {

// What a switch stands for; its argument stands where the $ is.
struct Switch {
    char mark;
    std::string_view xml;
};

constexpr std::array switches = {
    Switch{'%',
           "<filter><effect><name>Opacity</name><parameter><parameterid>opacity</parameterid>"
           "<value>$</value></parameter></effect></filter>"},
    Switch{'^', "<compositemode>$</compositemode>"},
    Switch{'+', "<filter><effect><name>$</name></effect></filter>"},
    Switch{'*',
           "<filter><effect><name>Audio Levels</name><effectid>audiolevels</effectid>"
           "<parameter><value>$</value></parameter></effect></filter>"},
    Switch{'=', "<effect><name>$</name></effect>"},
    Switch{'&', "<multiclip><collapsed>$</collapsed></multiclip>"},
    Switch{'\'', "<marker><name>$</name></marker>"},
};
constexpr std::string_view switchMarks = "%^+*=&'{";

std::string replaced(std::string text, char from, char to) {
    std::replace(text.begin(), text.end(), from, to);
    return text;
}

std::invalid_argument notUnderstood(std::string_view token) {
    return std::invalid_argument("not timeline notation: " + std::string(token));
}

std::string element(std::string_view name, std::string_view text) {
    const std::string tag(name);
    return "<" + tag + ">" + std::string(text) + "</" + tag + ">";
}

// "-" is no element, "3|7" two.
std::string timeElements(std::string_view name, const std::string& time) {
    if (time == "-") return {};
    std::string xml;
    for (std::size_t from = 0; from <= time.size();) {
        const std::size_t end = std::min(time.find('|', from), time.size());
        xml += element(name, replaced(time.substr(from, end - from), '_', ' '));
        from = end + 1;
    }
    return xml;
}

std::string defaultOut(const std::string& start, const std::string& end) {
    return (leadingFrames(end) - leadingFrames(start)).text();
}

std::string switchElements(std::string_view text, std::string_view token) {
    std::string xml;
    while (!text.empty()) {
        if (text.front() == '{') {
            const std::size_t close = text.find('}');
            xml += text.substr(1, close - 1);
            text.remove_prefix(close + 1);
            continue;
        }
        const auto* found = std::find_if(switches.begin(), switches.end(),
                                         [&](const Switch& s) { return s.mark == text.front(); });
        if (found == switches.end()) throw notUnderstood(token);
        const std::size_t end = std::min(text.find_first_of(switchMarks, 1), text.size());
        const std::size_t hole = found->xml.find('$');
        xml += std::string(found->xml.substr(0, hole)) +
               replaced(std::string(text.substr(1, end - 1)), '_', ' ') +
               std::string(found->xml.substr(hole + 1));
        text.remove_prefix(end);
    }
    return xml;
}

std::string itemXML(const std::string& token) {
    std::string_view rest = token;
    const bool disabled = rest.front() == '!';
    if (disabled) rest.remove_prefix(1);
    const bool generator = rest.front() == '~';
    if (generator) rest.remove_prefix(1);
    const auto upTo = [&](std::string_view ends) {
        const std::size_t end = rest.find_first_of(ends);
        if (end == std::string_view::npos) throw notUnderstood(token);
        const std::string part(rest.substr(0, end));
        rest.remove_prefix(end + 1);
        return part;
    };
    const std::string name = upTo("[");
    const std::string start = upTo(",");
    const std::string end = upTo(")");
    const bool transition = name.front() == 'x';
    std::string in = transition ? "-" : "0";
    std::string out = transition ? "-" : defaultOut(start, end);
    if (!rest.empty() && rest.front() == '@') {
        rest.remove_prefix(1);
        in = upTo(":");
        const std::size_t outEnd = std::min(rest.find_first_of(switchMarks), rest.size());
        out = std::string(rest.substr(0, outEnd));
        rest.remove_prefix(outEnd);
    }
    const std::string tag = transition  ? "transitionitem"
                            : generator ? "generatoritem"
                                        : "clipitem";
    return "<" + tag + " id=\"" + name + "\">" + (transition ? "" : element("name", name)) +
           (disabled ? element("enabled", "FALSE") : "") + timeElements("start", start) +
           timeElements("end", end) + timeElements("in", in) + timeElements("out", out) +
           switchElements(rest, token) + "</" + tag + ">";
}

bool isTrackLabel(std::string_view token) {
    return token.size() > 2 && (token[0] == 'V' || token[0] == 'A') && token.back() == ':';
}

std::string trackContentXML(const std::string& token) {
    if (token == "#") return "<!-- note -->";
    if (token == "e") return element("enabled", "TRUE");
    if (token.front() == '{') return switchElements(token, token);
    return itemXML(token);
}

std::string timesOf(XMLNode item, const char* name) {
    std::string times;
    bool any = false;
    for (XMLNode time = item.child(name); time; time = time.nextSibling(name)) {
        times += (any ? "|" : "") + replaced(time.stringValue(), ' ', '_');
        any = true;
    }
    return any ? times : "-";
}

bool isLeftOut(XMLNode child) {
    static constexpr std::array<std::string_view, 9> names = {
        "start", "end", "in", "out", "name", "duration", "rate", "file", "sourcetrack"};
    return std::find(names.begin(), names.end(), child.name()) != names.end() ||
           child.isElement("enabled");
}

std::string switchOf(XMLNode child) {
    const std::string xml = serialise(child);
    for (const Switch& candidate : switches) {
        const std::size_t hole = candidate.xml.find('$');
        const std::string_view tail = candidate.xml.substr(hole + 1);
        if (xml.size() >= candidate.xml.size() - 1 &&
            xml.starts_with(candidate.xml.substr(0, hole)) && xml.ends_with(tail) &&
            xml.find('<', hole) == xml.size() - tail.size())
            return candidate.mark +
                   replaced(xml.substr(hole, xml.size() - hole - tail.size()), ' ', '_');
    }
    return "{" + xml + "}";
}

std::string itemNotation(XMLNode item) {
    const bool transition = item.isElement("transitionitem");
    const std::string start = timesOf(item, "start");
    const std::string end = timesOf(item, "end");
    const std::string in = timesOf(item, "in");
    const std::string out = timesOf(item, "out");
    const XMLNode enabled = item.child("enabled");
    std::string text = enabled && enabled.stringValue() == "FALSE" ? "!" : "";
    if (item.isElement("generatoritem")) text += "~";
    text += std::string(item.attribute("id").value_or("?")) + "[" + start + "," + end + ")";
    if (in != (transition ? "-" : "0") || out != (transition ? "-" : defaultOut(start, end)))
        text += "@" + in + ":" + out;
    for (XMLNode child = item.firstChild(); child; child = child.nextSibling())
        if (!isLeftOut(child)) text += switchOf(child);
    return text;
}

std::string nodeNotation(XMLNode node) {
    if (node.kind() == XMLKind::comment) return "#";
    if (node.isElement("clipitem") || node.isElement("generatoritem") ||
        node.isElement("transitionitem"))
        return itemNotation(node);
    const std::string xml = serialise(node);
    return xml == element("enabled", "TRUE") ? "e" : "{" + xml + "}";
}

void appendTracks(std::string& text, XMLNode tracks, char letter) {
    int number = 0;
    for (XMLNode track = tracks.child("track"); track; track = track.nextSibling("track")) {
        if (!text.empty()) text += " ";
        text += letter + std::to_string(++number) + ":";
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            text += " " + nodeNotation(node);
    }
}

}  // namespace

std::vector<std::string> timelineTokens(std::string_view notation) {
    std::vector<std::string> tokens;
    std::string token;
    int braces = 0;
    for (const char c : notation) {
        braces += c == '{' ? 1 : c == '}' ? -1 : 0;
        if (braces > 0 || !std::isspace(static_cast<unsigned char>(c))) {
            token += c;
        } else if (!token.empty()) {
            tokens.push_back(std::move(token));
            token.clear();
        }
    }
    if (!token.empty()) tokens.push_back(std::move(token));
    return tokens;
}

std::string sequenceXML(std::string_view notation) {
    std::string own;
    std::string format;
    std::string video;
    std::string audio;
    std::string* current = nullptr;
    for (const std::string& token : timelineTokens(notation)) {
        if (token == "S:") {
            current = &own;
        } else if (token == "F:") {
            current = &format;
        } else if (isTrackLabel(token)) {
            current = token[0] == 'V' ? &video : &audio;
            *current += current->empty() ? "<track>" : "</track><track>";
        } else if (!current) {
            throw notUnderstood(token);
        } else {
            *current += trackContentXML(token);
        }
    }
    for (std::string* tracks : {&video, &audio})
        if (!tracks->empty()) *tracks += "</track>";
    return "<sequence id=\"sequence-1\" "
           "explodedTracks=\"true\"><uuid>1234</uuid><name>Harbour</name>" +
           own + "<media>" + element("video", format + video) + element("audio", audio) +
           "</media></sequence>";
}

std::string projectXML(const std::vector<std::string>& sequences) {
    std::string children;
    for (const std::string& sequence : sequences) children += sequence;
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE xmeml><xmeml "
           "version=\"5\"><project>"
           "<name>Project</name><children>" +
           children + "</children></project></xmeml>";
}

std::string notation(XMLNode sequence) {
    std::string text;
    appendTracks(text, sequence.child("media").child("video"), 'V');
    appendTracks(text, sequence.child("media").child("audio"), 'A');
    return text;
}

namespace {

XMLDocument parsedProject(std::string_view notation) {
    Result<XMLDocument> parsed = XMLDocument::parse(projectXML({sequenceXML(notation)}));
    if (!parsed) throw std::invalid_argument(parsed.failure().description());
    return std::move(*parsed);
}

}  // namespace

Timeline::Timeline(std::string_view text)
    : document(parsedProject(text)),
      sequence(document.rootElement().child("project").child("children").child("sequence")) {}

}  // namespace reelsweep::test
