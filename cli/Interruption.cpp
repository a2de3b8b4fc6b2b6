#include "cli/Interruption.h"

#include "cli/ExitCode.h"
#include "platform/posix/QueueMainThread.h"

#include <unistd.h>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <string_view>

namespace reelsweep {

namespace {

std::atomic<bool> noted{false};
std::atomic<bool> progressLineShown{false};
std::atomic<int> deferrals{0};
std::atomic<QueueMainThread*> queue{nullptr};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free &&
                  std::atomic<QueueMainThread*>::is_always_lock_free,
              "a signal handler may only use lock-free atomics");

// Only calls that are safe inside a signal handler.
extern "C" void noteInterruption(int) {
    if (noted.exchange(true) || deferrals == 0) {
        constexpr std::string_view message = "\r\x1b[Kreelsweep-cli: interrupted\n";
        constexpr std::size_t eraseLine = 4;
        const std::string_view shown = progressLineShown ? message : message.substr(eraseLine);
        // Nothing can be done about a terminal that is gone.
        [[maybe_unused]] const ssize_t size = ::write(STDERR_FILENO, shown.data(), shown.size());
        ::_exit(static_cast<int>(ExitCode::interrupted));
    }
    if (QueueMainThread* const mainThread = queue) mainThread->wake();
}

}  // namespace

void Interruption::install(QueueMainThread& mainThread) {
    queue = &mainThread;
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = noteInterruption;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction inherited {};
        // A shell lets its background jobs ignore Ctrl-C; that is to stay so.
        if (sigaction(signal, nullptr, &inherited) == 0 && inherited.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
    sigaction(SIGXFSZ, &action, nullptr);
}

bool Interruption::requested() { return noted; }

void Interruption::setProgressLineShown(bool shown) { progressLineShown = shown; }

Interruption::Deferred::Deferred() { ++deferrals; }
Interruption::Deferred::~Deferred() { --deferrals; }

}  // namespace reelsweep
