// DocumentThread: the background thread of a document, and the waiting for it.
//
// Owner: the document. Thread rule: start and wait on one thread, usually the main one.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace reelsweep {

class DocumentThread {
public:
    ~DocumentThread() { wait(); }

    /// Runs the work on a thread of its own, once the work before it has ended. `ended`, when
    /// given, is run on the main thread afterwards, even when this object is gone by then.
    void start(std::function<void()> work, std::function<void()> ended = {});
    /// Blocks until the work has ended. On the main thread events go on being handled meanwhile:
    /// the work may be waiting for the main thread to show something.
    void wait();

private:
    std::thread thread_;
    std::atomic<bool> running_{false};
};

/// Runs the work on the main thread and returns when it is done.
void onMainThread(const std::function<void()>& work);

}  // namespace reelsweep
