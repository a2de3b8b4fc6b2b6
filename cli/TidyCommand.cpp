#include "cli/Application.h"
#include "cli/Batch.h"
#include "cli/Commands.h"
#include "cli/Interruption.h"
#include "cli/ReportFile.h"
#include "cli/StandardStreams.h"
#include "cli/TextTable.h"
#include "cli/TidyArguments.h"
#include "cli/TidyFile.h"
#include "cli/TidyPlan.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
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
    if (plan_.isBatch) return runBatch(application_, plan_, report_.get());
    ExitCode first = ExitCode::done;
    bool allPassedOver = true;
    for (std::size_t i = 0; i < plan_.files.size(); ++i) {
        if (plan_.files.size() > 1)
            application_.terminal().setProgressPrefix(
                fmt::format("{} of {}: ", i + 1, plan_.files.size()));
        TidyFile file(application_, plan_, plan_.files[i]);
        const ExitCode code = file.run();
        if (report_) report_->addDocument(file.reported(), file.ledger());
        if (first == ExitCode::done) first = code;
        allPassedOver = allPassedOver && file.wasPassedOver();
        // An interruption that came too late for this file still stops what was to follow.
        const bool moreToDo = i + 1 < plan_.files.size() || report_;
        if (Interruption::requested() && (code != ExitCode::done || moreToDo))
            return ExitCode::interrupted;
    }
    return first == ExitCode::done && allPassedOver ? ExitCode::usage : first;
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
    const auto note = [&](std::string_view what, std::string_view without) {
        application.terminal().note(fmt::format("{} nothing without {}", what, without));
    };
    const auto isOff = [&](const char* name) {
        return plan.passes.all ? hasOption(plan.passes.without, name) : !has(name);
    };
    if (!plan.passes.all && has("collapseUncompositedClips") && !has("collapseTracks"))
        note("collapseUncompositedClips does", "collapseTracks");
    const TidyRules& rules = plan.typedRules;
    if (!rules.filters.isEmpty() && isOff("removeFilters"))
        note("--filters-keep and --filters-only do", "removeFilters");
    if (!rules.markers.isEmpty() && isOff("removeMarkers"))
        note("--markers-keep and --markers-only do", "removeMarkers");
    if (!rules.transitions.isEmpty() && isOff("removeVideoTransitions") &&
        isOff("removeAudioTransitions"))
        note("--transitions-keep and --transitions-only do",
             "removeVideoTransitions or removeAudioTransitions");
}

void defineFiles(CLI::App& parser, TidyOptions& o) {
    const char* const many = "Many files";
    numberFrom(oneValue(parser.add_option("--handles", o.handles,
                                          "Name the clips whose media has fewer frames than that\n"
                                          "before or after them"),
                        "N"),
               1, 1'000'000)
        ->group("What to do");
    parser
        .add_flag("--launch", o.launch,
                  "Final Cut Pro may be started, and a native project\nbe opened in it")
        ->group("What to do");
    parser.add_flag("-r,--recursive", o.recursive, "Take the folders in a folder, too")
        ->group(many);
    numberFrom(oneValue(parser.add_option("-j,--jobs", o.jobs,
                                          "How many files to work on at once (default: as many\n"
                                          "as the machine has processors and memory for)"),
                        "N"),
               1, 256)
        ->group(many);
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
    parser.add_flag("--parents", o.makesFolders, "Make the folder of --output-dir")->group(where);
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
        .add_option(
            "FILE", options->files,
            "XMEML or FCPXML files, native projects, or folders\nof files; - reads standard input")
        ->required()
        ->type_name("");
    defineWhatToDo(parser, *options);
    defineRules(parser, *options);
    defineFiles(parser, *options);
    defineWhereToWrite(parser, *options);

    return [options](Application& application) {
        Result<TidyPlan> plan = planTidy(*options);
        if (!plan) return application.fail(plan.failure());
        // What works on several files at once starts processes, each with a log of its own.
        if (!plan->isBatch) application.openLog();
        application.terminal().setQuiet(plan->quiet);
        noteUselessPasses(application, *plan);
        return TidyCommand(application, std::move(*plan)).run();
    };
}

}  // namespace reelsweep
