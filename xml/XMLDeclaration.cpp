#include "xml/XMLDeclaration.h"

#include "xml/DocumentBytes.h"

#include <algorithm>
#include <optional>

namespace reelsweep {

namespace {

using namespace bytes;

// Takes ` name="value"` from the front of a text, in either quotes. Nothing when it is not there.
std::optional<std::string_view> takePseudoAttribute(std::string_view& text, std::string_view name) {
    std::string_view rest = text;
    const auto isSpaceAt = [&](std::size_t at) {
        return at < rest.size() && is(rest[at], isSpace);
    };
    if (!isSpaceAt(0)) return {};
    while (isSpaceAt(0)) rest.remove_prefix(1);
    if (!rest.starts_with(name)) return {};
    rest.remove_prefix(name.size());
    if (rest.size() < 2 || rest[0] != '=' || (rest[1] != '"' && rest[1] != '\'')) return {};
    const std::size_t close = rest.find(rest[1], 2);
    if (close == std::string_view::npos) return {};
    const std::string_view value = rest.substr(2, close - 2);
    text = rest.substr(close + 1);
    return value;
}

bool isUtf8(std::string_view encoding) {
    constexpr std::string_view name = "utf-8";
    return std::equal(
        encoding.begin(), encoding.end(), name.begin(), name.end(), [](char given, char lower) {
            return given == lower || (lower >= 'a' && lower <= 'z' && given == lower - ('a' - 'A'));
        });
}

}  // namespace

bool isPlainDeclaration(std::string_view text) {
    if (takePseudoAttribute(text, "version") != "1.0") return false;
    if (const auto encoding = takePseudoAttribute(text, "encoding"); encoding && !isUtf8(*encoding))
        return false;
    const auto standalone = takePseudoAttribute(text, "standalone");
    if (standalone && standalone != "yes" && standalone != "no") return false;
    return std::all_of(text.begin(), text.end(), [](char c) { return is(c, isSpace); });
}

}  // namespace reelsweep
