#include "cli/Nearest.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace reelsweep {

namespace {

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return result;
}

struct Distance {
    std::size_t whole = 0;      ///< to all of the other text
    std::size_t beginning = 0;  ///< to the nearest of its beginnings
};

// How many letters to insert, remove or replace to make one text of the other.
Distance editDistance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return {row[to.size()], *std::min_element(row.begin(), row.end())};
}

}  // namespace

std::vector<std::string> nearestNames(std::string_view text,
                                      const std::vector<std::string>& candidates) {
    // Longer texts, a whole document pasted by mistake say, are near to nothing.
    constexpr std::size_t longestText = 200;
    constexpr std::size_t mostNames = 3;
    constexpr std::size_t fewLetters = 4;
    if (text.empty() || text.size() > longestText) return {};

    const std::string wanted = lowered(text);
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& candidate : candidates) {
        const std::string known = lowered(candidate.substr(0, 2 * longestText));
        const auto [whole, beginning] = editDistance(wanted, known);
        // A few letters are the beginning of much.
        const bool isBegun = wanted.size() >= fewLetters && beginning <= 1 + wanted.size() / 8;
        const std::size_t distance = known.starts_with(wanted) ? 1
                                     : isBegun                 ? std::min<std::size_t>(2, whole)
                                                               : whole;
        if (distance <= std::max<std::size_t>(2, wanted.size() / 3))
            near.emplace_back(distance, candidate);
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });

    std::vector<std::string> names;
    for (auto& [distance, name] : near)
        if (names.size() < mostNames && std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(std::move(name));
    return names;
}

std::string didYouMean(std::string_view text, const std::vector<std::string>& candidates,
                       std::string_view fallback) {
    const std::vector<std::string> names = nearestNames(text, candidates);
    if (names.empty()) return std::string(fallback);
    std::string question = "; did you mean ";
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) question += i + 1 == names.size() ? " or " : ", ";
        question += "\"" + names[i] + "\"";
    }
    return question + "?";
}

}  // namespace reelsweep
