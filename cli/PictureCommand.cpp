#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/InputFile.h"
#include "cli/SaveResult.h"
#include "cli/SequenceChoice.h"
#include "cli/StandardStreams.h"
#include "cli/TextTable.h"
#include "cli/TidyArguments.h"
#include "cli/TidyPlan.h"
#include "documents/SequenceDocument.h"
#include "platform/Platform.h"
#include "report/PictureSvg.h"
#include "shell/DryRun.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

namespace {

struct DrawingOptions {
    TidyOptions tidy;
    int width = 1200;
};

// One call of `picture`: the file is read, its copies are tidied and drawn.
class PictureCommand {
public:
    PictureCommand(Application& application, TidyPlan plan, int width)
        : application_(application), plan_(std::move(plan)), width_(width) {}

    ExitCode run();

private:
    Outcome open();
    Outcome draw(const std::stop_token& stop);
    Outcome save() const;
    DryRunRequest request() const;
    const PlannedFile& planned() const { return plan_.files.front(); }

    Application& application_;
    TidyPlan plan_;
    int width_;
    std::optional<InputFile> file_;
    std::unique_ptr<Document> document_;
    std::vector<std::size_t> rows_;
    std::vector<DryRun> runs_;
};

ExitCode PictureCommand::run() {
    const std::string name = InputFile::displayNameOf(planned().input);
    application_.setCurrentFile(name);
    application_.terminal().setQuiet(plan_.quiet);
    application_.setStandardOutputTaken(planned().output == standardStreamPath);
    Outcome done = open();
    if (!done) return application_.fail(file_ ? file_->named(done.failure()) : done.failure());
    application_.runInterruptible([&](const std::stop_token& stop) {
        done = draw(stop);
        if (done) done = save();
    });
    if (!done && done.failure().code == FailureCode::cancelled)
        return application_.fail(
            {FailureCode::cancelled, "interrupted; nothing was written", name});
    if (!done) return application_.fail(file_->named(done.failure()));
    if (planned().output == standardStreamPath) return ExitCode::done;
    return application_.printForUser(fmt::format("Wrote {}\n", singleLine(planned().output)));
}

Outcome PictureCommand::open() {
    if (planned().output != standardStreamPath)
        if (Outcome writable = checkWritable(planned().output, plan_.force); !writable)
            return writable;
    Result<InputFile> file = InputFile::open(planned().input);
    if (!file) return file.failure();
    file_.emplace(std::move(*file));
    if (file_->kind() != DocumentFormat::xmeml)
        return Failure{FailureCode::usage, "picture draws XMEML files only", file_->displayName()};
    if (const auto fits = optionsFor(plan_.passes, false); !fits) return fits.failure();
    auto document = openDocument(file_->path());
    if (!document) return document.failure();
    document_ = std::move(*document);
    if (document_->sequences().empty())
        return Failure{FailureCode::inputInvalid, "holds no sequence"};
    auto rows = chooseSequences(document_->sequences(), plan_.sequences);
    if (!rows) return rows.failure();
    rows_ = std::move(*rows);
    return Done{};
}

DryRunRequest PictureCommand::request() const {
    DryRunRequest request;
    OptionList passes = plan_.passes.all ? allPasses() : plan_.passes.names;
    std::erase_if(passes,
                  [&](const std::string& pass) { return hasOption(plan_.passes.without, pass); });
    request.tidy = {.passes = std::move(passes),
                    .ignoredEffects = plan_.ignoredEffects,
                    .keepPicture = plan_.keepPicture,
                    .provesPicture = false,
                    .keep = plan_.keep,
                    .rules = plan_.rules};
    for (std::string& name : Platform::current().userDefaults->stringArrayForKey("ignoredEffects"))
        request.tidy.ignoredEffects.push_back(std::move(name));
    request.importSafe = plan_.importSafe;
    const auto& file = static_cast<const XMEMLDocument&>(*document_);
    if (file.ownDelivery() == Delivery::project) request.document = file.tree()->node();
    return request;
}

// On the background thread.
Outcome PictureCommand::draw(const std::stop_token& stop) {
    std::vector<XMLNode> sources;
    for (const std::size_t row : rows_) sources.push_back(document_->sequences()[row].node);
    auto runs = dryRun(sources, request(), stop);
    if (!runs) return runs.failure();
    runs_ = std::move(*runs);
    std::vector<const SequenceLedger*> ledgers;
    for (const DryRun& run : runs_) ledgers.push_back(&run.ledger);
    return checkKeepsFit(plan_.keep, ledgers, file_->displayName());
}

Outcome PictureCommand::save() const {
    std::vector<DrawnSequence> drawn;
    for (std::size_t i = 0; i < rows_.size(); ++i)
        drawn.push_back({document_->sequences()[rows_[i]].title, runs_[i].picture.get()});
    const SavePlace place{planned().output, plan_.force ? Overwrite::always : Overwrite::never};
    return saveResult(place, [&](ByteSink& sink) { writePictureSvg(drawn, width_, sink); });
}

}  // namespace

CommandRun definePicture(CLI::App& parser) {
    const auto options = std::make_shared<DrawingOptions>();
    TidyOptions& o = options->tidy;
    const auto one = [](CLI::Option* option, const char* value) {
        return option->type_name(value)->allow_extra_args(false);
    };
    parser.add_option("FILE", o.files, "The XMEML file; - reads standard input")
        ->required()
        ->expected(1)
        ->type_name("");
    one(parser.add_option("-o,--output", o.output,
                          "Write the picture to this file; - is standard output"),
        "OUT")
        ->required();
    one(parser.add_option("--sequence", o.sequences,
                          "Only this sequence: its index as list prints it, its\n"
                          "title or its uuid; may be repeated (default: all)"),
        "NAME");
    one(parser.add_option("--passes", o.passes,
                          "Pass names with commas between, or default, or all;\n"
                          "+NAME adds one and -NAME takes one out\n"
                          "(default: default)"),
        "LIST");
    one(parser.add_option("--keep", o.keep,
                          "Leave this clip alone: its id, or its name with * and ?;\n"
                          "may be repeated"),
        "CLIP");
    defineRules(parser, o);
    one(parser.add_option("--ignored-effect", o.ignoredEffects,
                          "An effect that makes a clip see-through, by its name;\n"
                          "may be repeated"),
        "NAME");
    parser.add_flag("--keep-picture,!--no-keep-picture", o.keepPicture,
                    "Leave alone what would change the picture or the\n"
                    "sound (default: on)");
    parser.add_flag("--import-safe,!--no-import-safe", o.importSafe,
                    "Mend links, ids, edges and ticks as well (default: on)");
    parser.add_flag("--literal", o.literal, "Apply the passes to the letter and do nothing else");
    numberFrom(
        one(parser.add_option("--width", options->width, "The picture's width (default: 1200)"),
            "PIXELS"),
        400, 20'000);
    parser.add_flag("--force", o.force, "Replace an output that exists already");
    parser.add_flag("--quiet", o.quiet, "Print errors only");
    return [options](Application& application) {
        Result<TidyPlan> plan = planTidy(options->tidy);
        if (!plan) return application.fail(plan.failure());
        application.openLog();
        return PictureCommand(application, std::move(*plan), options->width).run();
    };
}

}  // namespace reelsweep
