#include "cli/SequenceChoice.h"

#include "cli/Nearest.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <charconv>
#include <numeric>
#include <set>
#include <system_error>

namespace reelsweep {

namespace {

template <class Matches>
std::vector<std::size_t> rowsWhere(const std::vector<SourceSequence>& sequences, Matches matches) {
    std::vector<std::size_t> rows;
    for (std::size_t row = 0; row < sequences.size(); ++row)
        if (matches(sequences[row])) rows.push_back(row);
    return rows;
}

// The whole text as a number; nothing when it is none.
std::optional<std::size_t> indexOf(const std::string& text) {
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return index;
}

Failure usage(std::string message) { return {FailureCode::usage, std::move(message)}; }

Result<std::size_t> chooseSequence(const std::vector<SourceSequence>& sequences,
                                   const std::string& text) {
    std::vector<std::size_t> rows =
        rowsWhere(sequences, [&](const SourceSequence& s) { return s.title == text; });
    if (rows.empty()) {
        if (const std::optional<std::size_t> index = indexOf(text)) {
            if (*index >= 1 && *index <= sequences.size()) return *index - 1;
            return usage(fmt::format("no sequence {}; the file holds {}", text, sequences.size()));
        }
        rows = rowsWhere(sequences, [&](const SourceSequence& s) { return s.uuid() == text; });
    }
    if (rows.size() == 1) return rows.front();

    if (rows.empty()) {
        std::vector<std::string> known;
        for (const SourceSequence& sequence : sequences) {
            known.push_back(sequence.title);
            if (const auto uuid = sequence.uuid()) known.push_back(*uuid);
        }
        return usage(fmt::format(
            "no sequence \"{}\"{}", text,
            didYouMean(text, known, "; \"reelsweep-cli list FILE\" lists the sequences")));
    }
    for (std::size_t& row : rows) ++row;
    return usage(fmt::format("\"{}\" is the name of {} sequences; choose by index: {}", text,
                             rows.size(), fmt::join(rows, ", ")));
}

}  // namespace

Result<std::vector<std::size_t>> chooseSequences(const std::vector<SourceSequence>& sequences,
                                                 const std::vector<std::string>& wanted) {
    if (wanted.empty()) {
        std::vector<std::size_t> all(sequences.size());
        std::iota(all.begin(), all.end(), std::size_t{0});
        return all;
    }
    std::set<std::size_t> rows;
    for (const std::string& text : wanted) {
        const Result<std::size_t> row = chooseSequence(sequences, text);
        if (!row) return row.failure();
        rows.insert(*row);
    }
    return std::vector<std::size_t>(rows.begin(), rows.end());
}

}  // namespace reelsweep
