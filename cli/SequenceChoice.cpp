#include "cli/SequenceChoice.h"

#include "cli/Nearest.h"
#include "tidy/TidyRules.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <charconv>
#include <set>
#include <string_view>
#include <system_error>

namespace reelsweep {

namespace {

constexpr std::string_view copySuffix = "-Tidied";

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

bool isTidiedCopy(const SourceSequence& sequence) { return sequence.title.ends_with(copySuffix); }

// What a pattern means: copies only when it names them itself.
std::vector<std::size_t> rowsOfPattern(const std::vector<SourceSequence>& sequences,
                                       const std::string& pattern) {
    const bool namesCopies = pattern.ends_with(copySuffix);
    return rowsWhere(sequences, [&](const SourceSequence& s) {
        return answersTo(s.title, pattern) && (namesCopies || !isTidiedCopy(s));
    });
}

Result<std::vector<std::size_t>> chooseSequence(const std::vector<SourceSequence>& sequences,
                                                const std::string& text) {
    std::vector<std::size_t> rows =
        rowsWhere(sequences, [&](const SourceSequence& s) { return s.title == text; });
    if (rows.empty()) {
        if (const std::optional<std::size_t> index = indexOf(text)) {
            if (*index >= 1 && *index <= sequences.size()) return std::vector{*index - 1};
            return usage(fmt::format("no sequence {}; the file holds {}", text, sequences.size()));
        }
        rows = rowsWhere(sequences, [&](const SourceSequence& s) { return s.uuid() == text; });
    }
    if (rows.empty() && isPattern(text)) {
        rows = rowsOfPattern(sequences, text);
        if (!rows.empty()) return rows;
    }
    if (rows.size() == 1) return rows;

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
        // A copy of a copy is nobody's wish.
        std::vector<std::size_t> all =
            rowsWhere(sequences, [](const SourceSequence& s) { return !isTidiedCopy(s); });
        if (all.empty() && !sequences.empty())
            return usage("every sequence is a tidied copy; --sequence names one all the same");
        return all;
    }
    std::set<std::size_t> rows;
    for (const std::string& text : wanted) {
        const auto chosen = chooseSequence(sequences, text);
        if (!chosen) return chosen.failure();
        rows.insert(chosen->begin(), chosen->end());
    }
    return std::vector<std::size_t>(rows.begin(), rows.end());
}

}  // namespace reelsweep
