#include "timeline/QVXMLParser.h"

#include "base/Log.h"
#include "base/Utf16.h"
#include "xml/XMLQuery.h"

#include <algorithm>
#include <stdexcept>
#include <unordered_set>

namespace reelsweep {

namespace {

Result<std::vector<XMLNode>> selectEscaped(XMLNode node, std::string_view query) {
    try {
        return selectNodes(node, QVXMLParser::escapeQueryString(query));
    } catch (const std::out_of_range& error) {
        return Failure{FailureCode::usage, error.what(), "", 0, 0, ""};
    }
}

void logQueryError(const Failure& failure) {
    Log::append("XML parsing error: %@", failure.description());
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Nothing when an escape is bad or stands for a byte above `largestByte`.
std::optional<std::string> withoutPercentEscapes(std::string_view text, int largestByte) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? hexDigit(text[i + 2]) : -1;
        if (high < 0 || low < 0 || high * 16 + low > largestByte) return {};
        result += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return result;
}

// Names from some systems hold percent escapes; one that cannot be undone leaves the whole text
// alone.
std::string asciiUnescaped(const std::string& text) {
    return withoutPercentEscapes(text, 0x7F).value_or(text);
}

// What ".//name[1]/text()" answers first; "[1]" counts within each parent.
XMLNode firstDescendantText(XMLNode node, std::string_view name, bool isNamed = false) {
    bool hasNamedChild = false;
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling()) {
        if (isNamed && child.isText()) return child;
        const bool isFirstNamed = !hasNamedChild && child.isElement(name);
        hasNamedChild = hasNamedChild || isFirstNamed;
        if (const XMLNode text = firstDescendantText(child, name, isFirstNamed)) return text;
    }
    return {};
}

std::optional<std::string> childTextOrBelow(XMLNode node, const char* name,
                                            bool immediateChildOnly) {
    XMLNode text = node.child(name).firstText();
    if (!text && !immediateChildOnly) text = firstDescendantText(node, name);
    if (!text) return {};
    return asciiUnescaped(std::string(text.value()));
}

std::string_view edgeText(XMLNode item, const char* edge) {
    return item.child(edge).firstText().value();
}

bool runsIntoTransition(XMLNode item, const char* edge) {
    return item && edgeText(item, edge) == edgeInTransitionText;
}

}  // namespace

std::optional<std::vector<std::string>> QVXMLParser::stringValuesForQuery(std::string_view query,
                                                                          XMLNode node) {
    const auto matches = selectEscaped(node, query);
    if (!matches || matches->empty()) return {};
    std::vector<std::string> texts;
    for (const XMLNode& match : *matches) texts.push_back(match.stringValue());
    return texts;
}

std::optional<std::string> QVXMLParser::stringValueForQuery(std::string_view query, XMLNode node) {
    const auto matches = selectEscaped(node, query);
    if (!matches || matches->empty()) return {};
    return matches->front().stringValue();
}

std::optional<std::vector<XMLNode>> QVXMLParser::nodesForQuery(std::string_view query,
                                                               XMLNode node) {
    auto matches = selectEscaped(node, query);
    if (matches) return std::move(*matches);
    logQueryError(matches.failure());
    return {};
}

XMLNode QVXMLParser::nodeForQuery(std::string_view query, XMLNode node) {
    const auto matches = nodesForQuery(query, node);
    return matches && !matches->empty() ? matches->front() : XMLNode();
}

std::vector<XMLNode> QVXMLParser::nodesFromQueries(XMLNode node,
                                                   const std::vector<std::string>& queries) {
    std::vector<XMLNode> united;
    std::unordered_set<XMLNode> seen;
    for (const std::string& query : queries) {
        const auto matches = selectEscaped(node, query);
        if (!matches) {
            logQueryError(matches.failure());
            continue;
        }
        for (const XMLNode& match : *matches)
            if (seen.insert(match).second) united.push_back(match);
    }
    return united;
}

std::vector<XMLNode> QVXMLParser::queryNodes(const std::vector<XMLNode>& nodes,
                                             std::string_view query) {
    std::vector<XMLNode> all;
    for (const XMLNode& node : nodes) {
        const auto matches = selectEscaped(node, query);
        if (matches) all.insert(all.end(), matches->begin(), matches->end());
    }
    return all;
}

std::optional<std::string> QVXMLParser::idAttributeForNode(XMLNode node) {
    std::optional<std::string> id = stringValueForQuery("./@id[1]", node);
    if (!id) return {};
    return asciiUnescaped(*id);
}

