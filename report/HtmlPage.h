// Parts of a page: its head, its tables, its texts.
//
// Thread rule: plain functions.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// Everything before the page's contents, and everything after.
std::string htmlHead(std::string_view title);
std::string htmlTail();

enum class HtmlCells {
    words,
    number,
    whole,  ///< never broken: a place, a time code
    path,   ///< broken anywhere: a path has no blanks
};

struct HtmlColumn {
    std::string_view title;
    HtmlCells cells = HtmlCells::words;
};

/// A table with a caption; cells are texts, not markup. Its head repeats on every printed page.
class HtmlTable {
public:
    HtmlTable(std::string_view caption, std::span<const HtmlColumn> columns);

    void addRow(std::span<const std::string> cells);
    std::string text() const { return text_ + "</tbody></table></div>\n"; }

private:
    std::vector<HtmlColumn> columns_;
    std::string text_;
};

/// A list of texts in an element of that class; nothing for none.
std::string htmlList(std::string_view name, std::string_view title,
                     std::span<const std::string> texts);

}  // namespace reelsweep
