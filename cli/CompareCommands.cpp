#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/SequencePairs.h"
#include "cli/TextTable.h"
#include "report/PictureJson.h"
#include "timeline/CutDifference.h"
#include "timeline/DifferenceText.h"
#include "timeline/PictureDifference.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace reelsweep {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t mostLines = 20;  // of differences, for each pair

struct CompareOptions {
    std::vector<std::string> files;
    std::vector<std::string> pairs;
    bool json = false;
};

/// What a comparison says of one pair.
struct Verdict {
    bool isSame = true;
    std::string lines;
    Json json;
};

Verdict verifyPair(const Comparison& comparison, const SequencePair& pair) {
    const PictureDifference difference(
        comparison.first.timeline(pair.before, TimelineDetail::picture),
        comparison.second().timeline(pair.after, TimelineDetail::picture));
    Verdict verdict{difference.isSame(), {}, {{"picture", pictureJson(difference)}}};
    for (const MediaType type : {MediaType::video, MediaType::audio}) {
        verdict.lines += "  " + sumText(difference, type) + "\n";
        const auto& differences = difference.differences(type);
        for (std::size_t i = 0; i < std::min(differences.size(), mostLines); ++i)
            verdict.lines +=
                "  " + singleLine(differenceText(differences[i], difference.source().timecode())) +
                "\n";
        if (differences.size() > mostLines)
            verdict.lines += fmt::format("  and {} more\n", differences.size() - mostLines);
    }
    return verdict;
}

Verdict diffPair(const Comparison& comparison, const SequencePair& pair) {
    const CutDifference difference(
        comparison.first.timeline(pair.before, TimelineDetail::everything),
        comparison.second().timeline(pair.after, TimelineDetail::everything));
    Verdict verdict{difference.changes().empty(), {}, {{"changes", Json::array()}}};
    for (const CutChange& change : difference.changes()) {
        const std::string text = singleLine(cutChangeText(difference, change));
        verdict.lines += "  " + text + "\n";
        verdict.json["changes"].push_back({{"kind", description(change.kind)}, {"text", text}});
    }
    verdict.json["unchanged"] = difference.unchanged();
    verdict.lines += fmt::format("  {} changed, {} as they were\n", difference.changes().size(),
                                 difference.unchanged());
    return verdict;
}

ExitCode compare(Application& application, const CompareOptions& options,
                 Verdict (*judge)(const Comparison&, const SequencePair&)) {
    const auto comparison = openComparison(options.files, options.pairs);
    if (!comparison) return application.fail(comparison.failure());
    bool isSame = true;
    std::string text;
    Json list = Json::array();
    for (const SequencePair& pair : comparison->pairs) {
        const std::string& before = comparison->first.title(pair.before);
        const std::string& after = comparison->second().title(pair.after);
        Verdict verdict = judge(*comparison, pair);
        isSame = isSame && verdict.isSame;
        text += fmt::format("{} | {}\n", singleLine(before), singleLine(after)) + verdict.lines;
        Json row{{"a", before}, {"b", after}, {"same", verdict.isSame}};
        row.update(verdict.json);
        list.push_back(std::move(row));
    }
    if (options.json) text = list.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    const ExitCode printed = application.printData(text);
    if (printed != ExitCode::done) return printed;
    return isSame ? ExitCode::done : ExitCode::notTheSame;
}

std::shared_ptr<CompareOptions> defineComparison(CLI::App& parser) {
    const auto options = std::make_shared<CompareOptions>();
    parser
        .add_option("FILE", options->files,
                    "The XMEML file, and the one to compare it with; with\n"
                    "one file its sequences and their tidied copies")
        ->required()
        ->expected(1, 2)
        ->type_name("");
    parser
        .add_option("--sequence", options->pairs,
                    "Compare sequence X of the first file with Y of the\n"
                    "second; may be repeated (default: those of one name)")
        ->type_name("X=Y")
        ->allow_extra_args(false);
    parser.add_flag("--json", options->json, "Print a JSON array in place of lines");
    return options;
}

CommandRun comparisonRun(CLI::App& parser,
                         Verdict (*judge)(const Comparison&, const SequencePair&)) {
    return [options = defineComparison(parser), judge](Application& application) {
        application.openLog();
        return compare(application, *options, judge);
    };
}

}  // namespace

CommandRun defineVerify(CLI::App& parser) { return comparisonRun(parser, verifyPair); }
CommandRun defineDiff(CLI::App& parser) { return comparisonRun(parser, diffPair); }

}  // namespace reelsweep
