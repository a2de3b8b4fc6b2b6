#include "services/LogText.h"

namespace reelsweep {

namespace {

/// Whether escaping would change the text: cheap, since nearly no format needs it.
bool needsEscaping(std::string_view text) {
    for (std::size_t i = text.find('%'); i != std::string_view::npos; i = text.find('%', i + 1)) {
        if (i + 1 == text.size()) return false;
        if (std::string_view(" .!,-;:+").find(text[i + 1]) != std::string_view::npos) return true;
        if (text.substr(i).starts_with("%%%")) return true;
    }
    return false;
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

}  // namespace

std::string escapedForLogging(std::string_view format) {
    std::string escaped(format);
    if (!needsEscaping(format)) return escaped;
    for (const char* const stray : {"% ", "%.", "%!", "%,", "%-", "%;", "%:", "%+"})
        replaceAll(escaped, stray, std::string("%") + stray);
    // A percent sign that was doubled already has become three.
    replaceAll(escaped, "%%%", "%%");
    return escaped;
}

void formatLogText(TextBuffer& buffer, std::string_view format,
                   std::span<const FormatArgument> arguments) {
    if (needsEscaping(format))
        formatInto(buffer, escapedForLogging(format), arguments);
    else
        formatInto(buffer, format, arguments);
}

std::string consoleEcho(std::string text) {
    replaceAll(text, "%@", "");
    replaceAll(text, "%", "%%");
    std::erase(text, '\0');
    return text;
}

}  // namespace reelsweep
