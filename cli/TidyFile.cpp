#include "cli/TidyFile.h"

#include "cli/Application.h"
#include "cli/ChangeLines.h"
#include "cli/NativeProject.h"
#include "cli/ResultTable.h"
#include "cli/SaveResult.h"
#include "cli/SequenceChoice.h"
#include "cli/StandardStreams.h"
#include "cli/TextTable.h"
#include "cli/TidyArguments.h"
#include "platform/Platform.h"
#include "report/PictureProof.h"
#include "shell/BundleFile.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

TidyFile::TidyFile(Application& application, const TidyPlan& plan, const PlannedFile& planned)
    : application_(application), plan_(plan), planned_(planned) {
    reported_.input = InputFile::displayNameOf(planned.input);
}

ExitCode TidyFile::run() {
    application_.setCurrentFile(reported_.input);
    ExitCode code = ExitCode::done;
    if (const Outcome opened = open(); !opened) {
        const Failure failure = file_ ? file_->named(opened.failure()) : opened.failure();
        isPassedOver_ = passesOver(failure);
        if (isPassedOver_)
            application_.terminal().note(failure.description() + "; left out");
        else
            code = application_.fail(failure);
    } else {
        process();
        code = conclude();
    }
    reported_.errors = application_.messages();
    return code;
}

// Where several files are named, or found in a folder, each is tidied with what applies to it.
bool TidyFile::passesOver(const Failure& failure) const {
    if (!isOneOfMany()) return false;
    if (!file_) {
        // Without a line it is well-formed so far, and something else.
        return planned_.found && failure.code == FailureCode::inputInvalid && failure.line == 0;
    }
    return failure.code == FailureCode::usage &&
           (file_->kind() == DocumentFormat::fcpxml || !work_);
}

const ChangeLedger* TidyFile::ledger() const {
    const bool isTidied = work_ && work_->tidied && *work_->tidied;
    return isTidied ? &(*work_->tidied)->ledger() : nullptr;
}

Outcome TidyFile::open() {
    // Nobody should wait for a result that then cannot be written.
    const bool toFile = planned_.output != standardStreamPath && !planned_.inPlace &&
                        !planned_.native && !plan_.dryRun;
    if (toFile && (plan_.makesFolders || planned_.found))
        if (Outcome made = makeFolder(); !made) return made;
    if (toFile)
        if (Outcome writable = checkWritable(planned_.output, plan_.force); !writable)
            return writable;

    Result<InputFile> file = InputFile::open(planned_.input);
    if (!file) return file.failure();
    file_.emplace(std::move(*file));
    reported_.format = description(file_->kind());

    Terminal& terminal = application_.terminal();
    terminal.startProgress();
    terminal.setProgressLabelText("Reading...");
    Outcome opened = openDocument();
    terminal.endProgress();
    return opened;
}

Outcome TidyFile::makeFolder() const {
    const std::filesystem::path folder = std::filesystem::path(planned_.output).parent_path();
    std::error_code error;
    if (!folder.empty()) std::filesystem::create_directories(folder, error);
    if (!error) return Done{};
    return Failure{FailureCode::outputFailed, "could not be made: " + error.message(),
                   folder.string()};
}

Result<OptionList> TidyFile::passes() {
    const bool isFCPX = file_->kind() == DocumentFormat::fcpxml;
    if (!isOneOfMany()) return optionsFor(plan_.passes, isFCPX);
    OptionList leftOut;
    Result<OptionList> options = applicableOptions(plan_.passes, isFCPX, leftOut);
    if (!options)
        return Failure{FailureCode::usage, isFCPX
                                               ? "is FCPXML, to which none of the passes applies"
                                               : "is XMEML, to which none of the passes applies"};
    if (options && !leftOut.empty() && isFCPX)
        notes_.push_back(fmt::format("is FCPXML; only {} apply to it", fmt::join(*options, ", ")));
    return options;
}

