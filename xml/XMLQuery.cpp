#include "xml/XMLQuery.h"

#include "base/Utf16.h"
#include "xml/XMLAccess.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace reelsweep {

namespace {

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.' ||
           c == ':' || static_cast<unsigned char>(c) >= 128;
}

// The character that the reference at the front of `text` stands for, and how long the reference
// is.
struct Reference {
    std::uint32_t character;
    std::size_t length;
};

std::optional<Reference> referenceAt(std::string_view text) {
    const std::size_t end = text.find(';');
    if (text.empty() || text[0] != '&' || end == std::string_view::npos) return {};
    const std::string_view body = text.substr(1, end - 1);
    const std::size_t length = end + 1;
    if (body == "amp") return Reference{'&', length};
    if (body == "lt") return Reference{'<', length};
    if (body == "gt") return Reference{'>', length};
    if (body == "quot") return Reference{'"', length};
    if (body == "apos") return Reference{'\'', length};
    if (body.size() < 2 || body[0] != '#' || body.size() > 9) return {};
    const bool hexadecimal = body[1] == 'x';
    const std::string_view digits = body.substr(hexadecimal ? 2 : 1);
    std::uint32_t character = 0;
    for (const char c : digits) {
        const bool valid = hexadecimal ? std::isxdigit(static_cast<unsigned char>(c)) != 0
                                       : std::isdigit(static_cast<unsigned char>(c)) != 0;
        if (!valid) return {};
        const int digit =
            std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : (c | 0x20) - 'a' + 10;
        character = character * (hexadecimal ? 16 : 10) + static_cast<std::uint32_t>(digit);
    }
    if (digits.empty() || character == 0 || character > 0x10FFFF) return {};
    return Reference{character, length};
}

// References become characters. Escaping works on 16-bit units, so two references may be one
// character.
std::string withoutReferences(std::string_view literal) {
    std::u16string units;
    while (!literal.empty()) {
        const std::optional<Reference> reference = referenceAt(literal);
        const std::size_t plain = reference ? 0 : std::min(literal.find('&', 1), literal.size());
        if (!reference) {
            units += utf16FromUtf8(literal.substr(0, plain));
        } else if (reference->character < 0x10000) {
            units += static_cast<char16_t>(reference->character);
        } else {
            std::string character;
            appendUtf8(character, reference->character);
            units += utf16FromUtf8(character);
        }
        literal.remove_prefix(reference ? reference->length : plain);
    }
    return utf8FromUtf16(units);
}

// XPath has no escapes inside literals: a text with both quotes must be put together.
std::string quoted(const std::string& text) {
    if (text.find('"') == std::string::npos) return '"' + text + '"';
    if (text.find('\'') == std::string::npos) return '\'' + text + '\'';
    std::string call = "concat(";
    std::size_t from = 0;
    for (;;) {
        const std::size_t quote = text.find('"', from);
        call += '"' + text.substr(from, quote - from) + '"';
        if (quote == std::string::npos) return call + ")";
        call += ",'\"',";
        from = quote + 1;
    }
}

// "(clipitem | generatoritem)" as a step becomes "*[self::clipitem or self::generatoritem]"; any
// other parenthesis stays as it is.
std::optional<std::string> unionStep(std::string_view inside) {
    std::string step = "*[";
    std::string name;
    bool any = false;
    auto takeName = [&] {
        if (name.empty()) return false;
        step += (any ? " or self::" : "self::") + name;
        any = true;
        name.clear();
        return true;
    };
    bool gap = false;
    for (const char c : inside) {
        if (c == ' ') {
            gap = !name.empty();
        } else if (c == '|') {
            if (!takeName()) return {};
            gap = false;
        } else if (isNameCharacter(c) && !gap) {
            name += c;
        } else {
            return {};
        }
    }
    if (!takeName()) return {};
    return step + "]";
}

// A predicate may follow "." and "..", which XPath 1.0 allows after full steps only.
void spellOutAbbreviatedStep(std::string& path) {
    const auto endsInStep = [&](std::string_view step) {
        if (!path.ends_with(step)) return false;
        const std::size_t before = path.size() - step.size();
        return before == 0 || path[before - 1] == '/' || path[before - 1] == '[' ||
               path[before - 1] == ' ';
    };
    if (endsInStep(".."))
        path.replace(path.size() - 2, 2, "parent::node()");
    else if (endsInStep("."))
        path.replace(path.size() - 1, 1, "self::node()");
}

std::string translated(std::string_view query) {
    std::string result;
    for (std::size_t i = 0; i < query.size(); ++i) {
        const char c = query[i];
        if (c == '"' || c == '\'') {
            const std::size_t end = query.find(c, i + 1);
            if (end == std::string_view::npos) return result + std::string(query.substr(i));
            result += quoted(withoutReferences(query.substr(i + 1, end - i - 1)));
            i = end;
            continue;
        }
        if (c == '(' && !result.empty() && result.back() == '/') {
            const std::size_t end = query.find(')', i);
            if (end != std::string_view::npos) {
                if (const auto step = unionStep(query.substr(i + 1, end - i - 1))) {
                    result += *step;
                    i = end;
                    continue;
                }
            }
        }
        if (c == '[') spellOutAbbreviatedStep(result);
        result += c;
    }
    return result;
}

using CompiledQuery = std::shared_ptr<const pugi::xpath_query>;

// Kept by their text. Queries with numbers in them are endless in kind, so the store is bounded.
CompiledQuery compiled(std::string_view query) {
    static std::mutex mutex;
    static std::unordered_map<std::string, CompiledQuery> kept;
    constexpr std::size_t mostKept = 256;

    std::string key(query);
    const std::lock_guard lock(mutex);
    if (const auto found = kept.find(key); found != kept.end()) return found->second;
    auto made = std::make_shared<const pugi::xpath_query>(translated(query).c_str());
    if (kept.size() >= mostKept) kept.clear();
    kept.emplace(std::move(key), made);
    return made;
}

Failure queryFailure(const std::string& what, std::string_view query) {
    return {FailureCode::usage, what + " in query \"" + std::string(query) + "\"", "", 0, 0, ""};
}

}  // namespace

Result<std::vector<XMLNode>> selectNodes(XMLNode context, std::string_view query) {
    std::vector<XMLNode> nodes;
    if (!context) return nodes;
    if (XMLAccess::mayEmbed(XMLAccess::pugi(context))) {
        XMLAccess::separateAll(XMLAccess::pugi(context));
        context = context.separated();
    }
    std::string relative;
    if (!query.empty() && query[0] == '/') {
        // What pugixml takes for the root holds more than the document: start at the document's
        // node.
        context = context.top();
        relative.append(".").append(query);
        query = relative;
    }
    try {
        const CompiledQuery compiledQuery = compiled(query);
        if (!compiledQuery->result())
            return queryFailure(compiledQuery->result().description(), query);
        if (compiledQuery->return_type() != pugi::xpath_type_node_set)
            return queryFailure("Expression does not select nodes", query);
        pugi::xpath_node_set found =
            compiledQuery->evaluate_node_set(XMLAccess::xpathContext(context));
        found.sort();
        nodes.reserve(found.size());
        for (const pugi::xpath_node& node : found) {
            if (node.attribute())
                nodes.push_back(XMLAccess::handle(node.parent(), node.attribute()));
            else if (!XMLAccess::hasMark(node.node(), XMLAccess::slotMark))
                nodes.push_back(XMLAccess::handle(node.node()));
        }
    } catch (const pugi::xpath_exception& error) {
        return queryFailure(error.what(), query);
    }
    return nodes;
}

}  // namespace reelsweep
