// Application: what every command stands on: the platform, the log, messages, and work in the
// background while the main thread serves the document.
//
// Owner: main; lives until the process ends. Thread rule: main thread only, unless said otherwise.
#pragma once

#include "base/Failure.h"
#include "cli/ExitCode.h"
#include "cli/Terminal.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class QueueMainThread;

class Application {
public:
    /// Installs the platform and the handling of Ctrl-C.
    Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    static std::string version();

    Terminal& terminal() { return terminal_; }

    /// Starts a fresh log, named after this program so that it never pushes the desktop
    /// application's logs out.
    void openLog();
    /// In a process that was just forked, before anything else: it shows no progress and has a log
    /// of its own.
    void becomeWorker(int number);

    /// Runs `work` on a thread of its own and serves the main thread's queue until it is done. When
    /// the user interrupts, the token that the work was given is stopped. Throws what the work
    /// throws.
    void runInterruptible(const std::function<void(std::stop_token)>& work);

    /// Begins a file: messages from now on are about it.
    void setCurrentFile(std::string name);
    /// Tells the user about a failure, or several of one step, and answers the exit code of the
    /// first.
    ExitCode fail(const Failure& failure) { return fail(std::vector<Failure>{failure}); }
    ExitCode fail(const std::vector<Failure>& failures);
    /// What the user was told about the current file, in order.
    const std::vector<std::string>& messages() const { return messages_; }

    /// Writes a command's data to standard output.
    ExitCode printData(std::string_view text);
    /// Whole lines for the user to read: nothing when quiet; on standard error when standard output
    /// carries data.
    ExitCode printForUser(std::string_view lines);
    void setStandardOutputTaken(bool taken) { standardOutputTaken_ = taken; }

    /// Keeps an object until the next call, or the end of the process, which frees nothing.
    void keep(std::shared_ptr<void> object) { kept_ = std::move(object); }

    /// Ends the process. The log is complete then; memory is left to the system, since freeing the
    /// millions of nodes of a long film takes longer than reading them.
    [[noreturn]] void leave(ExitCode code);

private:
    QueueMainThread* mainThread_ = nullptr;
    Terminal terminal_;
    std::string currentFile_;
    std::vector<std::string> messages_;
    bool standardOutputTaken_ = false;
    std::shared_ptr<void> kept_;
};

}  // namespace reelsweep
