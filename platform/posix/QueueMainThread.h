// QueueMainThread: a main thread without a toolkit, for the command line and tests.
//
// The thread that creates it is the main thread; it must pump as long as others may call
// runAndWait.
#pragma once

#include "platform/MainThread.h"

#include <deque>
#include <mutex>
#include <thread>

namespace reelsweep {

class QueueMainThread final : public MainThread {
public:
    /// Throws std::system_error when the process has no file descriptor left.
    QueueMainThread();
    ~QueueMainThread() override;
    QueueMainThread(const QueueMainThread&) = delete;
    QueueMainThread& operator=(const QueueMainThread&) = delete;

    bool isMainThread() const override;
    void post(std::function<void()> work) override;
    /// Also returns, false, as soon as wake() is called or a signal handler ran.
    bool pumpOne(std::chrono::milliseconds maxWait) override;

    /// Ends the wait of the current pumpOne, or else of the next, at once. Async-signal-safe: a
    /// handler sets its flag, wakes, and the loop around pumpOne looks at the flag.
    void wake() noexcept;
    /// In a process that was just forked: its wakes are its own from now on. Throws when it cannot.
    void renewAfterFork();

private:
    bool runNext();

    const std::thread::id thread_;
    int event_;  ///< an eventfd, raised by post and wake
    std::mutex mutex_;
    std::deque<std::function<void()>> queue_;
};

}  // namespace reelsweep
