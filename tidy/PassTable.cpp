#include "tidy/PassTable.h"

#include "tidy/FCPXPasses.h"
#include "tidy/ImportStep.h"
#include "tidy/passes/Passes.h"

#include <algorithm>
#include <array>

namespace reelsweep {

namespace {

constexpr auto table = std::to_array<PassRow>({
#define PASS(option, title, summary, onByDefault, appliesToFCPX, element) \
    {#option, title, summary, onByDefault, appliesToFCPX, passes::option, element},
#define STEPS(option, title, summary, onByDefault, appliesToFCPX, element) \
    {#option, title, summary, onByDefault, appliesToFCPX, nullptr, element},
#include "tidy/PassRows.inc"
#undef PASS
#undef STEPS
});

// Collapsing: what opaque clips hide goes first. Then everything falls as far as it can. What is
// partly hidden is cut last, and what is left of it falls once more.
constexpr auto collapseSteps = std::to_array<PassStep>({
    {"collapseUncompositedClips", passes::removeObscuredClips, "collapseTracks"},
    {"collapseTracks", passes::collapseTracksFromTheTop},
    {"collapseTracks", passes::collapseTracksFromTheBottom},
    {"collapseUncompositedClips", passes::mergeClips, "collapseTracks"},
    {"collapseTracks", passes::collapseTracksFromTheBottom, "collapseUncompositedClips"},
});

std::vector<PassStep> stepsOfTable() {
    std::vector<PassStep> steps;
    for (const PassRow& row : table) {
        if (row.run) steps.push_back({row.option, row.run});
        if (row.option == "collapseTracks")
            steps.insert(steps.end(), collapseSteps.begin(), collapseSteps.end());
    }
    return steps;
}

template <class Wanted>
OptionList optionsWhere(Wanted wanted) {
    OptionList options;
    for (const PassRow& row : table)
        if (wanted(row)) options.emplace_back(row.option);
    return options;
}

}  // namespace

bool hasOption(const OptionList& options, std::string_view option) {
    return std::find(options.begin(), options.end(), option) != options.end();
}

std::span<const PassRow> passTable() { return table; }

std::span<const PassRow> reportedRows() {
    static const std::vector<PassRow> rows = [] {
        std::vector<PassRow> all(table.begin(), table.end());
        all.insert(all.end(), fcpxPassTable().begin(), fcpxPassTable().end());
        all.push_back({importSafeOption, "Make it import everywhere",
                       "mend links, ids, edges and ticks", true, false, nullptr});
        return all;
    }();
    return rows;
}

const PassRow* passNamed(std::string_view option) {
    for (const PassRow& row : table)
        if (row.option == option) return &row;
    return nullptr;
}

OptionList allPasses() {
    return optionsWhere([](const PassRow&) { return true; });
}

OptionList defaultPasses() {
    return optionsWhere([](const PassRow& row) { return row.onByDefault; });
}

std::span<const PassStep> passSteps() {
    static const std::vector<PassStep> steps = stepsOfTable();
    return steps;
}

}  // namespace reelsweep
