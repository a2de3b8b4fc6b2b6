#include "platform/posix/PosixProcessLauncher.h"

#include "base/UniqueDescriptor.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>

namespace reelsweep {

namespace {

using std::chrono::milliseconds;

std::error_code errorOf(int number) { return {number, std::generic_category()}; }

/// A child's life, shared by its handles and the thread that waits for its end.
class ChildLife {
public:
    bool isRunning() const {
        const std::lock_guard lock(mutex_);
        return !ended_;
    }

    int waitUntilExit() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return ended_; });
        return status_;
    }

    bool waitFor(milliseconds patience) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, patience, [this] { return ended_; });
    }

    /// Sends the signal to the child's group, unless the child has ended.
    void signal(int number) {
        const std::lock_guard lock(mutex_);
        if (!ended_) ::kill(ownGroup_ ? -process_ : process_, number);
    }

    void started(pid_t process, bool ownGroup) {
        const std::lock_guard lock(mutex_);
        process_ = process;
        ownGroup_ = ownGroup;
    }

    /// Waits for the end of the child and notes how it ended.
    void reap() {
        siginfo_t info{};
        // The child stays a zombie until the lock is held, so that nobody signals a process that
        // got its number since.
        while (::waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOWAIT) != 0 &&
               errno == EINTR) {
        }
        const std::lock_guard lock(mutex_);
        int status = 0;
        while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) {
        }
        status_ = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
        ended_ = true;
        changed_.notify_all();
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    pid_t process_ = 0;
    bool ownGroup_ = false;
    bool ended_ = false;
    int status_ = 0;
};

/// The two ends of the streams of a child that is about to start.
struct Pipes {
    std::array<UniqueDescriptor, 3> childEnds;   ///< none: inherited
    std::array<UniqueDescriptor, 3> parentEnds;  ///< none: not a pipe

    int prepare(const LaunchRequest& request) {
        const std::array<ChildStream, 3> streams{request.input, request.output, request.error};
        for (std::size_t i = 0; i < streams.size(); ++i)
            if (const int error = prepare(i, streams[i])) return error;
        // Nothing will come: a child that reads its input sees the end of it.
        parentEnds[0].reset();
        return 0;
    }

private:
    int prepare(std::size_t number, ChildStream stream) {
        if (stream == ChildStream::nullDevice) {
            childEnds[number].reset(
                aboveStandard(::open("/dev/null", (number ? O_WRONLY : O_RDONLY) | O_CLOEXEC)));
            return childEnds[number] ? 0 : errno;
        }
        if (stream == ChildStream::inherit) return 0;
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) return errno;
        const bool childReads = number == 0;
        childEnds[number].reset(aboveStandard(ends[childReads ? 0 : 1]));
        parentEnds[number].reset(aboveStandard(ends[childReads ? 1 : 0]));
        return childEnds[number] && parentEnds[number] ? 0 : errno;
    }

    /// The descriptor under a number that is not one of a child's standard streams: a process whose
    /// own streams are closed gets low numbers.
    static int aboveStandard(int descriptor) {
        if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
        const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        const int error = errno;
        ::close(descriptor);
        errno = error;
        return moved;
    }
};

/// How a child differs from this process: its streams, signals and group.
class SpawnSettings {
public:
    SpawnSettings(const Pipes& pipes, bool ownGroup) {
        ::posix_spawn_file_actions_init(&actions_);
        ::posix_spawnattr_init(&attributes_);
        for (std::size_t i = 0; i < pipes.childEnds.size(); ++i)
            if (pipes.childEnds[i])
                check(::posix_spawn_file_actions_adddup2(&actions_, pipes.childEnds[i].get(),
                                                         static_cast<int>(i)));
        check(::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
        // What this process ignores or blocks is no business of the child.
        sigset_t all{};
        sigset_t none{};
        ::sigfillset(&all);
        ::sigemptyset(&none);
        check(::posix_spawnattr_setsigdefault(&attributes_, &all));
        check(::posix_spawnattr_setsigmask(&attributes_, &none));
        check(::posix_spawnattr_setpgroup(&attributes_, 0));
        const int group = ownGroup ? POSIX_SPAWN_SETPGROUP : 0;
        check(::posix_spawnattr_setflags(
            &attributes_,
            static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | group)));
    }
    ~SpawnSettings() {
        ::posix_spawn_file_actions_destroy(&actions_);
        ::posix_spawnattr_destroy(&attributes_);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    int error() const { return error_; }
    const posix_spawn_file_actions_t* actions() const { return &actions_; }
    const posix_spawnattr_t* attributes() const { return &attributes_; }

private:
    void check(int error) {
        if (error && !error_) error_ = error;
    }

    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
    int error_ = 0;
};

/// The texts as the array that programs are started with.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

int spawn(const LaunchRequest& request, const Pipes& pipes, pid_t& process) {
    const SpawnSettings settings(pipes, request.ownProcessGroup);
    if (settings.error()) return settings.error();
    std::vector<std::string> arguments{request.path};
    arguments.insert(arguments.end(), request.arguments.begin(), request.arguments.end());
    std::vector<std::string> variables;
    if (request.environment) {
        variables.reserve(request.environment->size());
        for (const auto& [name, value] : *request.environment)
            variables.emplace_back(name).append("=").append(value);
    }
    const std::vector<char*> argumentPointers = pointersTo(arguments);
    const std::vector<char*> variablePointers = pointersTo(variables);
    return ::posix_spawn(&process, request.path.c_str(), settings.actions(), settings.attributes(),
                         argumentPointers.data(),
                         request.environment ? variablePointers.data() : ::environ);
}

class PosixChildProcess final : public ChildProcess {
public:
    PosixChildProcess(std::string path, std::shared_ptr<ChildLife> life, Pipes& pipes,
                      UniqueDescriptor stop, milliseconds patience)
        : path_(std::move(path)),
          life_(std::move(life)),
          streams_{std::move(pipes.parentEnds[1]), std::move(pipes.parentEnds[2])},
          stop_(std::move(stop)),
          patience_(patience) {}

