#include "cli/TextTable.h"

#include <locale.h>
#include <wchar.h>
#include <algorithm>
#include <clocale>
#include <cwchar>

namespace reelsweep {

namespace {

// What wcwidth and mbrtowc know depends on the thread's locale; texts here are UTF-8 whatever the
// user's locale is.
class Utf8Scope {
public:
    Utf8Scope() : previous_(uselocale(utf8())) {}
    ~Utf8Scope() { uselocale(previous_); }
    Utf8Scope(const Utf8Scope&) = delete;
    Utf8Scope& operator=(const Utf8Scope&) = delete;

private:
    // Part of the C library itself. Were it missing, each byte would count as a column.
    static locale_t utf8() {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale;
    }
    locale_t previous_;
};

// Calls visit(bytes, columns) for each character of the text, until it answers false.
template <class Visit>
void forEachCharacter(std::string_view text, Visit visit) {
    const Utf8Scope scope;
    std::mbstate_t state{};
    while (!text.empty()) {
        wchar_t character = 0;
        std::size_t bytes = std::mbrtowc(&character, text.data(), text.size(), &state);
        int columns = 1;
        if (bytes == 0 || bytes > text.size()) {
            bytes = 1;
            state = {};
        } else {
            columns = std::max(0, wcwidth(character));
        }
        if (!visit(text.substr(0, bytes), static_cast<std::size_t>(columns))) return;
        text.remove_prefix(bytes);
    }
}

}  // namespace

std::string singleLine(std::string_view text) {
    std::string line(text);
    for (std::size_t i = 0; i < line.size(); ++i) {
        const auto byte = static_cast<unsigned char>(line[i]);
        if (byte < 0x20 || byte == 0x7f) line[i] = ' ';
        // U+0080 to U+009F, which terminals take as commands too.
        if (byte == 0xc2 && i + 1 < line.size() && static_cast<unsigned char>(line[i + 1]) < 0xa0)
            line.replace(i, 2, " ");
    }
    return line;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    forEachCharacter(text, [&](std::string_view, std::size_t columns) {
        width += columns;
        return true;
    });
    return width;
}

std::string shortened(std::string_view text, std::size_t columns) {
    if (displayWidth(text) <= columns) return std::string(text);
    std::string kept;
    std::size_t width = 0;
    forEachCharacter(text, [&](std::string_view bytes, std::size_t wide) {
        if (width + wide + 1 > columns) return false;
        width += wide;
        kept += bytes;
        return true;
    });
    return columns > 0 ? kept + "…" : kept;
}

void TextTable::addRow(std::vector<std::string> cells) {
    for (std::string& cell : cells) cell = singleLine(cell);
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

std::string TextTable::text() const {
    std::vector<std::size_t> widths;
    for (std::size_t c = 0; c < columns_.size(); ++c) {
        widths.push_back(displayWidth(columns_[c].title));
        for (const auto& row : rows_) widths[c] = std::max(widths[c], displayWidth(row[c]));
    }

    std::string result;
    const auto addLine = [&](const auto& cellOf) {
        std::string line;
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            const std::string& cell = cellOf(c);
            const std::string fill(widths[c] - displayWidth(cell), ' ');
            if (c > 0) line += "  ";
            line += columns_[c].align == Align::right ? fill + cell : cell + fill;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result += line + "\n";
    };
    addLine([&](std::size_t c) -> const std::string& { return columns_[c].title; });
    for (const auto& row : rows_)
        addLine([&](std::size_t c) -> const std::string& { return row[c]; });
    return result;
}

}  // namespace reelsweep
