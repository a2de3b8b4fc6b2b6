#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/InputFile.h"
#include "cli/SequenceChoice.h"
#include "cli/TextTable.h"
#include "documents/SequenceDocument.h"
#include "report/PictureJson.h"
#include "timeline/DifferenceText.h"
#include "timeline/MediaCatalogue.h"
#include "timeline/PictureDifference.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

namespace {

constexpr std::string_view copySuffix = "-Tidied";
constexpr std::size_t mostLines = 20;  // of differences, for each pair

struct VerifyOptions {
    std::vector<std::string> files;
    std::vector<std::string> pairs;
    bool json = false;
};

// A file whose sequences can be compared.
struct Side {
    InputFile file;
    std::unique_ptr<Document> document;
    std::shared_ptr<MediaCatalogue> media;

    static Result<Side> open(const std::string& path) {
        Result<InputFile> file = InputFile::open(path);
        if (!file) return file.failure();
        if (file->kind() != DocumentFormat::xmeml)
            return Failure{FailureCode::inputInvalid, "only XMEML can be compared", path};
        auto document = openDocument(file->path());
        if (!document) return file->named(document.failure());
        Side side{std::move(*file), std::move(*document), nullptr};
        if (side.document->sequences().empty())
            return Failure{FailureCode::inputInvalid, "holds no sequence", path};
        XMLNode top = side.document->sequences().front().node;
        while (const XMLNode parent = top.parent()) top = parent;
        side.media = MediaCatalogue::of(top);
        return side;
    }

    Timeline timeline(std::size_t row) const {
        return Timeline::of(document->sequences()[row].node, media, TimelineDetail::picture);
    }
    const std::string& title(std::size_t row) const { return document->sequences()[row].title; }
};

struct Pair {
    std::size_t source = 0;
    std::size_t copy = 0;
};

// "A=B" as rows of the two files.
Result<Pair> namedPair(const Side& a, const Side& b, const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::string first = text.substr(0, equals);
    const std::string second = equals == text.npos ? first : text.substr(equals + 1);
    const auto source = chooseSequences(a.document->sequences(), {first});
    if (!source) return source.failure();
    const auto copy = chooseSequences(b.document->sequences(), {second});
    if (!copy) return copy.failure();
    return Pair{source->front(), copy->front()};
}

// Every sequence with its tidied copy, or in two files with the one of its name.
std::vector<Pair> pairsByName(const Side& a, const Side& b) {
    std::vector<Pair> pairs;
    for (std::size_t row = 0; row < a.document->sequences().size(); ++row) {
        const std::string tidied = a.title(row) + std::string(copySuffix);
        std::optional<std::size_t> found;
        for (std::size_t other = 0; other < b.document->sequences().size(); ++other) {
            if (b.title(other) == tidied) {
                found = other;
                break;
            }
            if (&a != &b && !found && b.title(other) == a.title(row)) found = other;
        }
        if (found) pairs.push_back({row, *found});
    }
    return pairs;
}

Result<std::vector<Pair>> pairsToCompare(const Side& a, const Side& b,
                                         const std::vector<std::string>& wanted) {
    std::vector<Pair> pairs;
    for (const std::string& text : wanted) {
        const Result<Pair> pair = namedPair(a, b, text);
        if (!pair) return pair.failure();
        pairs.push_back(*pair);
    }
    if (wanted.empty()) pairs = pairsByName(a, b);
    if (pairs.empty())
        return Failure{FailureCode::usage,
                       "no two sequences belong together by name; say which with --sequence X=Y"};
    return pairs;
}

std::string asText(const Side& a, const Side& b, const Pair& pair,
                   const PictureDifference& difference) {
    std::string text =
        fmt::format("{} | {}\n", singleLine(a.title(pair.source)), singleLine(b.title(pair.copy)));
    for (const MediaType type : {MediaType::video, MediaType::audio}) {
        text += "  " + sumText(difference, type) + "\n";
        const auto& differences = difference.differences(type);
        for (std::size_t i = 0; i < std::min(differences.size(), mostLines); ++i)
            text += "  " +
                    singleLine(differenceText(differences[i], difference.source().timecode())) +
                    "\n";
        if (differences.size() > mostLines)
            text += fmt::format("  and {} more\n", differences.size() - mostLines);
    }
    return text;
}

ExitCode verify(Application& application, const VerifyOptions& options) {
    const Result<Side> a = Side::open(options.files.front());
    if (!a) return application.fail(a.failure());
    std::optional<Result<Side>> second;
    if (options.files.size() > 1) second.emplace(Side::open(options.files[1]));
    if (second && !*second) return application.fail(second->failure());
    const Side& b = second ? **second : *a;
    const auto pairs = pairsToCompare(*a, b, options.pairs);
    if (!pairs) return application.fail(pairs.failure());

    bool isSame = true;
    std::string text;
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Pair& pair : *pairs) {
        const PictureDifference difference(a->timeline(pair.source), b.timeline(pair.copy));
        isSame = isSame && difference.isSame();
        if (options.json)
            list.push_back({{"a", a->title(pair.source)},
                            {"b", b.title(pair.copy)},
                            {"same", difference.isSame()},
                            {"picture", pictureJson(difference)}});
        else
            text += asText(*a, b, pair, difference);
    }
    if (options.json)
        text = list.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    const ExitCode printed = application.printData(text);
    if (printed != ExitCode::done) return printed;
    return isSame ? ExitCode::done : ExitCode::notTheSame;
}

}  // namespace

CommandRun defineVerify(CLI::App& parser) {
    const auto options = std::make_shared<VerifyOptions>();
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
    return [options](Application& application) {
        application.openLog();
        return verify(application, *options);
    };
}

}  // namespace reelsweep
