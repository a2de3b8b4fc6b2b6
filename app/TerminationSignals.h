// TerminationSignals: the wish of the system that the program ends (SIGTERM, SIGINT, SIGHUP), as an
// event.
//
// Owner: main; one at a time. Thread rule: main thread.
#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace reelsweep {

class TerminationSignals {
public:
    /// Calls the function on the main thread when such a signal comes.
    explicit TerminationSignals(std::function<void()> terminate);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace reelsweep
