#include "platform/qt/QtMainThread.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <QTimer>

#include <utility>

namespace reelsweep {

bool QtMainThread::Receiver::event(QEvent* event) {
    if (event->type() != QEvent::User) return QObject::event(event);
    owner_.runNext();
    return true;
}

QtMainThread::QtMainThread() : receiver_(*this) {}

QtMainThread::~QtMainThread() = default;

bool QtMainThread::isMainThread() const { return QThread::currentThread() == receiver_.thread(); }

void QtMainThread::post(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    queue_.push_back(std::move(work));
    // Within the lock: once the work has run, this object may go.
    QCoreApplication::postEvent(&receiver_, new QEvent(QEvent::User));
}

bool QtMainThread::pumpOne(std::chrono::milliseconds maxWait) {
    auto* const dispatcher = QAbstractEventDispatcher::instance();
    if (!dispatcher) return false;
    if (dispatcher->processEvents(QEventLoop::AllEvents)) return true;
    if (maxWait.count() <= 0) return false;
    // A timer ends the wait, which Qt does not limit by itself.
    bool timedOut = false;
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, [&timedOut] { timedOut = true; });
    limit.start(maxWait);
    dispatcher->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    return !timedOut;
}

void QtMainThread::runNext() {
    std::function<void()> work;
    {
        const std::lock_guard lock(mutex_);
        if (queue_.empty()) return;
        work = std::move(queue_.front());
        queue_.pop_front();
    }
    work();
}

}  // namespace reelsweep
