#include "cli/TidyPlan.h"

#include "base/AtomicFile.h"
#include "cli/InputFile.h"
#include "cli/Nearest.h"
#include "cli/StandardStreams.h"
#include "documents/DocumentFormat.h"
#include "shell/QVFCPDoc.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <system_error>
#include <utility>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

Failure usage(std::string message, std::string file = {}) {
    return {FailureCode::usage, std::move(message), std::move(file), 0, 0, ""};
}

// Those of both formats, in the order of a run.
std::vector<PassRow> knownPasses() {
    std::vector<PassRow> all(passTable().begin(), passTable().end());
    all.insert(all.end(), fcpxPassTable().begin(), fcpxPassTable().end());
    return all;
}

bool isForFCPXAlone(const PassRow& pass) {
    const auto table = fcpxPassTable();
    return std::any_of(table.begin(), table.end(),
                       [&](const PassRow& row) { return row.option == pass.option; });
}

std::vector<std::string> passNames() {
    std::vector<std::string> names;
    for (const PassRow& pass : knownPasses()) names.emplace_back(pass.option);
    return names;
}

// Names with commas between; "all" is all.
Result<std::vector<std::string>> selectMarkerKinds(const std::string& list) {
    const auto known = fcpxMarkerKinds();
    std::vector<std::string> kinds;
    std::istringstream parts(list);
    for (std::string kind; std::getline(parts, kind, ',');) {
        if (kind == "all")
            kinds.assign(known.begin(), known.end());
        else if (std::find(known.begin(), known.end(), kind) != known.end())
            kinds.push_back(kind);
        else
            return usage(fmt::format("unknown kind of marker \"{}\"; there are {} and all", kind,
                                     fmt::join(known, ", ")));
    }
    return kinds;
}

Result<PassSelection> selectPasses(const std::string& list) {
    PassSelection selection;
    std::vector<std::string> asked;
    std::istringstream parts(list);
    for (std::string name; std::getline(parts, name, ',');) {
        if (name == "all") {
            selection.all = true;
        } else if (name == "default") {
            for (const PassRow& pass : passTable())
                if (pass.onByDefault) asked.emplace_back(pass.option);
        } else if (const std::vector<std::string> names = passNames();
                   std::find(names.begin(), names.end(), name) != names.end()) {
            asked.push_back(name);
        } else {
            std::vector<std::string> known = names;
            known.insert(known.end(), {"default", "all"});
            return usage(
                fmt::format("unknown pass \"{}\"{}", name,
                            didYouMean(name, known, "; \"reelsweep-cli passes\" lists them")));
        }
    }
    for (const PassRow& pass : knownPasses())
        if (std::find(asked.begin(), asked.end(), pass.option) != asked.end())
            selection.names.emplace_back(pass.option);
    if (!selection.all && selection.names.empty()) return usage("--passes names no pass");
    return selection;
}

// NAME-Tidied.EXT beside the input, or in another folder.
std::string tidiedName(const std::string& input, const std::string& folder) {
    const fs::path path(input);
    const fs::path name = path.stem().string() + "-Tidied" + path.extension().string();
    return ((folder.empty() ? path.parent_path() : fs::path(folder)) / name).string();
}

// A bundle is a folder, and the shell completes those with a slash.
std::string withoutSlash(std::string path) {
    if (isFCPXMLBundle(path)) path.erase(path.find_last_not_of('/') + 1);
    return path;
}

bool isSameFile(const std::string& first, const std::string& second) {
    const FileIdentity a = FileIdentity::ofFile(first);
    const FileIdentity b = FileIdentity::ofFile(second);
    return a.known() && a.device == b.device && a.inode == b.inode;
}

// One name for a file that need not exist, however it is written.
std::string canonicalName(const std::string& path) {
    std::error_code error;
    const fs::path canonical = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : canonical.string();
}

Outcome checkCombinations(const TidyOptions& options) {
    const int places = (options.output.empty() ? 0 : 1) + (options.outputFolder.empty() ? 0 : 1) +
                       (options.inPlace ? 1 : 0);
    const bool readsStandardInput = std::find(options.files.begin(), options.files.end(),
                                              standardStreamPath) != options.files.end();
    if (places > 1) return usage("-o, --output-dir and --in-place exclude each other");
    if (!options.output.empty() && options.files.size() > 1)
        return usage("-o takes the result of one file; use --output-dir for several");
    if (options.inPlace && options.delivery == "standalone")
        return usage("--in-place with --deliver standalone would throw the rest of the file away");
    if (readsStandardInput && options.inPlace)
        return usage("--in-place needs a file, not standard input");
    if (readsStandardInput && !options.outputFolder.empty())
        return usage("standard input has no name to write under; use -o");
    const bool besideResult = options.editLists || options.otio;
    if (besideResult && !options.dryRun &&
        (options.output == standardStreamPath || (readsStandardInput && options.output.empty())))
        return usage("--edl and --otio write beside the result, which needs a file; use -o");
    const auto native = std::find_if(options.files.begin(), options.files.end(), isNativeProject);
    if (native != options.files.end() && (places > 0 || options.delivery == "standalone"))
        return usage(
            "is a native project, whose result goes to Final Cut Pro; -o, --output-dir, "
            "--in-place and --deliver standalone do not apply",
            *native);
    if (native != options.files.end() && besideResult)
        return usage(
            "is a native project, whose result goes to Final Cut Pro; --edl and --otio have no "
            "file to write beside",
            *native);
    return Done{};
}

