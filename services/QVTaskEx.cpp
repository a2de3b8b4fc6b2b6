#include "services/QVTaskEx.h"

#include "platform/Platform.h"
#include "services/QVLog.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep {

namespace {

bool isExecutableFile(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

/// False, said in the log and on the console, for a folder (an application bundle is one), a file
/// without the right to be executed, and a path where nothing is.
bool checkExecutable(const std::string& path) {
    if (isExecutableFile(path)) return true;
    QVLog::appendLogAndPrint("Error: %@ is not executable", path);
    return false;
}

std::shared_ptr<ChildProcess> start(const LaunchRequest& request) {
    const ProcessLauncher::Launch launch = Platform::current().processLauncher->launch(request);
    if (!launch.child) throw std::system_error(launch.error);
    return launch.child;
}

/// Starts a program whose streams nobody sees.
std::shared_ptr<ChildProcess> startQuiet(const std::string& path,
                                         const QVTaskEx::Arguments& arguments, TaskSlot* slot) {
    LaunchRequest request;
    request.path = path;
    request.arguments = arguments;
    std::shared_ptr<ChildProcess> child = start(request);
    if (slot) slot->set(child);
    return child;
}

std::string decoded(const std::optional<QVTaskEx::Data>& data, TextEncoding encoding) {
    return data ? decodedText(*data, encoding) : std::string();
}

}  // namespace

/// The time-out of one run. It ends with the run, except for one that is on its way to a main
/// thread that is busy: that one comes too late and finds nothing to end.
class QVTaskEx::TimeLimit {
public:
    TimeLimit(std::shared_ptr<QVTaskEx> runner, double seconds)
        : state_(std::make_shared<State>()) {
        const std::chrono::seconds wholeSeconds(
            std::isfinite(seconds) ? static_cast<long>(std::clamp(seconds, 0.0, 1e9)) : 0);
        try {
            thread_ =
                std::thread(&TimeLimit::setupTimeout, std::move(runner), state_, wholeSeconds);
        } catch (const std::system_error& error) {
            QVLog::appendLog("Exception: %@", error.what());  // the run has no limit then
        }
    }
    ~TimeLimit() {
        bool fired = false;
        {
            const std::lock_guard lock(state_->mutex);
            state_->cancelled = true;
            fired = state_->fired;
        }
        state_->changed.notify_all();
        if (!thread_.joinable()) return;
        // One that fired may wait for the main thread, which may wait here.
        if (fired)
            thread_.detach();
        else
            thread_.join();
    }
    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;

private:
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        bool cancelled = false;
        bool fired = false;
    };

    static void setupTimeout(const std::shared_ptr<QVTaskEx>& runner,
                             const std::shared_ptr<State>& state, std::chrono::seconds seconds) {
        {
            std::unique_lock lock(state->mutex);
            if (state->changed.wait_for(lock, seconds, [&] { return state->cancelled; })) return;
            state->fired = true;
        }
        Platform::current().mainThread->runAndWait([runner] { runner->timeout(); });
    }

    std::shared_ptr<State> state_;
    std::thread thread_;
};

std::shared_ptr<QVTaskEx> QVTaskEx::create() { return std::shared_ptr<QVTaskEx>(new QVTaskEx); }

QVTaskEx::~QVTaskEx() {
    if (const auto task = theTask_.get()) task->terminate();
}

bool QVTaskEx::runTask(const std::string& path, const Arguments& arguments, TaskSlot* task) {
    if (path.starts_with('/') && !checkExecutable(path)) return false;
    try {
        startQuiet(path, arguments, task)->waitUntilExit();
        return true;
    } catch (const std::exception& exception) {
        QVLog::appendLog("Exception running task %@: %@", path, exception.what());
        return false;
    }
}

void QVTaskEx::runTask(const std::string& path, const Arguments& arguments, double timeout) {
    create()->timedRunTask(path, arguments, timeout);
}

void QVTaskEx::runTaskAndReturn(const std::string& path, const Arguments& arguments) {
    if (!checkExecutable(path)) return;
    try {
        startQuiet(path, arguments, nullptr);
    } catch (const std::exception& exception) {
        QVLog::appendLog("Exception running task %@: %@", path, exception.what());
    }
}

