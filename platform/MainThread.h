// MainThread: the one thread that owns the interface, seen from every other thread.
//
// Owner: Platform. Thread rule: every operation may be called from any thread, except pumpOne,
// which belongs to the main thread.
#pragma once

#include <chrono>
#include <functional>

namespace reelsweep {

class MainThread {
public:
    virtual ~MainThread() = default;

    /// True when the caller runs on the main thread.
    virtual bool isMainThread() const = 0;

    /// Runs the work on the main thread and returns when it is done. On the main thread it runs at
    /// once, ahead of what is queued. What the work throws is thrown to the caller.
    void runAndWait(std::function<void()> work);

    /// Queues the work for the main thread and returns at once.
    virtual void post(std::function<void()> work) = 0;

    /// Handles at most one interface event or queued work, waiting for it at most maxWait. True
    /// when something was handled.
    virtual bool pumpOne(std::chrono::milliseconds maxWait) = 0;
};

}  // namespace reelsweep