// No two files of the command line may be written to one place, and none onto an input.
Outcome checkPlaces(const TidyPlan& plan) {
    std::map<std::string, std::string> writers;
    const auto claim = [&](const std::string& output, const std::string& writer) -> Outcome {
        const bool standard = output == standardStreamPath;
        const std::string place = standard ? "standard output" : canonicalName(output);
        if (const auto [other, isNew] = writers.emplace(place, writer); !isNew)
            return usage(
                fmt::format("{} and {} would both be written there", other->second, writer),
                standard ? place : output);
        return Done{};
    };
    const auto isInput = [&](const std::string& output) {
        return output != standardStreamPath &&
               std::any_of(plan.files.begin(), plan.files.end(), [&](const PlannedFile& file) {
                   return file.input != standardStreamPath && isSameFile(file.input, output);
               });
    };
    for (const PlannedFile& file : plan.files) {
        if (file.native) continue;
        if (!file.inPlace && isInput(file.output))
            return usage("is an input too; to replace it, use --in-place", file.output);
        if (const Outcome claimed = claim(file.output, InputFile::displayNameOf(file.input));
            !claimed)
            return claimed;
    }
    if (plan.report.empty()) return Done{};
    if (isInput(plan.report)) return usage("is an input; the report would replace it", plan.report);
    return claim(plan.report, "the report");
}

}  // namespace

bool TidyPlan::standardOutputTaken() const {
    return report == standardStreamPath ||
           std::any_of(files.begin(), files.end(),
                       [](const PlannedFile& file) { return file.output == standardStreamPath; });
}

Result<TidyPlan> planTidy(const TidyOptions& options) {
    if (const Outcome fits = checkCombinations(options); !fits) return fits.failure();
    Result<PassSelection> passes = selectPasses(options.passes);
    if (!passes) return passes.failure();

    TidyPlan plan;
    plan.passes = std::move(*passes);
    plan.sequences = options.sequences;
    plan.ignoredEffects = options.ignoredEffects;
    plan.keep = options.keep;
    plan.delivery = options.delivery == "project"      ? Delivery::project
                    : options.delivery == "standalone" ? Delivery::standalone
                                                       : Delivery::automatic;
    plan.report = options.report;
    plan.listChanges = options.listChanges;
    plan.turnover = {options.editLists, options.otio};
    if (options.handles) plan.handles = Frames{*options.handles};
    if (!options.markerKinds.empty()) {
        auto kinds = selectMarkerKinds(options.markerKinds);
        if (!kinds) return kinds.failure();
        plan.markerKinds = std::move(*kinds);
    }
    plan.keepPicture = options.keepPicture && !options.literal;
    plan.importSafe = options.importSafe && !options.literal;
    plan.strict = options.strict;
    plan.launch = options.launch;
    plan.dryRun = options.dryRun;
    plan.force = options.force;
    plan.quiet = options.quiet;
    for (const std::string& argument : options.files) {
        const std::string input = withoutSlash(argument);
        PlannedFile file{input, input, options.inPlace, isNativeProject(input)};
        if (file.native)
            file.output.clear();
        else if (!options.output.empty())
            file.output = options.output;
        else if (!options.inPlace && input != standardStreamPath)
            file.output = tidiedName(input, options.outputFolder);
        plan.files.push_back(std::move(file));
    }
    if (const Outcome distinct = checkPlaces(plan); !distinct) return distinct.failure();
    return plan;
}

Outcome checkWritable(const std::string& path, bool mayReplace) {
    const auto failure = [&](const char* what) {
        return Failure{FailureCode::outputFailed, what, path, 0, 0, ""};
    };
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status) && !isFCPXMLBundle(path))
        return failure("is a folder, not a file");
    if (fs::exists(status) && !mayReplace)
        return failure("there is a file already; --force replaces it");
    const fs::path folder = fs::path(path).parent_path();
    if (!folder.empty() && !fs::is_directory(folder, error))
        return failure("the folder to write it to does not exist");
    return Done{};
}

Result<OptionList> optionsFor(const PassSelection& selection, bool isFCPX) {
    OptionList options;
    OptionList applicable;
    std::string unfit;
    for (const PassRow& pass : knownPasses()) {
        const std::string name(pass.option);
        const bool isXMEMLOnly = !pass.appliesToFCPX;
        const bool named = std::find(selection.names.begin(), selection.names.end(), name) !=
                           selection.names.end();
        if (isFCPX ? isXMEMLOnly : isForFCPXAlone(pass)) {
            if (named && unfit.empty()) unfit = name;
            continue;
        }
        if (!isForFCPXAlone(pass)) applicable.push_back(name);
        if (named || selection.all) options.push_back(name);
    }
    if (!unfit.empty() && !isFCPX) return usage(fmt::format("{} applies to FCPXML only", unfit));
    if (!unfit.empty())
        return usage(
            fmt::format("only {} and the fcpx passes apply to FCPXML, not {}; use --passes {}",
                        fmt::join(applicable, ", "), unfit, fmt::join(applicable, ",")));
    return options;
}

}  // namespace reelsweep
