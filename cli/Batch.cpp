#include "cli/Batch.h"

#include "cli/Application.h"
#include "cli/BatchSummary.h"
#include "cli/FileWorker.h"
#include "cli/Interruption.h"
#include "cli/ReportFile.h"
#include "documents/DocumentFormat.h"

#include <fmt/format.h>
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <poll.h>

namespace reelsweep {

namespace {

// What a tidy may take of memory: a little for itself, and this many times its file.
constexpr std::uint64_t ownMemory = 64UL << 20;
constexpr std::uint64_t memoryPerByte = 10;

// Bytes that processes can still take; as much as anybody wants where the system does not say.
std::uint64_t availableMemory() {
    std::ifstream file("/proc/meminfo");
    std::string name;
    std::uint64_t kilobytes = 0;
    for (std::string unit; file >> name >> kilobytes; std::getline(file, unit))
        if (name == "MemAvailable:") return kilobytes << 10;
    return std::numeric_limits<std::uint64_t>::max();
}

std::size_t jobsFor(const TidyPlan& plan) {
    if (plan.jobs) return std::min(static_cast<std::size_t>(*plan.jobs), plan.files.size());
    std::uint64_t largest = 0;
    for (const PlannedFile& file : plan.files) {
        std::error_code error;
        const auto bytes = std::filesystem::file_size(documentFile(file.input), error);
        if (!error) largest = std::max<std::uint64_t>(largest, bytes);
    }
    const std::uint64_t room = availableMemory() / (ownMemory + memoryPerByte * largest);
    const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
    return std::clamp<std::size_t>(room, 1, std::min(cores, plan.files.size()));
}

class Batch {
public:
    /// `report` is null where none was asked for.
    Batch(Application& application, const TidyPlan& plan, ReportFile* report)
        : application_(application), plan_(plan), report_(report) {}

    ExitCode run();

private:
    Outcome runWorkers();
    void giveWork();
    void waitForResults();
    Outcome replaceEnded();
    void add(std::size_t file, FileResult result);
    void show(std::size_t file, const FileResult& result);
    void showProgress();
    bool isOver() const { return next_ == plan_.files.size() || Interruption::requested(); }

    Application& application_;
    const TidyPlan& plan_;
    ReportFile* report_;
    std::vector<FileWorker> workers_;
    std::size_t next_ = 0;                       ///< file to be given out
    std::size_t done_ = 0;                       ///< files
    std::map<std::size_t, FileResult> waiting_;  ///< for a file before them
    std::size_t shown_ = 0;                      ///< files whose results have been shown
    BatchSummary summary_;
    int started_ = 0;
};

ExitCode Batch::run() {
    if (plan_.files.empty()) {
        application_.terminal().note("there is nothing to tidy");
        return ExitCode::done;
    }
    if (Outcome done = runWorkers(); !done) return application_.fail(done.failure());
    if (Interruption::requested()) {
        application_.terminal().error(
            fmt::format("interrupted; {} of {} files were done with", done_, plan_.files.size()));
        return ExitCode::interrupted;
    }
    const ExitCode printed = application_.printForUser(summary_.text());
    if (summary_.code() != ExitCode::done) return summary_.code();
    return summary_.allPassedOver() ? ExitCode::usage : printed;
}

Outcome Batch::runWorkers() {
    const Interruption::Deferred deferred;
    Terminal& terminal = application_.terminal();
    const std::size_t jobs = jobsFor(plan_);
    workers_.reserve(jobs);
    while (workers_.size() < jobs) {
        Result<FileWorker> worker = FileWorker::start(application_, plan_, ++started_);
        if (!worker) return worker.failure();
        workers_.push_back(std::move(*worker));
    }
    terminal.startProgress();
    bool isStopped = false;
    for (;;) {
        giveWork();
        if (std::none_of(workers_.begin(), workers_.end(),
                         [](const FileWorker& worker) { return worker.isBusy(); }))
            break;
        showProgress();
        waitForResults();
        if (Outcome replaced = replaceEnded(); !replaced) return replaced;
        if (Interruption::requested() && !std::exchange(isStopped, true))
            for (const FileWorker& worker : workers_) worker.stop();
    }
    terminal.endProgress();
    return Done{};
}

void Batch::giveWork() {
    for (FileWorker& worker : workers_)
        if (!worker.isBusy() && !isOver()) worker.give(next_++);
}

void Batch::waitForResults() {
    constexpr int tickMilliseconds = 100;
    std::vector<pollfd> waiting;
    for (const FileWorker& worker : workers_)
        waiting.push_back({worker.isBusy() ? worker.descriptor() : -1, POLLIN, 0});
    const int ready = ::poll(waiting.data(), waiting.size(), tickMilliseconds);
    application_.terminal().tick();
    if (ready <= 0) return;
    for (std::size_t i = 0; i < workers_.size(); ++i) {
        if (waiting[i].revents == 0) continue;
        const std::size_t file = workers_[i].file();
        if (auto result = workers_[i].take()) add(file, std::move(*result));
    }
}

// A process that a file has ended makes room for a new one.
Outcome Batch::replaceEnded() {
    std::size_t ended = 0;
    for (std::size_t i = workers_.size(); i-- > 0;) {
        if (!workers_[i].hasEnded()) continue;
        std::vector<FileWorker> left;
        left.reserve(workers_.capacity());
        for (std::size_t j = 0; j < workers_.size(); ++j)
            if (j != i) left.push_back(std::move(workers_[j]));
        workers_.swap(left);
        ++ended;
    }
    for (; ended > 0 && !isOver(); --ended) {
        Result<FileWorker> worker = FileWorker::start(application_, plan_, ++started_);
        if (!worker) return worker.failure();
        workers_.push_back(std::move(*worker));
    }
    return Done{};
}

void Batch::add(std::size_t file, FileResult result) {
    if (result.code != ExitCode::interrupted) ++done_;
    waiting_.emplace(file, std::move(result));
    for (auto found = waiting_.find(shown_); found != waiting_.end();
         found = waiting_.find(shown_)) {
        show(shown_, found->second);
        waiting_.erase(found);
        ++shown_;
    }
}

void Batch::show(std::size_t file, const FileResult& result) {
    summary_.add(result);
    if (result.code == ExitCode::internalError && result.said.empty()) {
        const std::string& input = plan_.files[file].input;
        const std::string error = input + ": the process that tidied it has ended";
        application_.terminal().error(error);
        ReportedDocument reported;
        reported.input = input;
        reported.errors.push_back(error);
        if (report_) report_->addDocument(reported, nullptr);
        return;
    }
    if (!result.said.empty()) application_.terminal().printLines(result.said);
    if (report_) report_->addPart(result.report);
}

void Batch::showProgress() {
    std::string text = fmt::format("{} of {} files", done_, plan_.files.size());
    if (summary_.failed() > 0) text += fmt::format(", {} failed", summary_.failed());
    application_.terminal().setProgressLabelText(text);
}

}  // namespace

ExitCode runBatch(Application& application, const TidyPlan& plan, ReportFile* report) {
    return Batch(application, plan, report).run();
}

}  // namespace reelsweep
