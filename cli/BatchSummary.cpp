#include "cli/BatchSummary.h"

#include "cli/TextTable.h"
#include "cli/TidyFile.h"
#include "tidy/PassTable.h"
#include "timeline/DifferenceText.h"
#include "timeline/PictureDifference.h"

#include <fmt/format.h>
#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>
#include <vector>

namespace reelsweep {

namespace {

using Json = nlohmann::json;

void add(SequenceLedger::Totals& sum, const SequenceLedger::Totals& totals) {
    std::transform(sum.begin(), sum.end(), totals.begin(), sum.begin(), std::plus<>());
}

bool isNothing(const SequenceLedger::Totals& totals) {
    return std::all_of(totals.begin(), totals.end(), [](std::size_t count) { return count == 0; });
}

std::string capitalised(std::string_view word) {
    std::string text(word);
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
        text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return text;
}

std::vector<std::string> rowOf(std::string_view pass, const SequenceLedger::Totals& totals) {
    std::vector<std::string> cells{std::string(pass)};
    for (const std::size_t count : totals) cells.push_back(count > 0 ? std::to_string(count) : "-");
    return cells;
}

std::string files(std::size_t count) {
    return count == 1 ? "1 file"
                      : groupedNumber(Frames{static_cast<std::int64_t>(count)}) + " files";
}

}  // namespace

FileResult FileResult::of(const TidyFile& file, ExitCode code) {
    FileResult result{code, file.wasPassedOver()};
    for (const std::string& error : file.reported().errors) result.errors += error + "\n";
    const ChangeLedger* const ledger = file.ledger();
    if (!ledger || code != ExitCode::done) return result;
    for (const SequenceLedger& sequence : ledger->sequences) {
        for (const PassRow& pass : reportedRows()) {
            const SequenceLedger::Totals totals = sequence.totals(pass.option);
            if (!isNothing(totals)) add(result.totals[std::string(pass.option)], totals);
        }
        if (!sequence.picture) continue;
        result.frames += sequence.picture->frames().count;
        result.same += sequence.picture->same(MediaType::video).count;
        result.asked += sequence.picture->asked(MediaType::video).count;
    }
    return result;
}

std::string FileResult::text() const {
    const Json values{{"code", static_cast<int>(code)},
                      {"isPassedOver", isPassedOver},
                      {"said", said},
                      {"errors", errors},
                      {"totals", totals},
                      {"frames", frames},
                      {"same", same},
                      {"asked", asked},
                      {"reportStart", report.start},
                      {"reportSize", report.size},
                      {"reportError", report.error}};
    // A file's name need not be UTF-8.
    return values.dump(-1, ' ', false, Json::error_handler_t::replace);
}

FileResult FileResult::fromText(const std::string& text) {
    const Json values = Json::parse(text);
    FileResult result;
    result.code = static_cast<ExitCode>(values["code"].get<int>());
    values["isPassedOver"].get_to(result.isPassedOver);
    values["said"].get_to(result.said);
    values["errors"].get_to(result.errors);
    values["totals"].get_to(result.totals);
    values["frames"].get_to(result.frames);
    values["same"].get_to(result.same);
    values["asked"].get_to(result.asked);
    values["reportStart"].get_to(result.report.start);
    values["reportSize"].get_to(result.report.size);
    values["reportError"].get_to(result.report.error);
    return result;
}

void BatchSummary::add(const FileResult& result) {
    if (code_ == ExitCode::done) code_ = result.code;
    ++(result.code != ExitCode::done ? failed_ : result.isPassedOver ? passedOver_ : tidied_);
    for (const auto& [pass, totals] : result.totals) reelsweep::add(sum_.totals[pass], totals);
    sum_.frames += result.frames;
    sum_.same += result.same;
    sum_.asked += result.asked;
}

std::string BatchSummary::text() const {
    std::vector<TextTable::Column> columns{{"Pass"}};
    for (std::size_t kind = 0; kind < changeKindCount; ++kind)
        columns.push_back(
            {capitalised(description(static_cast<ChangeKind>(kind))), TextTable::Align::right});
    TextTable table(std::move(columns));
    SequenceLedger::Totals all{};
    for (const PassRow& pass : reportedRows()) {
        const auto found = sum_.totals.find(std::string(pass.option));
        if (found == sum_.totals.end()) continue;
        table.addRow(rowOf(pass.option, found->second));
        reelsweep::add(all, found->second);
    }
    table.addRow(rowOf("Total", all));
    table.dropColumnsWithoutFigures();
    std::string text = isNothing(all) ? std::string() : table.text();
    if (sum_.frames > 0) {
        text += groupedNumber(Frames{sum_.same}) + " of " + groupedNumber(Frames{sum_.frames}) +
                " frames show the same picture";
        if (sum_.asked > 0) text += ", " + groupedNumber(Frames{sum_.asked}) + " another as asked";
        text += "\n";
    }
    text += files(tidied_) + " tidied";
    if (passedOver_ > 0) text += ", " + files(passedOver_) + " left out";
    if (failed_ > 0) text += ", " + files(failed_) + " failed";
    return text + "\n";
}

}  // namespace reelsweep
