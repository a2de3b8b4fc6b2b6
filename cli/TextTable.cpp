#include "cli/TextTable.h"

#include <locale.h>
#include <wchar.h>
#include <algorithm>
#include <clocale>
#include <cwchar>
#include <numeric>

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

void TextTable::dropColumn(std::size_t column) {
    const auto place = static_cast<std::ptrdiff_t>(column);
    columns_.erase(columns_.begin() + place);
    for (auto& row : rows_) row.erase(row.begin() + place);
}

void TextTable::dropColumnsWithoutFigures() {
    if (rows_.empty()) return;
    for (std::size_t c = columns_.size(); c-- > 0;)
        if (std::all_of(rows_.begin(), rows_.end(), [&](const std::vector<std::string>& row) {
                return row[c].empty() || row[c] == "-";
            }))
            dropColumn(c);
}

void TextTable::fitInto(std::size_t width) {
    constexpr std::size_t gap = 2;
    for (;;) {
        const std::vector<std::size_t> each = widths();
        const std::size_t whole =
            std::accumulate(each.begin(), each.end(), gap * (each.empty() ? 0 : each.size() - 1));
        std::size_t first = columns_.size();
        for (std::size_t c = 0; c < columns_.size(); ++c)
            if (columns_[c].leaves > 0 &&
                (first == columns_.size() || columns_[c].leaves < columns_[first].leaves))
                first = c;
        if (whole <= width || first == columns_.size()) return;
        dropColumn(first);
    }
}

std::vector<std::size_t> TextTable::widths() const {
    std::vector<std::size_t> all;
    for (std::size_t c = 0; c < columns_.size(); ++c) {
        all.push_back(displayWidth(columns_[c].title));
        for (const auto& row : rows_) all[c] = std::max(all[c], displayWidth(row[c]));
    }
    return all;
}

std::string TextTable::text() const {
    const std::vector<std::size_t> each = widths();
    std::string result;
    const auto addLine = [&](const auto& cellOf) {
        std::string line;
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            const std::string& cell = cellOf(c);
            const std::string fill(each[c] - displayWidth(cell), ' ');
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
