#include "cli/TidyPlan.h"

#include "base/AtomicFile.h"
#include "cli/InputFile.h"
#include "cli/InputFolder.h"
#include "cli/Nearest.h"
#include "cli/StandardStreams.h"
#include "documents/DocumentFormat.h"
#include "shell/QVFCPDoc.h"
#include "shell/TidyPresets.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
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

// Takes the parts of a list of passes in turn: NAME or +NAME, -NAME, default, all, fcpx.
class PassChoice {
public:
    Outcome take(const std::string& list) {
        std::istringstream parts(list);
        for (std::string part; std::getline(parts, part, ',');)
            if (Outcome taken = takePart(part); !taken) return taken;
        return Done{};
    }

    Result<PassSelection> selection() const {
        PassSelection selection;
        selection.all = all_;
        for (const PassRow& pass : knownPasses()) {
            const std::string name(pass.option);
            if (on_.contains(name)) selection.names.push_back(name);
            if (off_.contains(name)) selection.without.push_back(name);
        }
        if (!all_ && selection.names.empty()) return usage("--passes names no pass");
        return selection;
    }

private:
    Outcome takePart(const std::string& part) {
        const bool isOff = part.starts_with('-');
        const std::string name = part.substr(isOff || part.starts_with('+') ? 1 : 0);
        if (part == "all") {
            all_ = true;
            off_.clear();
        } else if (part == "default") {
            for (const std::string& each : defaultPasses()) turn(each, true);
        } else if (part == "fcpx") {
            for (const PassRow& pass : fcpxPassTable()) turn(std::string(pass.option), true);
        } else if (const OptionList names = passNames(); hasOption(names, name)) {
            turn(name, !isOff);
        } else {
            std::vector<std::string> known = names;
            known.insert(known.end(), {"default", "all", "fcpx"});
            return usage(
                fmt::format("unknown pass \"{}\"{}", name,
                            didYouMean(name, known, "; \"reelsweep-cli passes\" lists them")));
        }
        return Done{};
    }

    void turn(const std::string& name, bool on) {
        (on ? on_ : off_).insert(name);
        (on ? off_ : on_).erase(name);
    }

    bool all_ = false;
    std::set<std::string> on_;
    std::set<std::string> off_;
};

// A list that begins with a sign changes what would be done without it.
Result<PassSelection> selectPasses(const std::optional<std::string>& list,
                                   const OptionList& preset) {
    PassChoice choice;
    if (!list || list->starts_with('+') || list->starts_with('-')) {
        const std::string base =
            preset.empty() ? "default" : fmt::format("{}", fmt::join(preset, ","));
        if (Outcome taken = choice.take(base); !taken) return taken.failure();
    }
    if (list)
        if (Outcome taken = choice.take(*list); !taken) return taken.failure();
    return choice.selection();
}

// An option of one run; a preset that is typed and one in a file exclude each other.
Result<TidyPreset> chosenPreset(const TidyOptions& options) {
    if (!options.preset.empty() && !options.presetFile.empty())
        return usage("--preset and --preset-file exclude each other");
    if (!options.presetFile.empty()) return loadPresetFile(options.presetFile);
    if (options.preset.empty()) return TidyPreset();
    std::vector<std::string> known;
    for (TidyPreset& preset : tidyPresets()) {
        if (preset.name == options.preset) return std::move(preset);
        known.push_back(preset.name);
    }
    return usage(
        fmt::format("no preset \"{}\"{}", options.preset,
                    didYouMean(options.preset, known,
                               "; there are " + fmt::format("{}", fmt::join(known, ", ")))));
}

// NAME-Tidied.EXT beside the input, or in another folder.
std::string tidiedName(const std::string& input, const std::string& folder) {
    const fs::path path(input);
    const fs::path name = path.stem().string() + "-Tidied" + path.extension().string();
    return ((folder.empty() ? path.parent_path() : fs::path(folder)) / name).string();
}

