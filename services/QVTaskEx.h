// QVTaskEx: runs other programs: and forgets them, waits for them, reads what they write, or hands
// their output on chunk by chunk.
//
// A path with a slash is taken as it is; there is no shell and no search. A program must be an
// executable file, else the log and the console say "Error: PATH is not executable". Arguments are
// handed over one by one. A program reads no input: it sees the end of it at once.
//
// Capturing runs read both streams to their ends, which may be after the end of the program when
// something that it started still holds them, and answer its output, or its errors when there is no
// output. Its exit status is no failure to them.
//
// The class operations make an object only for a time-out; the asynchronous run needs one of the
// caller's. Time-outs are whole seconds; a fraction is dropped. The time-out is delivered on the
// main thread: while a run blocks the main thread itself, nothing cuts it short.
// Owner: the caller; an object that reads in the background keeps itself alive meanwhile.
// Thread rule: class operations from any thread; an object makes one run at a time.
#pragma once

#include "base/TextEncoding.h"
#include "platform/ProcessLauncher.h"

#include <any>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class QVTaskEx;

/// Whoever takes the output of an asynchronous run. Messages have names, since one receiver may
/// await several runs.
class TaskDelegate {
public:
    virtual ~TaskDelegate() = default;
    /// True when the delegate takes the message.
    virtual bool respondsToSelector(std::string_view selector) const = 0;
    /// A chunk of output; an empty one is the last. The object is the one given to the run, empty
    /// when there was none. On the run's own thread.
    virtual void taskReturnedData(std::string_view selector, const std::string& data,
                                  QVTaskEx& runner, const std::any& object) = 0;
};

/// Where a run keeps its program while it runs, for others to find. Thread rule: any thread.
class TaskSlot {
public:
    std::shared_ptr<ChildProcess> get() const {
        const std::lock_guard lock(mutex_);
        return task_;
    }
    void set(std::shared_ptr<ChildProcess> task) {
        const std::lock_guard lock(mutex_);
        task_ = std::move(task);
    }

private:
    mutable std::mutex mutex_;
    std::shared_ptr<ChildProcess> task_;
};

class QVTaskEx : public std::enable_shared_from_this<QVTaskEx> {
public:
    using Arguments = std::vector<std::string>;
    using Environment = std::map<std::string, std::string>;
    using Data = std::string;  ///< bytes

    static std::shared_ptr<QVTaskEx> create();
    /// Ends a program that still runs.
    ~QVTaskEx();
    QVTaskEx(const QVTaskEx&) = delete;
    QVTaskEx& operator=(const QVTaskEx&) = delete;

    /// Runs a program to its end without its output; true when it was started, whatever it
    /// answered. The path of a program is checked only when it starts with a slash.
    static bool runTask(const std::string& path, const Arguments& arguments,
                        TaskSlot* task = nullptr);
    /// Meant to be limited to so many seconds; see timedRunTask.
    static void runTask(const std::string& path, const Arguments& arguments, double timeout);
    /// Starts a program and returns.
    static void runTaskAndReturn(const std::string& path, const Arguments& arguments);

    /// What a program wrote, as a text (see TextEncoding.h); empty when there is nothing.
    static std::string stringFromTask(const std::string& path, const Arguments& arguments,
                                      TaskSlot* task = nullptr);
    static std::string stringFromTask(const std::string& path, const Arguments& arguments,
                                      TextEncoding encoding, TaskSlot* task = nullptr);
    static std::string stringFromTask(const std::string& path, const Arguments& arguments,
                                      double timeout);
    static std::string stringFromTask(const std::string& path, const Arguments& arguments,
                                      TextEncoding encoding, double timeout, bool logOutput = true,
                                      bool logError = true);

    /// What a program wrote; empty when it could not be started. A stream that is not captured is
    /// dropped (errors) or goes where that of this process goes (output). With an environment the
    /// program sees nothing of this process's.
    static std::optional<Data> dataFromTask(const std::string& path, const Arguments& arguments,
                                            TaskSlot* task = nullptr,
                                            const std::optional<Environment>& environment = {},
                                            bool logOutput = true, bool logError = true);
    /// The same; a program that still runs after the seconds is ended, and what it wrote until then
    /// is the answer.
    static std::optional<Data> dataFromTask(const std::string& path, const Arguments& arguments,
                                            double timeout, bool logOutput = true,
                                            bool logError = true);

    /// A program's exit status, or the number of the signal that ended it; -1 when it could not be
    /// started.
    static int terminationCodeFromTask(const std::string& path, const Arguments& arguments,
                                       TaskSlot* task = nullptr);
    static int terminationCodeFromTask(const std::string& path, const Arguments& arguments,
                                       double timeout);

    /// The runs with a time-out, on this object.
    std::optional<Data> timedDataFromTask(const std::string& path, const Arguments& arguments,
                                          double timeout, bool logOutput = true,
                                          bool logError = true);
    int timedTerminationCodeFromTask(const std::string& path, const Arguments& arguments,
                                     double timeout);
    /// Runs without a limit in effect: the time-out does not know the program of this run.
    void timedRunTask(const std::string& path, const Arguments& arguments, double timeout);

    /// Ends the program of the present run, when there is one that runs. Main thread.
    void timeout();

    /// Starts a program in the background and returns. Its output goes to the delegate, which is
    /// not owned, as it comes, on a thread of its own, and ends with an empty chunk; errors are
    /// dropped. A delegate that goes away first calls terminateAsyncTask.
    void asyncDataFromTask(const std::string& path, const Arguments& arguments,
                           TaskDelegate* delegate, std::string_view selector, std::any object = {},
                           const std::optional<Environment>& environment = {});
    /// The body of the asynchronous run: starts the program that was set and reads it to its end.
    void launchAsyncTask();
    /// Hands a chunk to the delegate; an empty one also ends the run.
    void asyncTaskReturnData(const Data& data);
    /// Ends the asynchronous run and its program and forgets the delegate. A call of the delegate
    /// that has begun on the reading thread may still be under way.
    void terminateAsyncTask();
    void terminateTask();

    /// The program that runs now, or null.
    std::shared_ptr<ChildProcess> theTask() const { return theTask_.get(); }
    TaskDelegate* delegate() const;
    std::string selector() const;
    std::any object() const;

private:
    class TimeLimit;

    QVTaskEx() = default;
    void launch(std::uint64_t run);
    void startLaunched(const LaunchRequest& request, std::uint64_t run);
    void returnData(const Data& data, std::uint64_t run);
    void terminate(std::optional<std::uint64_t> run);

    TaskSlot theTask_;
    mutable std::mutex mutex_;
    std::optional<LaunchRequest> asyncRequest_;
    TaskDelegate* delegate_ = nullptr;
    std::string selector_;
    std::any object_;
    std::uint64_t run_ = 0;  ///< of asynchronous runs; the start and the end of one change it
};

}  // namespace reelsweep