    const std::string& launchPath() const override { return path_; }
    bool isRunning() const override { return life_->isRunning(); }
    int waitUntilExit() override { return life_->waitUntilExit(); }

    void terminate() override {
        life_->signal(SIGTERM);
        if (!isRunning()) return;
        std::thread([life = life_, patience = patience_] {
            if (!life->waitFor(patience)) life->signal(SIGKILL);
        }).detach();
    }

    std::optional<Chunk> readAvailable() override {
        while (!stopped_ && (streams_[0] || streams_[1])) {
            std::array<pollfd, 3> waiting{pollfd{streams_[0].get(), POLLIN, 0},
                                          pollfd{streams_[1].get(), POLLIN, 0},
                                          pollfd{stop_.get(), POLLIN, 0}};
            if (::poll(waiting.data(), waiting.size(), -1) < 0) {
                if (errno == EINTR) continue;
                throw std::system_error(errorOf(errno), "poll");
            }
            if (waiting[2].revents) break;
            for (const std::size_t i : {0U, 1U}) {
                if (!waiting[i].revents) continue;
                if (std::string bytes = readFrom(streams_[i]); !bytes.empty())
                    return Chunk{i == 1, std::move(bytes)};
            }
        }
        for (UniqueDescriptor& stream : streams_) stream.reset();
        return {};
    }

    void stopReading() override {
        stopped_ = true;
        const std::uint64_t one = 1;
        // It fails only when it was raised before, which does as well.
        [[maybe_unused]] const ssize_t size = ::write(stop_.get(), &one, sizeof one);
    }

private:
    /// The next bytes; closes the stream at its end.
    static std::string readFrom(UniqueDescriptor& stream) {
        std::string bytes(65536, '\0');
        ssize_t size = 0;
        do {
            size = ::read(stream.get(), bytes.data(), bytes.size());
        } while (size < 0 && errno == EINTR);
        if (size < 0) throw std::system_error(errorOf(errno), "read");
        if (size == 0) stream.reset();
        bytes.resize(static_cast<std::size_t>(size));
        return bytes;
    }

    const std::string path_;
    const std::shared_ptr<ChildLife> life_;
    std::array<UniqueDescriptor, 2> streams_;  ///< output and error; belong to the reading thread
    const UniqueDescriptor stop_;              ///< an eventfd, raised by stopReading
    std::atomic<bool> stopped_ = false;
    const milliseconds patience_;
};

/// Starts the child and, when that worked, waits for its end. Runs on the thread of the child.
void watch(const LaunchRequest& request, const Pipes& pipes, const std::shared_ptr<ChildLife>& life,
           std::promise<int> started) {
    pid_t process = 0;
    const int error = spawn(request, pipes, process);
    if (!error) life->started(process, request.ownProcessGroup);
    // The request and the pipes belong to the launching thread again after this.
    started.set_value(error);
    if (!error) life->reap();
}

}  // namespace

ProcessLauncher::Launch PosixProcessLauncher::launch(const LaunchRequest& request) {
    Pipes pipes;
    if (const int error = pipes.prepare(request)) return {nullptr, errorOf(error)};
    UniqueDescriptor stop(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    if (!stop) return {nullptr, errorOf(errno)};
    const auto life = std::make_shared<ChildLife>();
    std::promise<int> started;
    std::future<int> start = started.get_future();
    try {
        // The thread comes first: without one there would be a child that nobody reaps.
        std::thread(watch, std::cref(request), std::cref(pipes), life, std::move(started)).detach();
    } catch (const std::system_error& error) {
        return {nullptr, error.code()};
    }
    if (const int error = start.get()) return {nullptr, errorOf(error)};
    return {
        std::make_shared<PosixChildProcess>(request.path, life, pipes, std::move(stop), patience_),
        {}};
}

}  // namespace reelsweep
