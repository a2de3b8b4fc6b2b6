// TextTable: rows of texts in aligned columns, for a terminal with a fixed-width font.
//
// Thread rule: plain values.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// The text on one line and harmless for a terminal: control characters become blanks.
std::string singleLine(std::string_view text);
/// Terminal columns that a UTF-8 text takes: 2 for wide characters, 0 for combining ones.
std::size_t displayWidth(std::string_view text);
/// The text cut to that many columns, with an ellipsis where something is left out.
std::string shortened(std::string_view text, std::size_t columns);

class TextTable {
public:
    enum class Align { left, right };
    struct Column {
        std::string title;
        Align align = Align::left;
        int leaves = 0;  ///< at which place it goes when there is little room, from 1; 0 never
    };

    explicit TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

    /// One text a column; missing ones are blank.
    void addRow(std::vector<std::string> cells);
    /// Takes out the columns in which no row says anything: blank or "-".
    void dropColumnsWithoutFigures();
    /// Takes out columns that may go, until a line has no more than that many terminal columns.
    void fitInto(std::size_t width);
    /// The titles and the rows, each line with a line end and without blanks at its end.
    std::string text() const;

private:
    std::vector<std::size_t> widths() const;
    void dropColumn(std::size_t column);

    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace reelsweep
