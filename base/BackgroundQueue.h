// BackgroundQueue: work done one after the other on a thread of its own.
//
// Owner: the caller; the destructor waits for what is queued. Thread rule: any thread may add.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace reelsweep {

class BackgroundQueue {
public:
    BackgroundQueue() = default;
    ~BackgroundQueue() { finish(); }
    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;

    void add(std::function<void()> work) {
        const std::lock_guard lock(mutex_);
        queue_.push_back(std::move(work));
        if (!thread_.joinable()) thread_ = std::thread(&BackgroundQueue::run, this);
        changed_.notify_one();
    }

    /// Drops what has not begun.
    void cancel() {
        const std::lock_guard lock(mutex_);
        queue_.clear();
    }

    /// Waits until everything is done. For the owner, who adds nothing meanwhile.
    void finish() {
        {
            const std::lock_guard lock(mutex_);
            ending_ = true;
        }
        changed_.notify_one();
        if (thread_.joinable()) thread_.join();
        const std::lock_guard lock(mutex_);
        ending_ = false;
    }

private:
    void run() {
        std::unique_lock lock(mutex_);
        while (true) {
            changed_.wait(lock, [this] { return ending_ || !queue_.empty(); });
            if (queue_.empty()) return;
            const std::function<void()> work = std::move(queue_.front());
            queue_.pop_front();
            lock.unlock();
            work();
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> queue_;
    std::thread thread_;
    bool ending_ = false;
};

}  // namespace reelsweep
