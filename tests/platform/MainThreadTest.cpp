#include "platform/posix/ConsoleAlertPresenter.h"
#include "platform/posix/QueueMainThread.h"
#include "tests/platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace reelsweep {
namespace {

using namespace std::chrono_literals;

// Far longer than any test takes: a wait that ends with it has failed.
constexpr auto limit = 30s;

TEST(QueueMainThread, RunsTheWorkOfOtherThreadsInOrderAndThrowsBackToThem) {
    QueueMainThread mainThread;
    std::string trace;
    std::atomic<bool> finished = false;
    std::thread worker([&] {
        EXPECT_FALSE(mainThread.isMainThread());
        mainThread.post([&] { trace += "a"; });
        mainThread.runAndWait([&] {
            EXPECT_TRUE(mainThread.isMainThread());
            mainThread.runAndWait([&] { trace += "b"; });
            trace += "c";
        });
        EXPECT_EQ(trace, "abc");
        EXPECT_THROW(mainThread.runAndWait([] { throw std::runtime_error("no"); }),
                     std::runtime_error);
        finished = true;
        mainThread.wake();
    });
    const auto start = std::chrono::steady_clock::now();
    while (!finished) mainThread.pumpOne(limit);
    worker.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, limit);
    EXPECT_FALSE(mainThread.pumpOne(0ms));
}

QueueMainThread* interrupted = nullptr;
volatile std::sig_atomic_t interruptions = 0;

TEST(QueueMainThread, ASignalHandlerEndsTheWaitAtOnceAlsoWhenItRanBefore) {
    QueueMainThread mainThread;
    interrupted = &mainThread;
    interruptions = 0;
    const auto old = std::signal(SIGUSR1, [](int) {
        interruptions = interruptions + 1;
        interrupted->wake();
    });
    const auto start = std::chrono::steady_clock::now();
    std::raise(SIGUSR1);
    EXPECT_FALSE(mainThread.pumpOne(limit));
    // On another thread, as the system may choose: nothing interrupts the wait itself then.
    std::thread other([] { std::raise(SIGUSR1); });
    EXPECT_FALSE(mainThread.pumpOne(limit));
    other.join();
    std::signal(SIGUSR1, old);
    EXPECT_EQ(interruptions, 2);
    EXPECT_LT(std::chrono::steady_clock::now() - start, limit);
}

TEST(ConsoleAlertPresenter, PrintsOneLineOnStandardErrorAndAnswersWithTheDefaultButton) {
    const struct {
        const char* message;
        const char* informative;
        const char* line;
    } rows[] = {
        {"Cannot read file", "It holds 100%d\nof nothing",
         "Cannot read file: It holds 100%d of nothing\n"},
        {"Done", "", "Done\n"},
        {"", "Only details", "Only details\n"},
    };
    for (const auto& row : rows) {
        test::ChildProcess child([&] {
            long answer = -99;
            AlertRequest request;
            request.messageText = row.message;
            request.informativeText = row.informative;
            ConsoleAlertPresenter presenter;
            const auto shown = presenter.begin(request, {}, [&](long code) { answer = code; });
            std::exit(answer == alertDefaultReturn && !shown->isVisible() ? 0 : 1);
        });
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(child.standardError(), row.line);
        EXPECT_EQ(child.standardOutput(), "");
    }
}

}  // namespace
}  // namespace reelsweep