std::optional<std::string> QVXMLParser::filenameFromPathURLString(
    const std::optional<std::string>& url) {
    if (!url) return {};
    std::string_view rest = *url;
    constexpr std::string_view notInURLs = " <>\"{}|\\^`";
    for (const char c : rest)
        if (static_cast<unsigned char>(c) <= 0x20 || static_cast<unsigned char>(c) >= 0x7F ||
            notInURLs.find(c) != std::string_view::npos)
            return {};
    rest = rest.substr(0, rest.find_first_of("?#"));
    const std::size_t colon = rest.find_first_of(":/");
    if (colon != std::string_view::npos && rest[colon] == ':') rest.remove_prefix(colon + 1);
    if (rest.substr(0, 2) == "//") {
        const std::size_t path = rest.find('/', 2);
        rest = path == std::string_view::npos ? std::string_view() : rest.substr(path);
    }
    if (rest.size() > 1 && rest.back() == '/') rest.remove_suffix(1);
    return withoutPercentEscapes(rest, 0xFF);
}

std::optional<std::string> QVXMLParser::nameForNode(XMLNode node, bool immediateChildOnly) {
    if (auto name = childTextOrBelow(node, "name", immediateChildOnly)) return name;
    if (immediateChildOnly) return {};
    const auto id = node.attribute("id");
    if (!id) return {};
    return asciiUnescaped(std::string(*id));
}

std::optional<std::string> QVXMLParser::uuidForNode(XMLNode node, bool immediateChildOnly) {
    return childTextOrBelow(node, "uuid", immediateChildOnly);
}

XMLNode QVXMLParser::parentWithName(XMLNode node, std::string_view name,
                                    const std::vector<std::string>& limits) {
    for (XMLNode ancestor = node.parent(); ancestor; ancestor = ancestor.parent()) {
        if (std::find(limits.begin(), limits.end(), ancestor.name()) != limits.end()) return {};
        if (ancestor.name() == name) return ancestor;
    }
    return {};
}

XMLNode QVXMLParser::nextSiblingForNode(XMLNode node) {
    for (; node; node = node.parent())
        if (const XMLNode next = node.nextSibling()) return next;
    return {};
}

std::vector<XMLNode> QVXMLParser::affectedNodesForClip(XMLNode clip, Frames* rangeStart,
                                                       Frames* rangeEnd) {
    std::vector<XMLNode> before;
    std::string_view start = edgeText(clip, "start");
    std::string_view end = edgeText(clip, "end");

    // Siblings are taken as they stand, whatever they are: one without times ends the walk at frame
    // 0.
    if (start == edgeInTransitionText) {
        for (XMLNode p = clip.previousSibling(); p; p = p.previousSibling()) {
            before.push_back(p);
            if (p.isElement("transitionitem") && runsIntoTransition(p.previousSibling(), "end"))
                continue;
            const std::string_view boundary = edgeText(p, "start");
            if (boundary == edgeInTransitionText) continue;
            start = boundary;
            break;
        }
    }
    std::vector<XMLNode> group(before.rbegin(), before.rend());
    group.push_back(clip);
    if (end == edgeInTransitionText) {
        for (XMLNode n = clip.nextSibling(); n; n = n.nextSibling()) {
            group.push_back(n);
            if (n.isElement("transitionitem") && runsIntoTransition(n.nextSibling(), "start"))
                continue;
            const std::string_view boundary = edgeText(n, "end");
            if (boundary == edgeInTransitionText) continue;
            end = boundary;
            break;
        }
    }
    if (rangeStart) *rangeStart = leadingFrames(start);
    if (rangeEnd) *rangeEnd = leadingFrames(end);
    return group;
}

std::string QVXMLParser::escapeQueryString(std::string_view text) {
    const std::u16string units = utf16FromUtf8(text);
    std::u16string escaped;
    constexpr std::u16string_view ampersand = u"&amp;";
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char16_t unit = units[i];
        if (unit >= 160) {
            escaped += u"&#";
            for (const char digit : std::to_string(static_cast<unsigned>(unit)))
                escaped += static_cast<char16_t>(digit);
            escaped += u';';
        } else if (unit == u'&') {
            // Unsigned on purpose: on a text shorter than four units the bound wraps around, and
            // the comparison then fails as it reaches past the end. Callers never pass such a text.
            if (i < units.size() - 4) {
                if (units.size() - i < ampersand.size())
                    throw std::out_of_range("range beyond the end of the query \"" +
                                            std::string(text) + "\"");
                escaped += std::u16string_view(units).substr(i, 5) == ampersand ? u"&" : u"&amp;";
            } else {
                escaped += u"&amp;";
            }
        } else if (unit == 13) {
            escaped += u"&#13;";
        } else if (unit < 20) {
            Log::append("Stripped character %C", unit);
        } else {
            escaped += unit;
        }
    }
    return utf8FromUtf16(escaped);
}

int sortXMLArrayByStart(XMLNode first, XMLNode second) {
    const Frames a = leadingFrames(edgeText(first, "start"));
    const Frames b = leadingFrames(edgeText(second, "start"));
    return a < b ? -1 : a > b ? 1 : 0;
}

}  // namespace reelsweep
