#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/Interruption.h"
#include "cli/ReportFile.h"
#include "cli/StandardStreams.h"
#include "cli/TextTable.h"
#include "cli/TidyFile.h"
#include "cli/TidyPlan.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Validators.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <utility>

namespace reelsweep {

namespace {

// One call of `tidy`: file after file, then the report.
class TidyCommand {
public:
    TidyCommand(Application& application, TidyPlan plan)
        : application_(application), plan_(std::move(plan)) {}

    ExitCode run();

private:
    Outcome beginReport();
    ExitCode tidyFiles();
    ExitCode saveReport();

    Application& application_;
    TidyPlan plan_;
    std::unique_ptr<ReportFile> report_;
};

ExitCode TidyCommand::run() {
    application_.terminal().setQuiet(plan_.quiet);
    application_.setStandardOutputTaken(plan_.standardOutputTaken());
    if (!plan_.report.empty())
        if (const Outcome begun = beginReport(); !begun) return application_.fail(begun.failure());

    const ExitCode tidied = tidyFiles();
    if (!report_ || tidied == ExitCode::interrupted) return tidied;
    const ExitCode reported = saveReport();
    return tidied == ExitCode::done ? reported : tidied;
}

Outcome TidyCommand::beginReport() {
    if (plan_.report != standardStreamPath)
        if (Outcome writable = checkWritable(plan_.report, plan_.force); !writable) return writable;
    auto begun =
        ReportFile::begin(plan_.report, {"reelsweep-cli", Application::version(), plan_.dryRun});
    if (!begun) return begun.failure();
    report_ = std::move(*begun);
    return Done{};
}

ExitCode TidyCommand::tidyFiles() {
    ExitCode first = ExitCode::done;
    for (std::size_t i = 0; i < plan_.files.size(); ++i) {
        if (plan_.files.size() > 1)
            application_.terminal().setProgressPrefix(
                fmt::format("{} of {}: ", i + 1, plan_.files.size()));
        TidyFile file(application_, plan_, plan_.files[i]);
        const ExitCode code = file.run();
        if (report_) report_->addDocument(file.reported(), file.ledger());
        if (first == ExitCode::done) first = code;
        // An interruption that came too late for this file still stops what was to follow.
        const bool moreToDo = i + 1 < plan_.files.size() || report_;
        if (Interruption::requested() && (code != ExitCode::done || moreToDo))
            return ExitCode::interrupted;
    }
    return first;
}

ExitCode TidyCommand::saveReport() {
    application_.setCurrentFile(plan_.report);
    const Interruption::Deferred deferred;
    const Outcome saved = report_->save(plan_.force);
    if (!saved) return application_.fail(saved.failure());
    if (plan_.report == standardStreamPath) return ExitCode::done;
    return application_.printForUser(fmt::format("Wrote {}\n", singleLine(plan_.report)));
}

void noteUselessPasses(Application& application, const TidyPlan& plan) {
    const auto has = [&](const char* name) {
        return std::find(plan.passes.names.begin(), plan.passes.names.end(), name) !=
               plan.passes.names.end();
    };
    if (!plan.passes.all && has("collapseUncompositedClips") && !has("collapseTracks"))
        application.terminal().note(
            "collapseUncompositedClips does nothing without collapseTracks");
}

// Such an option takes exactly one value, so that it does not swallow the files that follow it.
CLI::Option* oneValue(CLI::Option* option, const char* value) {
    return option->type_name(value)->allow_extra_args(false);
}

// A script's variable that is not set is no wish for the default place.
CLI::Option* placeValue(CLI::Option* option, const char* value) {
    return oneValue(option, value)
        ->check(CLI::Validator(
            [](const std::string& text) { return text.empty() ? "must not be empty" : ""; },
            std::string()));
}

void defineWhatToDo(CLI::App& parser, TidyOptions& o) {
    const char* const what = "What to do";
    oneValue(parser.add_option("--passes", o.passes,
                               "Pass names with commas between, or default, or all;\n"
                               "\"reelsweep-cli passes\" lists them (default: default)"),
             "LIST")
        ->group(what);
    oneValue(parser.add_option("--sequence", o.sequences,
                               "Only this sequence: its index as list prints it, its\n"
                               "title or its uuid; may be repeated (default: all)"),
             "NAME")
        ->group(what);
    oneValue(parser.add_option("--ignored-effect", o.ignoredEffects,
                               "An effect that makes a clip see-through, by its name;\n"
                               "may be repeated"),
             "NAME")
        ->group(what);
    oneValue(parser.add_option("--keep", o.keep,
                               "Leave this clip alone, and what transitions join to it:\n"
                               "its id, or its name with * and ?; may be repeated"),
             "CLIP")
        ->group(what);
    oneValue(parser.add_option("--marker-kinds", o.markerKinds,
                               "What fcpxRemoveMarkers takes out: marker, chapter-marker,\n"
                               "analysis-marker, keyword, rating or all, with commas\n"
                               "between (default: marker,chapter-marker)"),
             "LIST")
        ->group(what);
    parser
        .add_flag("--keep-picture,!--no-keep-picture", o.keepPicture,
                  "Leave alone what would change the picture or the\n"
                  "sound; what was left is listed (default: on)")
        ->group(what);
    parser
        .add_flag("--import-safe,!--no-import-safe", o.importSafe,
                  "Mend links, ids, edges and ticks of the copies, so that\n"
                  "every application imports them (default: on)")
        ->group(what);
    parser.add_flag("--literal", o.literal, "Apply the passes to the letter and do nothing else")
        ->group(what);
    parser
        .add_flag("--strict", o.strict,
                  "Write nothing, and end with code 6, when the picture\n"
                  "or the sound has changed unasked")
        ->group(what);
    oneValue(parser.add_option("--deliver", o.delivery,
                               "project: a bin in the file's project;\n"
                               "standalone: a new document that holds only the bin;\n"
                               "auto: project when there is one (default: auto)"),
             "HOW")
        ->check(CLI::IsMember({"auto", "project", "standalone"}).description(""))
        ->group(what);

    oneValue(parser.add_option("--handles", o.handles,
                               "Name the clips whose media has fewer frames than that\n"
                               "before or after them"),
             "N")
        ->check(CLI::Range(1L, 1'000'000L).description(""))
        ->group(what);
    parser
        .add_flag("--launch", o.launch,
                  "Final Cut Pro may be started, and a native project\nbe opened in it")
        ->group(what);
}

void defineWhereToWrite(CLI::App& parser, TidyOptions& o) {
    const char* const where = "Where to write";
    placeValue(parser.add_option("-o,--output", o.output,
                                 "Write the result to this file; - is standard output\n"
                                 "(default: NAME-Tidied.EXT beside the input)"),
               "OUT")
        ->group(where);
    placeValue(parser.add_option("--output-dir", o.outputFolder,
                                 "Write each result into this folder, as NAME-Tidied.EXT"),
               "DIR")
        ->group(where);
    parser
        .add_flag("--in-place", o.inPlace,
                  "Replace each input with its result, unless another\n"
                  "program changed the file meanwhile")
        ->group(where);
    placeValue(parser.add_option("--report", o.report,
                                 "Write every change to this file: a page for .html, a\n"
                                 "table for .csv, else JSON; - is standard output"),
               "FILE")
        ->group(where);
    parser
        .add_flag("--edl", o.editLists,
                  "Write an edit list (CMX 3600) for each video track of\n"
                  "the tidied copies beside the result")
        ->group(where);
    parser
        .add_flag("--otio", o.otio,
                  "Write each tidied copy beside the result as\nOpenTimelineIO JSON")
        ->group(where);
    parser.add_flag("--list-changes", o.listChanges, "Print every change as text")->group(where);
    parser.add_flag("--force", o.force, "Replace outputs that exist already")->group(where);
    parser.add_flag("--dry-run", o.dryRun, "Do everything but write the results")->group(where);
    parser.add_flag("--quiet", o.quiet, "Print errors only")->group(where);
}

}  // namespace

CommandRun defineTidy(CLI::App& parser) {
    const auto options = std::make_shared<TidyOptions>();
    parser
        .add_option("FILE", options->files,
                    "XMEML or FCPXML files or native projects;\n- reads standard input")
        ->required()
        ->type_name("");
    defineWhatToDo(parser, *options);
    defineWhereToWrite(parser, *options);

    return [options](Application& application) {
        Result<TidyPlan> plan = planTidy(*options);
        if (!plan) return application.fail(plan.failure());
        application.openLog();
        application.terminal().setQuiet(plan->quiet);
        noteUselessPasses(application, *plan);
        return TidyCommand(application, std::move(*plan)).run();
    };
}

}  // namespace reelsweep