// A file was to be tidied with a pass that does not apply to its format.
Failure doesNotApply(const std::string& pass, bool isFCPX) {
    if (!isFCPX) return usage(fmt::format("{} applies to FCPXML only", pass));
    OptionList applicable;
    for (const PassRow& row : passTable())
        if (row.appliesToFCPX) applicable.emplace_back(row.option);
    return usage(fmt::format(
        "only {} and the fcpx passes apply to FCPXML, not {}; use --passes fcpx or --passes {}",
        fmt::join(applicable, ", "), pass, fmt::join(applicable, ",")));
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
    if (options.makesFolders && options.outputFolder.empty())
        return usage("--parents makes the folder of --output-dir, which is missing");
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

PlannedFile planned(const TidyOptions& options, const std::string& input,
                    const std::string& folder) {
    PlannedFile file{input, input, options.inPlace, isNativeProject(input)};
    if (file.native)
        file.output.clear();
    else if (!options.output.empty())
        file.output = options.output;
    else if (!options.inPlace && input != standardStreamPath)
        file.output = tidiedName(input, folder);
    return file;
}

// A file, or the files of a folder, whose results stand in folders of the same names.
Outcome planInput(TidyPlan& plan, const TidyOptions& options, const std::string& input) {
    if (!isInputFolder(input)) {
        plan.files.push_back(planned(options, input, options.outputFolder));
        return Done{};
    }
    if (!options.output.empty())
        return usage("is a folder; use --output-dir for its results", input);
    plan.isBatch = true;
    std::error_code error;
    if (!options.outputFolder.empty() && !options.makesFolders &&
        !fs::is_directory(options.outputFolder, error))
        return Failure{FailureCode::outputFailed, "there is no such folder; --parents makes it",
                       options.outputFolder};
    const Result<std::vector<FoundFile>> found =
        filesIn(input, options.recursive, options.outputFolder);
    if (!found) return found.failure();
    if (found->empty())
        return Failure{FailureCode::inputUnreadable,
                       options.recursive ? "holds no file to tidy"
                                         : "holds no file to tidy; --recursive looks deeper",
                       input};
    for (const FoundFile& each : *found) {
        const fs::path folder = options.outputFolder.empty()
                                    ? fs::path()
                                    : fs::path(options.outputFolder) / each.subfolder;
        plan.files.push_back(planned(options, each.path, folder.string()));
        plan.files.back().found = true;
    }
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
    const Result<TidyPreset> preset = chosenPreset(options);
    if (!preset) return preset.failure();
    Result<PassSelection> passes = selectPasses(options.passes, preset->passes);
    if (!passes) {
        Failure failure = passes.failure();
        if (!options.passes) failure.file = options.presetFile;
        return failure;
    }

    TidyPlan plan;
    plan.passes = std::move(*passes);
    plan.typedRules = options.rules;
    plan.rules = merged(options.rules, preset->rules);
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
    plan.makesFolders = options.makesFolders;
    plan.jobs = options.jobs;
    plan.isBatch = options.jobs.has_value();
    for (const std::string& input : options.files)
        if (Outcome planned = planInput(plan, options, withoutSlash(input)); !planned)
            return planned.failure();
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

Result<OptionList> applicableOptions(const PassSelection& selection, bool isFCPX,
                                     OptionList& leftOut) {
    OptionList options;
    for (const PassRow& pass : knownPasses()) {
        const std::string name(pass.option);
        const bool named = hasOption(selection.names, name);
        const bool applies = isFCPX ? pass.appliesToFCPX : !isForFCPXAlone(pass);
        if (!applies && named) leftOut.push_back(name);
        // What takes more out of FCPXML than it was always asked for is asked for by its name.
        const bool isOfAll = selection.all && !isForFCPXAlone(pass);
        if (applies && (named || (isOfAll && !hasOption(selection.without, name))))
            options.push_back(name);
    }
    if (options.empty() && !leftOut.empty()) return doesNotApply(leftOut.front(), isFCPX);
    return options;
}

Result<OptionList> optionsFor(const PassSelection& selection, bool isFCPX) {
    OptionList leftOut;
    Result<OptionList> options = applicableOptions(selection, isFCPX, leftOut);
    if (options && !leftOut.empty()) return doesNotApply(leftOut.front(), isFCPX);
    return options;
}

}  // namespace reelsweep
