#include "cli/ChangeLines.h"

#include "cli/TextTable.h"
#include "report/ChangeListing.h"
#include "report/Handles.h"
#include "report/ReasonText.h"
#include "timeline/DifferenceText.h"
#include "timeline/PictureDifference.h"

#include <algorithm>
#include <string_view>

namespace reelsweep {

namespace {

constexpr std::size_t kindColumn = 4;
constexpr std::size_t nameColumn = 13;
constexpr std::size_t placeColumn = 46;

void addLine(std::string& lines, const std::string& line) {
    lines += shortened(line, changeLineColumns) + "\n";
}

// Words one after the other, on as many lines as they need.
void addWrapped(std::string& lines, std::size_t indent, const std::string& text) {
    std::string line;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t blank = std::min(rest.find(' '), rest.size());
        const std::string word(rest.substr(0, blank));
        rest.remove_prefix(std::min(blank + 1, rest.size()));
        if (!line.empty() &&
            indent + displayWidth(line) + 1 + displayWidth(word) > changeLineColumns) {
            addLine(lines, std::string(indent, ' ') + line);
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    if (!line.empty()) addLine(lines, std::string(indent, ' ') + line);
}

// A text from a column on: on the line when there is room, else on the next one.
void continueAt(std::string& lines, std::string& line, std::size_t column,
                const std::string& text) {
    if (text.empty()) return;
    if (displayWidth(line) + 2 > column) {
        addLine(lines, line);
        line.clear();
    }
    line += std::string(column - displayWidth(line), ' ') + text;
}

void addChange(std::string& lines, const SequenceLedger& sequence, const Change& change) {
    const ChangeTexts texts = ChangeTexts::of(sequence, change);
    std::string line(kindColumn, ' ');
    line += texts.kind;
    line += std::string(nameColumn - displayWidth(line), ' ') + singleLine(texts.item);
    continueAt(lines, line, placeColumn, texts.before);
    if (texts.after != texts.before && !texts.after.empty()) {
        if (texts.before.empty()) {
            continueAt(lines, line, placeColumn, texts.after);
        } else {
            addLine(lines, line);
            line = std::string(placeColumn - 3, ' ') + "-> " + texts.after;
        }
    }
    addLine(lines, line);
    addWrapped(lines, nameColumn, singleLine(reasonWithTimecode(texts.reason, sequence.timecode)));
}

}  // namespace

std::string changeLines(const ChangeLedger& ledger) {
    std::string lines;
    const ChangeListing listing(ledger);
    const ChangeListing::Group* previous = nullptr;
    for (const ChangeListing::Group& group : listing.groups()) {
        const SequenceLedger& sequence = listing.sequence(group.sequence);
        if (!previous || previous->sequence != group.sequence)
            addLine(lines, singleLine(sequence.title));
        addLine(lines, "  " + std::string(group.title));
        for (std::size_t row = 0; row < group.changes.size(); ++row)
            addChange(lines, sequence, listing.change(group, row));
        previous = &group;
    }
    return lines;
}

std::string handleLines(const ChangeLedger& ledger, Frames wanted) {
    std::string lines;
    for (const SequenceLedger& sequence : ledger.sequences) {
        if (!sequence.picture) continue;
        const Timeline& copy = sequence.picture->copy();
        const auto handles = shortHandles(copy, wanted);
        const std::string count =
            handles.size() == 1
                ? "1 clip has"
                : groupedNumber(Frames{static_cast<std::int64_t>(handles.size())}) + " clips have";
        addLine(lines, singleLine(sequence.title) + ": " + count + " fewer than " +
                           groupedNumber(wanted) + " frames of handles");
        for (const ShortHandle& handle : handles)
            addLine(lines, "  " + singleLine(shortHandleText(copy, handle)));
    }
    return lines;
}

}  // namespace reelsweep