std::string QVTaskEx::stringFromTask(const std::string& path, const Arguments& arguments,
                                     TaskSlot* task) {
    return stringFromTask(path, arguments, TextEncoding::ascii, task);
}

std::string QVTaskEx::stringFromTask(const std::string& path, const Arguments& arguments,
                                     TextEncoding encoding, TaskSlot* task) {
    return decoded(dataFromTask(path, arguments, task), encoding);
}

std::string QVTaskEx::stringFromTask(const std::string& path, const Arguments& arguments,
                                     double timeout) {
    return stringFromTask(path, arguments, TextEncoding::ascii, timeout);
}

std::string QVTaskEx::stringFromTask(const std::string& path, const Arguments& arguments,
                                     TextEncoding encoding, double timeout, bool logOutput,
                                     bool logError) {
    return decoded(dataFromTask(path, arguments, timeout, logOutput, logError), encoding);
}

std::optional<QVTaskEx::Data> QVTaskEx::dataFromTask(const std::string& path,
                                                     const Arguments& arguments, TaskSlot* task,
                                                     const std::optional<Environment>& environment,
                                                     bool logOutput, bool logError) {
    if (!checkExecutable(path)) return {};
    try {
        LaunchRequest request{path, arguments, environment};
        request.input = ChildStream::pipe;
        request.output = logOutput ? ChildStream::pipe : ChildStream::inherit;
        request.error = logError ? ChildStream::pipe : ChildStream::nullDevice;
        const std::shared_ptr<ChildProcess> child = start(request);
        if (task) task->set(child);
        Data output;
        Data errors;
        while (const auto chunk = child->readAvailable())
            (chunk->isError ? errors : output) += chunk->bytes;
        if (!logOutput && !logError) child->waitUntilExit();
        return output.empty() ? errors : output;
    } catch (const std::exception& exception) {
        QVLog::appendLogAndPrint("Exception running task %@: %@", path, exception.what());
        return {};
    }
}

std::optional<QVTaskEx::Data> QVTaskEx::dataFromTask(const std::string& path,
                                                     const Arguments& arguments, double timeout,
                                                     bool logOutput, bool logError) {
    return create()->timedDataFromTask(path, arguments, timeout, logOutput, logError);
}

int QVTaskEx::terminationCodeFromTask(const std::string& path, const Arguments& arguments,
                                      TaskSlot* task) {
    if (!checkExecutable(path)) return -1;
    try {
        return startQuiet(path, arguments, task)->waitUntilExit();
    } catch (const std::exception& exception) {
        QVLog::appendLogAndPrint("Exception running task %@: %@", path, exception.what());
        return -1;
    }
}

int QVTaskEx::terminationCodeFromTask(const std::string& path, const Arguments& arguments,
                                      double timeout) {
    return create()->timedTerminationCodeFromTask(path, arguments, timeout);
}

std::optional<QVTaskEx::Data> QVTaskEx::timedDataFromTask(const std::string& path,
                                                          const Arguments& arguments,
                                                          double timeout, bool logOutput,
                                                          bool logError) {
    const TimeLimit limit(shared_from_this(), timeout);
    theTask_.set(nullptr);
    auto data = dataFromTask(path, arguments, &theTask_, {}, logOutput, logError);
    theTask_.set(nullptr);
    return data;
}

int QVTaskEx::timedTerminationCodeFromTask(const std::string& path, const Arguments& arguments,
                                           double timeout) {
    const TimeLimit limit(shared_from_this(), timeout);
    theTask_.set(nullptr);
    const int code = terminationCodeFromTask(path, arguments, &theTask_);
    theTask_.set(nullptr);
    return code;
}

void QVTaskEx::timedRunTask(const std::string& path, const Arguments& arguments, double timeout) {
    const TimeLimit limit(shared_from_this(), timeout);
    // A slot of its own, not theTask: callers that start long jobs this way have always had them
    // run to their ends, so the time-out still does not find the program.
    TaskSlot slot;
    runTask(path, arguments, &slot);
}

