#include "report/HtmlPage.h"

#include "report/SvgText.h"

namespace reelsweep {

namespace {

constexpr std::string_view styles = R"(
:root { color-scheme: light dark; --ink: #14202b; --quiet: #44505c; --paper: #fff; --line: #cfd7de;
  --lane: #eef2f5; --warn: #fff3d6; --warnline: #8a5f00; }
@media (prefers-color-scheme: dark) { :root { --ink: #f0f4f8; --quiet: #b4bec8; --paper: #1e2227;
  --line: #434a52; --lane: #282d33; --warn: #3d3212; --warnline: #dcae4a; } }
* { box-sizing: border-box; }
body { font: 15px/1.45 Helvetica, Arial, sans-serif; color: var(--ink); background: var(--paper);
  max-width: 1240px; margin: 0 auto; padding: 28px 20px 60px; }
h1 { font-size: 26px; margin: 0 0 4px; } h2 { font-size: 20px; margin: 40px 0 6px; }
h3 { font-size: 17px; margin: 32px 0 8px; padding-top: 14px; border-top: 1px solid var(--line); }
h2, h3, li, td { overflow-wrap: break-word; } .p { overflow-wrap: anywhere; min-width: 16em; }
p { margin: 4px 0; } .quiet { color: var(--quiet); }
.warnings { background: var(--warn); border-left: 5px solid var(--warnline); padding: 10px 16px;
  margin: 14px 0; } .warnings ul { margin: 4px 0; padding-left: 20px; }
.warnings strong, .notes strong { display: block; }
.notes { border-left: 5px solid var(--line); padding: 10px 16px; margin: 14px 0; }
.notes ul { margin: 4px 0; padding-left: 20px; }
.scroll { overflow-x: auto; margin: 14px 0; }
table { border-collapse: collapse; width: 100%; font-size: 13px; }
caption { text-align: left; font-weight: bold; font-size: 15px; padding: 6px 0; }
th, td { text-align: left; vertical-align: top; padding: 4px 10px 4px 6px;
  border-bottom: 1px solid var(--line); }
th { background: var(--lane); }
.n { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
.w { font-variant-numeric: tabular-nums; white-space: nowrap; }
svg { display: block; width: 100%; height: auto; border: 1px solid var(--line); margin: 8px 0; }
@page { size: A4 landscape; margin: 12mm; }
@media print { :root { --ink: #000; --quiet: #333; --paper: #fff; --line: #bbb; --lane: #eee;
  --warn: #fff; --warnline: #000; }
  body { max-width: none; padding: 0; font-size: 10pt; } table { font-size: 8.5pt; }
  thead { display: table-header-group; } tr, svg, .warnings { break-inside: avoid; }
  h2, h3, caption { break-after: avoid; } .scroll { overflow: visible; }
  * { print-color-adjust: exact; -webkit-print-color-adjust: exact; } }
)";

const char* className(HtmlCells cells) {
    switch (cells) {
        case HtmlCells::number: return " class=\"n\"";
        case HtmlCells::whole: return " class=\"w\"";
        case HtmlCells::path: return " class=\"p\"";
        case HtmlCells::words: break;
    }
    return "";
}

}  // namespace

std::string htmlHead(std::string_view title) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
           escaped(title) + "</title>\n<style>" + std::string(styles) +
           "</style>\n</head>\n<body>\n";
}

std::string htmlTail() { return "</body>\n</html>\n"; }

HtmlTable::HtmlTable(std::string_view caption, std::span<const HtmlColumn> columns)
    : columns_(columns.begin(), columns.end()) {
    text_ = "<div class=\"scroll\"><table><caption>" + escaped(caption) + "</caption><thead><tr>";
    for (const HtmlColumn& column : columns_)
        text_ += std::string("<th scope=\"col\"") + className(column.cells) + ">" +
                 escaped(column.title) + "</th>";
    text_ += "</tr></thead><tbody>\n";
}

void HtmlTable::addRow(std::span<const std::string> cells) {
    text_ += "<tr>";
    for (std::size_t i = 0; i < columns_.size(); ++i)
        text_ += std::string("<td") + className(columns_[i].cells) + ">" +
                 (i < cells.size() ? escaped(cells[i]) : std::string()) + "</td>";
    text_ += "</tr>\n";
}

std::string htmlList(std::string_view name, std::string_view title,
                     std::span<const std::string> texts) {
    if (texts.empty()) return {};
    std::string list =
        "<div class=\"" + std::string(name) + "\"><strong>" + escaped(title) + "</strong><ul>\n";
    for (const std::string& text : texts) list += "<li>" + escaped(text) + "</li>\n";
    return list + "</ul></div>\n";
}

}  // namespace reelsweep
