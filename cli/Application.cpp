#include "cli/Application.h"

#include "cli/Interruption.h"
#include "cli/StandardStreams.h"
#include "platform/posix/CommandLinePlatform.h"
#include "platform/posix/ConsoleAlertPresenter.h"
#include "platform/posix/QueueMainThread.h"
#include "platform/posix/StandardConsole.h"
#include "services/QVLog.h"

#include <unistd.h>
#include <chrono>
#include <exception>
#include <thread>
#include <utility>

namespace reelsweep {

namespace {

// Lines for the system console, put where they do not run into the progress line.
class TerminalConsole final : public Console {
public:
    TerminalConsole(MainThread& mainThread, Terminal& terminal)
        : mainThread_(mainThread), terminal_(terminal) {}

    void print(std::string_view text) override { standard_.print(text); }
    void log(std::string_view line) override {
        // At once where that can be, so that a reason comes before the error that it explains.
        if (mainThread_.isMainThread())
            terminal_.print(line);
        else
            mainThread_.post([this, text = std::string(line)] { terminal_.print(text); });
    }

private:
    MainThread& mainThread_;
    Terminal& terminal_;
    StandardConsole standard_;
};

}  // namespace

Application::Application() {
    Platform platform = commandLinePlatform();
    auto mainThread = std::make_unique<QueueMainThread>();
    platform.console = std::make_unique<TerminalConsole>(*mainThread, terminal_);
    mainThread_ = mainThread.get();
    platform.mainThread = std::move(mainThread);
    platform.alertPresenter =
        std::make_unique<ConsoleAlertPresenter>([this](std::string_view line, AlertStyle style) {
            // Notes of success ask to save the file, which the program does by itself.
            if (style == AlertStyle::informational) return;
            messages_.emplace_back(line);
            terminal_.error(currentFile_ + ": " + messages_.back());
        });
    Platform::install(std::move(platform));
    Interruption::install(*mainThread_);
}

std::string Application::version() {
    return Platform::current().bundle->infoValue("CFBundleShortVersionString").value_or("unknown");
}

void Application::openLog() { QVLog::createNewLog("reelsweep-cli", true); }

void Application::becomeWorker(int number) {
    mainThread_->renewAfterFork();
    terminal_.hideProgress();
    QVLog::createNewLog("reelsweep-cli-job" + std::to_string(number), true);
}

void Application::runInterruptible(const std::function<void(std::stop_token)>& work) {
    constexpr std::chrono::milliseconds tickInterval{100};
    const Interruption::Deferred deferred;
    std::exception_ptr error;
    bool done = false;
    std::jthread worker([&](std::stop_token stop) {
        try {
            work(std::move(stop));
        } catch (...) {
            error = std::current_exception();
        }
        mainThread_->post([&done] { done = true; });
    });
    auto nextTick = std::chrono::steady_clock::now() + tickInterval;
    while (!done) {
        if (Interruption::requested()) worker.request_stop();
        mainThread_->pumpOne(tickInterval);
        // Not at every turn: a run sets its label far more often than anyone can read.
        if (const auto now = std::chrono::steady_clock::now(); now >= nextTick) {
            terminal_.tick();
            nextTick = now + tickInterval;
        }
    }
    worker.join();
    if (error) std::rethrow_exception(error);
}

void Application::setCurrentFile(std::string name) {
    currentFile_ = std::move(name);
    messages_.clear();
}

ExitCode Application::fail(const std::vector<Failure>& failures) {
    for (const Failure& failure : failures) {
        messages_.push_back(failure.description());
        terminal_.error(messages_.back());
    }
    return exitCodeFor(failures.front().code);
}

ExitCode Application::printData(std::string_view text) {
    StandardOutput output;
    output.write(text);
    const Outcome printed = output.finish();
    return printed ? ExitCode::done : fail(printed.failure());
}

ExitCode Application::printForUser(std::string_view lines) {
    if (terminal_.isQuiet()) return ExitCode::done;
    if (!standardOutputTaken_) return printData(lines);
    terminal_.printLines(lines);
    return ExitCode::done;
}

void Application::leave(ExitCode code) {
    while (mainThread_->pumpOne(std::chrono::milliseconds(0))) {
    }
    QVLog::finishWriting();
    ::_exit(static_cast<int>(code));
}

}  // namespace reelsweep
