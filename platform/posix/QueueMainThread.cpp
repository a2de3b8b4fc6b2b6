#include "platform/posix/QueueMainThread.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace reelsweep {

QueueMainThread::QueueMainThread()
    : thread_(std::this_thread::get_id()), event_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (event_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

QueueMainThread::~QueueMainThread() { ::close(event_); }

bool QueueMainThread::isMainThread() const { return std::this_thread::get_id() == thread_; }

void QueueMainThread::post(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    queue_.push_back(std::move(work));
    // Within the lock: once the work has run, this object may go.
    wake();
}

bool QueueMainThread::pumpOne(std::chrono::milliseconds maxWait) {
    if (runNext()) return true;
    pollfd waiting{event_, POLLIN, 0};
    const auto wait = std::clamp<long>(maxWait.count(), 0, INT_MAX);
    if (::poll(&waiting, 1, static_cast<int>(wait)) <= 0) return false;
    std::uint64_t raised = 0;
    // Only resets the counter; which of post and wake raised it does not matter.
    [[maybe_unused]] const ssize_t size = ::read(event_, &raised, sizeof raised);
    return runNext();
}

void QueueMainThread::wake() noexcept {
    const int savedError = errno;
    const std::uint64_t one = 1;
    // It fails only when the counter is full, and then the main thread is awake anyway.
    [[maybe_unused]] const ssize_t size = ::write(event_, &one, sizeof one);
    errno = savedError;
}

void QueueMainThread::renewAfterFork() {
    ::close(event_);
    event_ = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (event_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

bool QueueMainThread::runNext() {
    std::function<void()> work;
    {
        const std::lock_guard lock(mutex_);
        if (queue_.empty()) return false;
        work = std::move(queue_.front());
        queue_.pop_front();
    }
    work();
    return true;
}

}  // namespace reelsweep
