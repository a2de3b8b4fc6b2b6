#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/FileWorker.h"
#include "cli/InputFolder.h"
#include "cli/Interruption.h"
#include "cli/TextTable.h"
#include "cli/TidyArguments.h"
#include "cli/TidyPlan.h"
#include "cli/WatchState.h"
#include "cli/WatchedFolder.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

constexpr const char* asideName = "Set Aside";

struct WatchOptions {
    TidyOptions tidy;
    std::string folder;
    double settling = 2;  ///< seconds
};

// A watch that was killed leaves a process that finishes its file; the lock is that one's until
// then.
Result<UniqueDescriptor> lockFolder(const std::string& folder) {
    constexpr int patienceTenths = 300;
    const std::string path = folder + "/.reelsweep-watch.lock";
    UniqueDescriptor lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    if (!lock) return Failure{FailureCode::outputFailed, std::strerror(errno), path};
    for (int tenth = 0; ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0; ++tenth) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return Failure{FailureCode::outputFailed, std::strerror(errno), path};
        if (tenth == patienceTenths || Interruption::requested())
            return Failure{FailureCode::outputFailed, "another watch writes into this folder",
                           folder};
        ::poll(nullptr, 0, 100);
    }
    return lock;
}

class WatchCommand {
public:
    WatchCommand(Application& application, const WatchOptions& options)
        : application_(application), options_(options) {}

    ExitCode run();

private:
    Outcome begin();
    Outcome serve();
    Outcome tidy(const std::string& name);
    std::optional<FileResult> resultOf(const TidyPlan& plan);
    Outcome conclude(const std::string& name, const FileResult& result, const std::string& output);
    bool setAside(const std::string& name, const std::string& why);
    std::string inputOf(const std::string& name) const { return options_.folder + "/" + name; }
    std::string outputOf(const std::string& name) const;

    Application& application_;
    const WatchOptions& options_;
    UniqueDescriptor lock_;
    std::optional<WatchState> state_;
    std::optional<WatchedFolder> folder_;
};

ExitCode WatchCommand::run() {
    const Interruption::Deferred deferred;
    application_.terminal().setQuiet(options_.tidy.quiet);
    Outcome done = begin();
    if (done) done = serve();
    if (!done && !Interruption::requested()) return application_.fail(done.failure());
    return ExitCode::done;
}

Outcome WatchCommand::begin() {
    const std::string& output = options_.tidy.outputFolder;
    std::error_code error;
    if (options_.tidy.makesFolders) fs::create_directories(output, error);
    if (!fs::is_directory(output, error))
        return Failure{FailureCode::outputFailed, "there is no such folder; --parents makes it",
                       output};
    // What does not fit together is told now, and not for every file.
    TidyOptions options = options_.tidy;
    options.files = {inputOf("film.xml")};
    if (const Result<TidyPlan> plan = planTidy(options); !plan) return plan.failure();
    Result<UniqueDescriptor> lock = lockFolder(output);
    if (!lock) return lock.failure();
    lock_ = std::move(*lock);
    Result<WatchState> state = WatchState::load(output);
    if (!state) return state.failure();
    state_.emplace(std::move(*state));
    if (Outcome settled = state_->settle([&](const std::string& name) { return outputOf(name); });
        !settled)
        return settled;
    const auto settling = std::chrono::milliseconds(static_cast<long>(options_.settling * 1000));
    Result<WatchedFolder> folder = WatchedFolder::open(options_.folder, settling);
    if (!folder) return folder.failure();
    folder_.emplace(std::move(*folder));
    application_.printForUser(fmt::format("Watching {}\n", singleLine(options_.folder)));
    return Done{};
}

Outcome WatchCommand::serve() {
    constexpr int idleMilliseconds = 1000;
    constexpr int waitingMilliseconds = 100;
    while (!Interruption::requested()) {
        pollfd events{folder_->descriptor(), POLLIN, 0};
        ::poll(&events, 1, folder_->isWaiting() ? waitingMilliseconds : idleMilliseconds);
        if (Outcome updated = folder_->update(); !updated) return updated;
        for (const std::string& name : folder_->takeWhole()) {
            if (Interruption::requested()) break;
            const FileIdentity input = identityOfDocument(inputOf(name));
            if (input.known() && state_->doing(name, input) == WatchState::Doing::open)
                if (Outcome tidied = tidy(name); !tidied) return tidied;
        }
    }
    return Done{};
}

