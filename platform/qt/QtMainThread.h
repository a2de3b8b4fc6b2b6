// QtMainThread: the main thread as Qt's event loop.
//
// The thread that creates it is the main thread; it must handle events as long as others may call
// runAndWait. An application object must exist while work is queued.
#pragma once

#include "platform/MainThread.h"

#include <QObject>

#include <deque>
#include <mutex>

namespace reelsweep {

class QtMainThread final : public MainThread {
public:
    QtMainThread();
    ~QtMainThread() override;
    QtMainThread(const QtMainThread&) = delete;
    QtMainThread& operator=(const QtMainThread&) = delete;

    bool isMainThread() const override;
    void post(std::function<void()> work) override;
    /// One round of Qt's event loop: what is pending, or else the first that comes.
    bool pumpOne(std::chrono::milliseconds maxWait) override;

private:
    // Takes one piece of work for each event, so that the interface gets its turns in between.
    class Receiver final : public QObject {
    public:
        explicit Receiver(QtMainThread& owner) : owner_(owner) {}
        bool event(QEvent* event) override;

    private:
        QtMainThread& owner_;
    };

    void runNext();

    Receiver receiver_;
    std::mutex mutex_;
    std::deque<std::function<void()>> queue_;
};

}  // namespace reelsweep
