// FileWorker: a process of this program that tidies one file after the other.
//
// A file that ends the process, or takes all memory, fails alone. The process is forked, so this
// program must have no other thread when a worker starts.
// Owner: the command. Thread rule: main thread.
#pragma once

#include "base/Failure.h"
#include "base/UniqueDescriptor.h"
#include "cli/BatchSummary.h"
#include "cli/TidyPlan.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <sys/types.h>

namespace reelsweep {

class Application;

class FileWorker {
public:
    /// Starts the process number `number`, counted from 1. What it says is kept for its results.
    /// It holds `inherited` open as long as it lives (-1 for nothing). Fails with internal, or with
    /// outputFailed when there is no room for its part of a report.
    static Result<FileWorker> start(Application& application, const TidyPlan& plan, int number,
                                    int inherited = -1);
    FileWorker(FileWorker&& other) noexcept;
    FileWorker& operator=(FileWorker&&) = delete;
    /// Waits for the process, which ends when it is done with its file.
    ~FileWorker();

    bool isBusy() const { return file_.has_value(); }
    /// The file in work: its place in the plan.
    std::size_t file() const { return *file_; }
    /// Gives it a file; only when it is not busy.
    void give(std::size_t file);
    /// Readable when there is something to take.
    int descriptor() const { return channel_.get(); }
    /// Takes what has arrived; the result when it is whole. A process that ended without one is a
    /// result with an internal error.
    std::optional<FileResult> take();
    /// Asks the process to stop its file.
    void stop() const;
    bool hasEnded() const { return hasEnded_; }

private:
    FileWorker(pid_t process, int channel, std::shared_ptr<const SpoolFile> report)
        : process_(process), channel_(channel), report_(std::move(report)) {}

    pid_t process_;
    UniqueDescriptor channel_;
    /// That the process writes parts of a report into; null for no report.
    std::shared_ptr<const SpoolFile> report_;
    std::optional<std::size_t> file_;
    std::string received_;
    bool hasEnded_ = false;
};

}  // namespace reelsweep