std::string WatchCommand::outputOf(const std::string& name) const {
    const fs::path path(name);
    const fs::path result = path.stem().string() + "-Tidied" + path.extension().string();
    return (fs::path(options_.tidy.outputFolder) / result).string();
}

Outcome WatchCommand::tidy(const std::string& name) {
    const std::string output = outputOf(name);
    const FileIdentity before = identityOfDocument(output);
    TidyOptions options = options_.tidy;
    options.files = {inputOf(name)};
    options.force = options.force || state_->isOwnResult(name, before);
    Result<TidyPlan> plan = planTidy(options);
    if (!plan) return plan.failure();
    plan->isBatch = true;
    plan->files.front().found = true;
    const FileIdentity input = identityOfDocument(inputOf(name));
    if (Outcome begun = state_->begin(name, input, before); !begun) return begun;
    const auto result = resultOf(*plan);
    // The next program finds out what became of it.
    if (!result) return Done{};
    if (!result->said.empty()) application_.terminal().printLines(result->said);
    return conclude(name, *result, output);
}

// Nothing when the program is to end.
std::optional<FileResult> WatchCommand::resultOf(const TidyPlan& plan) {
    Result<FileWorker> worker = FileWorker::start(application_, plan, 1, lock_.get());
    if (!worker) return FileResult{.code = application_.fail(worker.failure())};
    worker->give(0);
    bool isStopped = false;
    for (;;) {
        pollfd answer{worker->descriptor(), POLLIN, 0};
        if (::poll(&answer, 1, 100) > 0)
            if (auto result = worker->take()) {
                if (result->code == ExitCode::interrupted) return {};
                return result;
            }
        if (Interruption::requested() && !std::exchange(isStopped, true)) worker->stop();
    }
}

Outcome WatchCommand::conclude(const std::string& name, const FileResult& result,
                               const std::string& output) {
    const FileIdentity written = identityOfDocument(output);
    if (result.code == ExitCode::done) {
        if (!result.isPassedOver)
            application_.printForUser(
                fmt::format("{}: wrote {}\n", singleLine(name), singleLine(output)));
        return state_->finish(name, WatchState::Doing::tidied, written);
    }
    if (result.code == ExitCode::internalError && result.said.empty())
        application_.terminal().error(name + ": the process that tidied it has ended");
    if (result.code == ExitCode::inputFailed && setAside(name, result.errors))
        return state_->forget(name);
    return state_->finish(name, WatchState::Doing::failed, written);
}

// The message first: a file that is set aside always has one. False when it cannot be moved.
bool WatchCommand::setAside(const std::string& name, const std::string& why) {
    const fs::path folder = fs::path(options_.folder) / asideName;
    std::error_code error;
    fs::create_directory(folder, error);
    fs::path place = folder / name;
    for (int number = 2; fs::exists(place, error); ++number)
        place = folder / fmt::format("{} {}{}", fs::path(name).stem().string(), number,
                                     fs::path(name).extension().string());
    AtomicFile message(place.string() + ".txt", Overwrite::always);
    Outcome written = message.open();
    if (written) {
        message.write(why);
        written = message.commit();
    }
    if (written) fs::rename(inputOf(name), place, error);
    if (!written || error) {
        application_.terminal().note(fmt::format("{}: could not be set aside", name));
        return false;
    }
    application_.terminal().note(
        fmt::format("{}: set aside as {}", singleLine(name), singleLine(place.string())));
    return true;
}

}  // namespace

CommandRun defineWatch(CLI::App& parser) {
    const auto options = std::make_shared<WatchOptions>();
    TidyOptions& o = options->tidy;
    parser.add_option("DIR", options->folder, "The folder to watch")->required()->type_name("");
    placeValue(parser.add_option("--output-dir", o.outputFolder,
                                 "Write each result into this folder, as NAME-Tidied.EXT"),
               "DIR")
        ->required();
    parser.add_flag("--parents", o.makesFolders, "Make the folder of --output-dir");
    numberFrom(oneValue(parser.add_option("--settle", options->settling,
                                          "How long a file must have stayed the same to count as\n"
                                          "whole, in seconds (default: 2)"),
                        "SECONDS"),
               0, 3600);
    parser.add_flag("--quiet", o.quiet, "Print errors only");
    defineWhatToDo(parser, o);
    defineRules(parser, o);
    return
        [options](Application& application) { return WatchCommand(application, *options).run(); };
}

}  // namespace reelsweep