Outcome TidyFile::openDocument() {
    const Result<OptionList> options = passes();
    if (!options) return options.failure();
    work_ = std::make_shared<Work>(plan_.launch);
    application_.keep(work_);
    work_->request.passes = *options;
    if (planned_.native)
        if (Outcome isOpen = checkProjectIsOpen(file_->path(), plan_.launch); !isOpen)
            return isOpen;
    // The check goes on beside the passes; the tidy says when the file turns out to be broken.
    auto opened = reelsweep::openDocument(file_->path(), {Verification::deferred, &work_->host});
    if (!opened) return opened.failure();
    work_->document = std::move(*opened);
    Outcome settled = settleRequest();
    if (!settled)
        if (Outcome verified = work_->document->verify(); !verified) return verified;
    return settled;
}

// What was asked for, held against the document.
Outcome TidyFile::settleRequest() {
    const auto usage = [](const char* message) { return Failure{FailureCode::usage, message}; };
    const Document& document = *work_->document;
    DocumentRequest& request = work_->request;
    request.delivery = plan_.delivery == Delivery::automatic || planned_.native
                           ? document.ownDelivery()
                           : plan_.delivery;
    reported_.passes = request.passes;
    reported_.delivery = description(request.delivery);
    if (document.format() == DocumentFormat::fcpxml) return settleFCPXML();
    if (document.sequences().empty())
        return Failure{FailureCode::inputInvalid, "holds no sequence"};
    const auto rows = chooseSequences(document.sequences(), plan_.sequences);
    if (!rows) return rows.failure();
    if (const std::size_t copies = document.sequences().size() - rows->size();
        copies > 0 && plan_.sequences.empty())
        notes_.push_back(copies == 1
                             ? "1 tidied copy was left out; --sequence takes it all the same"
                             : fmt::format("{} tidied copies were left out; --sequence takes them "
                                           "all the same",
                                           copies));
    if (planned_.inPlace && request.delivery == Delivery::standalone)
        return usage(
            "holds no project to deliver into, and --in-place would throw the rest of "
            "the file away; use -o");
    request.sequences = *rows;
    request.keepPicture = plan_.keepPicture;
    request.importSafe = plan_.importSafe;
    request.usesUpDocument = planned_.output != standardStreamPath;
    request.keep = plan_.keep;
    request.rules = plan_.rules;
    request.ignoredEffects = plan_.ignoredEffects;
    for (std::string& name : Platform::current().userDefaults->stringArrayForKey("ignoredEffects"))
        request.ignoredEffects.push_back(std::move(name));
    request.xmemlVersion = installedXMEMLVersion();
    // Final Cut Pro has no way back.
    if (planned_.native && plan_.dryRun) request.delivery = Delivery::none;
    return Done{};
}

// What cannot be minded in FCPXML must not be lost either: then the file is not tidied.
Outcome TidyFile::settleFCPXML() {
    const auto usage = [](const std::string& what) {
        return Failure{FailureCode::usage, what + " does not apply to FCPXML"};
    };
    if (!plan_.sequences.empty()) return usage("--sequence");
    if (plan_.delivery != Delivery::automatic)
        return Failure{FailureCode::usage,
                       "--deliver does not apply to FCPXML, which is tidied as a whole"};
    if (!plan_.keep.empty()) return usage("--keep");
    for (const RuleRow& row : ruleTable())
        if (!row.of(plan_.rules).empty()) return usage(std::string(row.option));
    if (plan_.turnover || plan_.handles)
        return Failure{FailureCode::usage, "--edl, --otio and --handles do not apply to FCPXML"};
    work_->request.fcpxMarkerKinds = plan_.markerKinds;
    return Done{};
}