void QVTaskEx::timeout() {
    const std::shared_ptr<ChildProcess> task = theTask_.get();
    if (!task || !task->isRunning()) return;
    QVLog::appendLogAndPrint("Task %@ timed out. Terminating...", task->launchPath());
    task->terminate();
}

void QVTaskEx::asyncDataFromTask(const std::string& path, const Arguments& arguments,
                                 TaskDelegate* delegate, std::string_view selector, std::any object,
                                 const std::optional<Environment>& environment) {
    std::uint64_t run = 0;
    {
        const std::lock_guard lock(mutex_);
        delegate_ = delegate;
        selector_ = selector;
        object_ = std::move(object);
        run = ++run_;
        asyncRequest_ = LaunchRequest{path, arguments, environment};
        asyncRequest_->output = ChildStream::pipe;
    }
    try {
        std::thread([self = shared_from_this(), run] { self->launch(run); }).detach();
    } catch (const std::exception& exception) {
        QVLog::appendLogAndPrint("Exception: %@", exception.what());
    }
}

void QVTaskEx::launchAsyncTask() {
    std::uint64_t run = 0;
    {
        const std::lock_guard lock(mutex_);
        run = run_;
    }
    launch(run);
}

void QVTaskEx::launch(std::uint64_t run) {
    std::optional<LaunchRequest> request;
    {
        const std::lock_guard lock(mutex_);
        if (run != run_) return;  // ended before it began
        request = std::exchange(asyncRequest_, std::nullopt);
    }
    if (!request) {
        QVLog::appendLogAndPrint("Unable to launch async task - no task set");
        return;
    }
    if (!isExecutableFile(request->path)) {
        QVLog::appendLog("Unable to launch async task - task does not exist or is not executable");
        return;
    }
    try {
        startLaunched(*request, run);
    } catch (const std::exception& exception) {
        QVLog::appendLogAndPrint("Exception: %@", exception.what());
    }
}

void QVTaskEx::startLaunched(const LaunchRequest& request, std::uint64_t run) {
    const std::shared_ptr<ChildProcess> child = start(request);
    {
        const std::lock_guard lock(mutex_);
        // The run may have been ended before there was a program.
        if (run == run_)
            theTask_.set(child);
        else
            child->terminate();
    }
    while (const auto chunk = child->readAvailable()) returnData(chunk->bytes, run);
    returnData({}, run);
}

void QVTaskEx::asyncTaskReturnData(const Data& data) {
    std::uint64_t run = 0;
    {
        const std::lock_guard lock(mutex_);
        run = run_;
    }
    returnData(data, run);
}

/// What a reader brings for a run that was ended goes nowhere: the object may be on another run.
void QVTaskEx::returnData(const Data& data, std::uint64_t run) {
    TaskDelegate* delegate = nullptr;
    std::string selector;
    std::any object;
    {
        const std::lock_guard lock(mutex_);
        if (run != run_) return;
        delegate = delegate_;
        selector = selector_;
        object = object_;
    }
    if (delegate && !selector.empty() && delegate->respondsToSelector(selector))
        delegate->taskReturnedData(selector, data, *this, object);
    if (data.empty()) terminate(run);
}

void QVTaskEx::terminateAsyncTask() { terminate({}); }

void QVTaskEx::terminate(std::optional<std::uint64_t> run) {
    std::shared_ptr<ChildProcess> task;
    {
        const std::lock_guard lock(mutex_);
        if (run && *run != run_) return;
        ++run_;
        delegate_ = nullptr;
        selector_.clear();
        object_.reset();
        asyncRequest_.reset();
        task = theTask_.get();
        theTask_.set(nullptr);
    }
    if (!task) return;
    task->stopReading();
    task->terminate();
}

void QVTaskEx::terminateTask() { terminateAsyncTask(); }

TaskDelegate* QVTaskEx::delegate() const {
    const std::lock_guard lock(mutex_);
    return delegate_;
}

std::string QVTaskEx::selector() const {
    const std::lock_guard lock(mutex_);
    return selector_;
}

std::any QVTaskEx::object() const {
    const std::lock_guard lock(mutex_);
    return object_;
}

}  // namespace reelsweep
