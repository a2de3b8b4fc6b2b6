#include "app/TerminationSignals.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace reelsweep {

namespace {

constexpr std::array signalsOfTheEnd = {SIGTERM, SIGINT, SIGHUP};
int raised = -1;  // an eventfd

// Only what a handler may do: the rest is done by the event loop.
void raise(int) {
    const int savedError = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t size = ::write(raised, &one, sizeof one);
    errno = savedError;
}

void handleWith(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    for (const int signal : signalsOfTheEnd) ::sigaction(signal, &action, nullptr);
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> terminate) {
    raised = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    // Without one the signals do what they always do.
    if (raised < 0) return;
    notifier_ = std::make_unique<QSocketNotifier>(raised, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [run = std::move(terminate)] { run(); });
    handleWith(raise);
}

TerminationSignals::~TerminationSignals() {
    if (raised < 0) return;
    handleWith(SIG_DFL);
    notifier_.reset();
    ::close(std::exchange(raised, -1));
}

}  // namespace reelsweep