void TidyFile::process() {
    Terminal& terminal = application_.terminal();
    terminal.startProgress();
    terminal.setProgressLabelText("Initializing...");
    application_.runInterruptible([&](std::stop_token stop) {
        const auto show = [&](const std::string& text) {
            Platform::current().mainThread->runAndWait(
                [&] { terminal.setProgressLabelText(text); });
        };
        SaveInWork saving;
        if (!plan_.dryRun)
            work_->request.onSplice = [&](const auto& splice) {
                saving.begin(savePlace(), splice);
            };
        work_->tidied.emplace(tidy(*work_->document, work_->request, {std::move(stop), show}));
        work_->request.onSplice = nullptr;
        if (!*work_->tidied) return;
        saved_ = checkKeeps();
        if (saved_) saved_ = checkRules();
        if (saved_) saved_ = checkStrictly();
        if (saved_ && plan_.turnover && !plan_.dryRun) {
            turnover_.emplace((*work_->tidied)->ledger(), planned_.output, plan_.turnover);
            saved_ = turnover_->check(plan_.force);
        }
        if (saved_) save(saving);
        if (saved_ && turnover_) saved_ = turnover_->save(plan_.force);
    });
    terminal.endProgress();
}

SavePlace TidyFile::savePlace() const {
    SavePlace place{planned_.output};
    if (plan_.force || planned_.inPlace) place.overwrite = Overwrite::always;
    if (planned_.inPlace) place.path = documentFile(planned_.output);
    return place;
}

// On the background thread.
void TidyFile::save(SaveInWork& saving) {
    const Tidied& result = **work_->tidied;
    if (!result.hasResult() || plan_.dryRun) return;
    Platform::current().mainThread->runAndWait(
        [this] { application_.terminal().setProgressLabelText("Saving..."); });
    SavePlace place = savePlace();
    // One that used the document up looks at its input by itself.
    if (planned_.inPlace && result.document()) place.mustStillBe = result.document()->loadedFile();
    place.codes = result.fileCodes();
    const bool isBundle = isFCPXMLBundle(place.path) && file_->kind() == DocumentFormat::fcpxml;
    saved_ = isBundle ? saveBundle(
                            place.path, place.overwrite, file_->path(),
                            [&](const std::string& inside) { return saveResult({inside}, result); })
                      : saving.save(place, result);
    if (saved_) reported_.output = planned_.output;
}

ExitCode TidyFile::conclude() {
    const Result<Tidied>& tidied = *work_->tidied;
    const bool wasStopped = !tidied && tidied.failure().code == FailureCode::cancelled;
    if (wasStopped || (!saved_ && saved_.failure().code == FailureCode::cancelled)) {
        // What standard output or the host has taken is out of our hands, and a result that was in
        // place before its edit lists stays.
        const bool mayHaveWritten =
            planned_.output == standardStreamPath || planned_.native || reported_.output;
        return application_.fail(
            {FailureCode::cancelled,
             mayHaveWritten ? "interrupted" : "interrupted; nothing was written", reported_.input});
    }
    if (!tidied) return application_.fail(file_->named(tidied.failure()));
    std::vector<Failure> failures = tidied->failures();
    for (Failure& failure : failures) failure = file_->named(failure);
    const ExitCode code = failures.empty() ? ExitCode::done : application_.fail(failures);
    reported_.notes = tidied->notes();
    reported_.handles = plan_.handles;
    const ExitCode next = saved_ ? showResult() : application_.fail(saved_.failure());
    return code == ExitCode::done ? next : code;
}

ExitCode TidyFile::showResult() {
    if (plan_.isBatch) {
        noteWhatNeedsAttention();
        return ExitCode::done;
    }
    std::string lines;
    if (isOneOfMany()) lines += singleLine(reported_.input) + ":\n";
    const ChangeLedger& ledger = (*work_->tidied)->ledger();
    lines += resultTable(ledger);
    if (plan_.handles) lines += handleLines(ledger, *plan_.handles);
    if (plan_.listChanges) lines += "\n" + changeLines(ledger) + "\n";
    if (plan_.dryRun)
        lines += "Dry run: nothing was written\n";
    else if (planned_.native)
        lines += "Sent to Final Cut Pro\n";
    else if (planned_.output != standardStreamPath)
        lines += fmt::format("Wrote {}\n", singleLine(planned_.output));
    if (turnover_)
        for (const std::string& path : turnover_->written())
            lines += fmt::format("Wrote {}\n", singleLine(path));
    if (isOneOfMany()) lines += "\n";
    const ExitCode printed = application_.printForUser(lines);
    noteWhatNeedsAttention();
    return printed;
}

