#include "cli/TidyFile.h"

#include "cli/Application.h"
#include "cli/ResultTable.h"
#include "cli/SaveResult.h"
#include "cli/StandardStreams.h"
#include "cli/TextTable.h"
#include "platform/Platform.h"

#include <fmt/format.h>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

namespace {

const char* nameOf(InputFile::Kind kind) {
    switch (kind) {
        case InputFile::Kind::fcpxml: return "fcpxml";
        case InputFile::Kind::nativeProject: return "fcp";
        case InputFile::Kind::xmeml: break;
    }
    return "xmeml";
}

}  // namespace

TidyFile::TidyFile(Application& application, const TidyPlan& plan, const PlannedFile& planned)
    : application_(application), plan_(plan), planned_(planned) {
    reported_.input = InputFile::displayNameOf(planned.input);
}

ExitCode TidyFile::run() {
    application_.setCurrentFile(reported_.input);
    ExitCode code = ExitCode::done;
    if (const Outcome opened = open(); !opened) {
        const Failure& failure = opened.failure();
        code = application_.fail(file_ ? file_->named(failure) : failure);
    } else {
        process();
        code = conclude();
    }
    reported_.errors = application_.messages();
    return code;
}

Outcome TidyFile::open() {
    // Nobody should wait for a result that then cannot be written.
    const bool toFile = planned_.output != standardStreamPath && !planned_.inPlace &&
                        !planned_.native && !plan_.dryRun;
    if (toFile)
        if (Outcome writable = checkWritable(planned_.output, plan_.force); !writable)
            return writable;

    Result<InputFile> file = InputFile::open(planned_.input);
    if (!file) return file.failure();
    file_.emplace(std::move(*file));
    reported_.format = nameOf(file_->kind());

    Terminal& terminal = application_.terminal();
    work_ = TidyWork::make(file_->kind(), terminal);
    application_.keep(work_);
    terminal.startProgress();
    terminal.setProgressLabelText("Reading...");
    Outcome opened = work_->open(*file_, plan_);
    terminal.endProgress();
    if (!opened) return opened;

    reported_.passes = work_->options();
    reported_.delivery = work_->deliveryName();
    if (planned_.inPlace && reported_.delivery == "standalone")
        return Failure{FailureCode::usage,
                       "holds no project to deliver into, and --in-place would throw the rest of "
                       "the file away; use -o",
                       "",
                       0,
                       0,
                       ""};
    return Done{};
}

void TidyFile::process() {
    hasRun_ = true;
    application_.runInterruptible(
        [this] {
            work_->run();
            if (!work_->cancelled()) save();
        },
        [this] { work_->cancel(); });
    application_.terminal().endProgress();
}

// On the background thread.
void TidyFile::save() {
    const XMLDocument* const result = work_->result();
    if (!result || plan_.dryRun) return;
    Platform::current().mainThread->runAndWait([this] {
        application_.terminal().startProgress();
        application_.terminal().setProgressLabelText("Saving...");
    });
    SavePlace place{planned_.output};
    if (plan_.force || planned_.inPlace) place.overwrite = Overwrite::always;
    if (planned_.inPlace) place.mustStillBe = result->loadedFile();
    place.codes = work_->fileCodes();
    saved_ = saveResult(place, [&](ByteSink& sink) { result->serialise(XMLFormat::pretty, sink); });
    if (saved_) reported_.output = planned_.output;
}

ExitCode TidyFile::conclude() {
    if (work_->cancelled() || (!saved_ && saved_.failure().code == FailureCode::cancelled)) {
        // What standard output has taken is out of our hands.
        const bool mayHaveWritten = planned_.output == standardStreamPath;
        return application_.fail(
            {FailureCode::cancelled,
             mayHaveWritten ? "interrupted" : "interrupted; nothing was written", reported_.input,
             0, 0, ""});
    }
    std::vector<Failure> failures = work_->failures();
    for (Failure& failure : failures) failure = file_->named(failure);
    const ExitCode code = failures.empty() ? ExitCode::done : application_.fail(failures);
    ExitCode next = ExitCode::done;
    if (!saved_)
        next = application_.fail(saved_.failure());
    else if (work_->result() || work_->isSent())
        next = showResult();
    return code == ExitCode::done ? next : code;
}

ExitCode TidyFile::showResult() {
    const bool isOneOfMany = plan_.files.size() > 1;
    std::string lines;
    if (isOneOfMany) lines += singleLine(reported_.input) + ":\n";
    lines += resultTable(work_->ledger());
    if (plan_.dryRun)
        lines += "Dry run: nothing was written\n";
    else if (work_->isSent())
        lines += "Sent to Final Cut Pro\n";
    else if (planned_.output != standardStreamPath)
        lines += fmt::format("Wrote {}\n", singleLine(planned_.output));
    if (isOneOfMany) lines += "\n";
    const ExitCode printed = application_.printForUser(lines);
    for (const SequenceLedger& sequence : work_->ledger().sequences)
        if (const std::string loose = looseClipsText(sequence); !loose.empty())
            application_.terminal().note(singleLine(sequence.title + ": " + loose));
    return printed;
}

}  // namespace reelsweep
