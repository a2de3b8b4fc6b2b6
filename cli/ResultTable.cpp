#include "cli/ResultTable.h"

#include "cli/TextTable.h"
#include "report/PictureProof.h"
#include "tidy/PassTable.h"

#include <algorithm>
#include <numeric>

namespace reelsweep {

namespace {

std::string capitalised(std::string_view word) {
    std::string text(word);
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
        text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return text;
}

void addTotals(TextTable& table, const std::string& title, const std::string& pass,
               const SequenceLedger::Totals& totals) {
    std::vector<std::string> cells{title, pass};
    for (const std::size_t count : totals) cells.push_back(count > 0 ? std::to_string(count) : "-");
    table.addRow(std::move(cells));
}

}  // namespace

std::string resultTable(const ChangeLedger& ledger) {
    constexpr std::size_t titleColumns = 40;
    std::vector<TextTable::Column> columns{{"Sequence"}, {"Pass"}};
    for (std::size_t kind = 0; kind < changeKindCount; ++kind)
        columns.push_back(
            {capitalised(description(static_cast<ChangeKind>(kind))), TextTable::Align::right});
    TextTable table(std::move(columns));

    SequenceLedger::Totals all{};
    for (const SequenceLedger& sequence : ledger.sequences) {
        std::string title = shortened(singleLine(sequence.title), titleColumns);
        bool changed = false;
        for (const PassRow& pass : reportedRows()) {
            const SequenceLedger::Totals totals = sequence.totals(pass.option);
            if (std::accumulate(totals.begin(), totals.end(), std::size_t{0}) == 0) continue;
            std::transform(all.begin(), all.end(), totals.begin(), all.begin(), std::plus<>());
            // The title stands on the first of its rows only.
            addTotals(table, changed ? "" : title, std::string(pass.option), totals);
            changed = true;
        }
        if (!changed) table.addRow({title, "nothing to change"});
    }
    addTotals(table, "Total", "", all);
    table.dropColumnsWithoutFigures();
    const std::string picture = pictureSumText(ledger);
    return table.text() + (picture.empty() ? "" : picture + "\n");
}

}  // namespace reelsweep