// On the background thread.
Outcome TidyFile::checkKeeps() const {
    std::vector<const SequenceLedger*> ledgers;
    for (const SequenceLedger& sequence : (*work_->tidied)->ledger().sequences)
        ledgers.push_back(&sequence);
    return checkKeepsFit(plan_.keep, ledgers, reported_.input);
}

// The same for the rules that were typed. A pattern may well fit nothing here, nor need every file
// of many have what is to be left alone in some.
Outcome TidyFile::checkRules() const {
    if (isOneOfMany()) return Done{};
    const auto& sequences = (*work_->tidied)->ledger().sequences;
    const auto isUnused = [&](const std::string& rule) {
        return std::all_of(sequences.begin(), sequences.end(), [&](const SequenceLedger& sequence) {
            const std::vector<std::string>& unused = sequence.unusedRules;
            return std::find(unused.begin(), unused.end(), rule) != unused.end();
        });
    };
    struct Kind {
        std::string word;
        const std::vector<std::string>& names;
        const char* whenMissing;
    };
    const TidyRules& rules = plan_.typedRules;
    for (const Kind& kind : {Kind{"track", rules.tracks, "no track goes by this name"},
                             Kind{"clip", rules.clips, "no clip goes by this name"},
                             Kind{"colour", rules.colours, "no clip has this label"}})
        for (const std::string& name : kind.names)
            if (!isPattern(name) && isUnused(fmt::format("{} {}", kind.word, name)))
                return Failure{FailureCode::usage,
                               singleLine(fmt::format("--exclude-{} {}: {}", kind.word, name,
                                                      kind.whenMissing)),
                               reported_.input};
    return Done{};
}

// On the background thread.
Outcome TidyFile::checkStrictly() const {
    if (!plan_.strict) return Done{};
    for (const SequenceLedger& sequence : (*work_->tidied)->ledger().sequences)
        if (const std::string changed = pictureChangeText(sequence); !changed.empty())
            return Failure{FailureCode::notTheSame, singleLine(sequence.title + ": " + changed),
                           reported_.input};
    return Done{};
}

void TidyFile::noteKept(const SequenceLedger& sequence, bool wasAsked, const char* why) {
    std::set<const void*> clips;
    for (const KeptItem& item : sequence.kept)
        if (item.wasAsked == wasAsked) clips.insert(item.node.identity());
    if (clips.empty()) return;
    const std::string many =
        clips.size() == 1 ? "1 clip was" : fmt::format("{} clips were", clips.size());
    application_.terminal().note(
        singleLine(fmt::format("{}: {} left alone {}", placeOf(sequence), many, why)));
}

std::string TidyFile::placeOf(const SequenceLedger& sequence) const {
    return isOneOfMany() ? reported_.input + ": " + sequence.title : sequence.title;
}

void TidyFile::noteWhatNeedsAttention() {
    Terminal& terminal = application_.terminal();
    for (const std::string& note : notes_) terminal.note(singleLine(reported_.input + ": " + note));
    for (const std::string& note : (*work_->tidied)->notes())
        terminal.note(singleLine(reported_.input + ": " + note));
    if (turnover_)
        for (const std::string& note : turnover_->notes()) terminal.note(singleLine(note));
    for (const SequenceLedger& sequence : (*work_->tidied)->ledger().sequences) {
        if (std::string changed = pictureChangeText(sequence); !changed.empty()) {
            if (!plan_.keepPicture) changed += "; --keep-picture keeps them";
            terminal.note(singleLine(placeOf(sequence) + ": " + changed));
        }
        if (const std::string loose = looseClipsText(sequence); !loose.empty())
            terminal.note(singleLine(placeOf(sequence) + ": " + loose));
        noteKept(sequence, false, "to keep the picture; --report tells which and why");
        noteKept(sequence, true, "as you asked");
    }
}

}  // namespace reelsweep
