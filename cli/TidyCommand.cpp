#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/InputFile.h"
#include "cli/Interruption.h"
#include "cli/ResultTable.h"
#include "cli/SaveResult.h"
#include "cli/StandardStreams.h"
#include "cli/TidyPlan.h"
#include "cli/TidyWork.h"
#include "engine/report/ChangeReport.h"
#include "platform/Platform.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Validators.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

namespace {

// One call of `tidy`: file after file, then the report.
class TidyCommand {
public:
    TidyCommand(Application& application, TidyPlan plan)
        : application_(application), plan_(std::move(plan)) {}

    ExitCode run();

private:
    ExitCode tidyFile(const PlannedFile& planned);
    ExitCode tidyInput(const PlannedFile& planned, ReportedDocument& reported, TidyWork*& work);
    Outcome save(const PlannedFile& planned, TidyWork& work);
    ExitCode finish(const PlannedFile& planned, ReportedDocument& reported, TidyWork& work,
                    const Outcome& saved);
    ExitCode saveReport();
    ExitCode show(const std::string& lines);

    Application& application_;
    TidyPlan plan_;
    // Kept back until the end: an interrupted call must leave no report behind.
    std::optional<SpoolFile> reportSpool_;
    std::optional<ChangeReport> report_;
};

ExitCode TidyCommand::run() {
    Terminal& terminal = application_.terminal();
    terminal.setQuiet(plan_.quiet);
    if (!plan_.report.empty()) {
        if (plan_.report != standardStreamPath)
            if (const Outcome writable = checkWritable(plan_.report, plan_.force); !writable)
                return application_.fail(writable.failure());
        Result<SpoolFile> spool = SpoolFile::create();
        if (!spool) return application_.fail(spool.failure());
        reportSpool_.emplace(std::move(*spool));
        report_.emplace(*reportSpool_, ChangeReport::Program{"reelsweep-cli",
                                                             Application::version(), plan_.dryRun});
    }

    ExitCode first = ExitCode::done;
    for (std::size_t i = 0; i < plan_.files.size(); ++i) {
        if (plan_.files.size() > 1)
            terminal.setProgressPrefix(fmt::format("{} of {}: ", i + 1, plan_.files.size()));
        const ExitCode code = tidyFile(plan_.files[i]);
        if (Interruption::requested() && code != ExitCode::done) return ExitCode::interrupted;
        if (first == ExitCode::done) first = code;
    }
    const ExitCode reported = saveReport();
    return first == ExitCode::done ? reported : first;
}

ExitCode TidyCommand::tidyFile(const PlannedFile& planned) {
    ReportedDocument reported;
    reported.input = InputFile::displayNameOf(planned.input);
    application_.setCurrentFile(reported.input);
    TidyWork* work = nullptr;
    const ExitCode code = tidyInput(planned, reported, work);
    reported.errors = application_.messages();
    if (report_) report_->addDocument(reported, work ? &work->ledger() : nullptr);
    return code;
}

// `work` is set once there is a document whose ledger can be reported; the application keeps it.
ExitCode TidyCommand::tidyInput(const PlannedFile& planned, ReportedDocument& reported,
                                TidyWork*& work) {
    const bool toFile = planned.output != standardStreamPath && !planned.inPlace && !plan_.dryRun;
    if (toFile)
        if (const Outcome writable = checkWritable(planned.output, plan_.force); !writable)
            return application_.fail(writable.failure());

    const Result<InputFile> file = InputFile::open(planned.input);
    if (!file) return application_.fail(file.failure());
    const bool isFCPX = file->kind() == InputFile::Kind::fcpxml;
    reported.format = isFCPX ? "fcpxml" : "xmeml";

    const std::shared_ptr<TidyWork> document =
        TidyWork::make(file->kind(), application_.terminal());
    application_.keep(document);
    application_.terminal().startProgress();
    application_.terminal().setProgressLabelText("Reading...");
    const Outcome opened = document->open(*file, plan_);
    application_.terminal().endProgress();
    if (!opened) return application_.fail(file->named(opened.failure()));
    reported.passes = document->options();
    reported.delivery = document->deliveryName();
    if (planned.inPlace && reported.delivery == "standalone")
        return application_.fail(
            {FailureCode::usage,
             "holds no project to deliver into, and --in-place would throw the rest of the file "
             "away; use -o",
             reported.input, 0, 0, ""});

    Outcome saved = Done{};
    application_.runInterruptible(
        [&] {
            document->run();
            if (!document->cancelled()) saved = save(planned, *document);
        },
        [&] { document->cancel(); });
    application_.terminal().endProgress();
    work = document.get();
    return finish(planned, reported, *document, saved);
}

// On the background thread.
Outcome TidyCommand::save(const PlannedFile& planned, TidyWork& work) {
    const XMLDocument* const result = work.result();
    if (!result || plan_.dryRun) return Done{};
    Platform::current().mainThread->runAndWait([&] {
        application_.terminal().startProgress();
        application_.terminal().setProgressLabelText("Saving...");
    });
    SavePlace place{planned.output};
    if (plan_.force || planned.inPlace) place.overwrite = Overwrite::always;
    if (planned.inPlace) place.mustStillBe = result->loadedFile();
    place.codes = work.fileCodes();
    return saveResult(place, [&](ByteSink& sink) { result->serialise(XMLFormat::pretty, sink); });
}

ExitCode TidyCommand::finish(const PlannedFile& planned, ReportedDocument& reported, TidyWork& work,
                             const Outcome& saved) {
    if (work.cancelled() || (!saved && saved.failure().code == FailureCode::cancelled)) {
        application_.terminal().error(reported.input + ": interrupted; nothing was written");
        return ExitCode::interrupted;
    }
    const ExitCode code =
        work.failures().empty() ? ExitCode::done : application_.fail(work.failures());
    if (!saved) return application_.fail(saved.failure());
    if (!work.result()) return code;

    const bool written = !plan_.dryRun;
    if (written) reported.output = planned.output;
    std::string lines;
    if (plan_.files.size() > 1) lines += reported.input + ":\n";
    lines += resultTable(work.ledger());
    if (written && planned.output != standardStreamPath)
        lines += fmt::format("Wrote {}\n", planned.output);
    if (plan_.dryRun) lines += "Dry run: nothing was written\n";
    if (plan_.files.size() > 1) lines += "\n";
    const ExitCode shown = show(lines);
    return code == ExitCode::done ? shown : code;
}

ExitCode TidyCommand::saveReport() {
    if (!report_) return ExitCode::done;
    application_.setCurrentFile(plan_.report);
    report_->finish();
    const Interruption::Deferred deferred;
    Outcome spooled = Done{};
    const Outcome saved =
        saveResult({plan_.report, plan_.force ? Overwrite::always : Overwrite::never},
                   [&](ByteSink& sink) { spooled = reportSpool_->copyTo(sink); });
    if (!spooled) return application_.fail(spooled.failure());
    if (!saved) return application_.fail(saved.failure());
    return plan_.report == standardStreamPath ? ExitCode::done
                                              : show(fmt::format("Wrote {}\n", plan_.report));
}

// What the user reads goes to standard output unless that carries data.
ExitCode TidyCommand::show(const std::string& lines) {
    if (plan_.quiet) return ExitCode::done;
    if (!plan_.standardOutputTaken()) return application_.printData(lines);
    application_.terminal().printLines(lines);
    return ExitCode::done;
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

}  // namespace

CommandRun defineTidy(CLI::App& parser) {
    const auto options = std::make_shared<TidyOptions>();
    TidyOptions& o = *options;
    // Each of these takes exactly one value, so that none swallows the files that follow it.
    const auto one = [](CLI::Option* option, const char* value) {
        return option->type_name(value)->allow_extra_args(false);
    };
    parser.add_option("FILE", o.files, "XMEML or FCPXML files; - reads standard input")
        ->required()
        ->type_name("");

    const char* const what = "What to do";
    one(parser.add_option("--passes", o.passes,
                          "Pass names with commas between, or default, or all;\n"
                          "\"reelsweep-cli passes\" lists them (default: default)"),
        "LIST")
        ->group(what);
    one(parser.add_option("--sequence", o.sequences,
                          "Only this sequence: its index as list prints it, its\n"
                          "title or its uuid; may be repeated (default: all)"),
        "NAME")
        ->group(what);
    one(parser.add_option("--ignored-effect", o.ignoredEffects,
                          "An effect that makes a clip see-through, by its name;\n"
                          "may be repeated"),
        "NAME")
        ->group(what);
    one(parser.add_option("--deliver", o.delivery,
                          "project: a bin in the file's project;\n"
                          "standalone: a new document that holds only the bin;\n"
                          "auto: project when there is one (default: auto)"),
        "HOW")
        ->check(CLI::IsMember({"auto", "project", "standalone"}).description(""))
        ->group(what);

    const char* const where = "Where to write";
    one(parser.add_option("-o,--output", o.output,
                          "Write the result to this file; - is standard output\n"
                          "(default: NAME-Tidied.EXT beside the input)"),
        "OUT")
        ->group(where);
    one(parser.add_option("--output-dir", o.outputFolder,
                          "Write each result into this folder, as NAME-Tidied.EXT"),
        "DIR")
        ->group(where);
    parser
        .add_flag("--in-place", o.inPlace,
                  "Replace each input with its result, unless another\n"
                  "program changed the file meanwhile")
        ->group(where);
    one(parser.add_option("--report", o.report,
                          "Write every change to this file as JSON;\n- is standard output"),
        "FILE")
        ->group(where);
    parser.add_flag("--force", o.force, "Replace outputs that exist already")->group(where);
    parser.add_flag("--dry-run", o.dryRun, "Do everything but write the results")->group(where);
    parser.add_flag("--quiet", o.quiet, "Print errors only")->group(where);

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
