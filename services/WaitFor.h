// Waiting for what shows no event: the file system, another program's files.
//
// Thread rule: any thread; the main thread goes on handling events meanwhile.
#pragma once

#include "platform/Platform.h"

#include <chrono>
#include <thread>

namespace reelsweep {

/// Waits, for at most the seconds, until the condition holds. Answers whether it does.
template <class Condition>
bool waitFor(Condition condition, double seconds) {
    using namespace std::chrono_literals;
    const auto start = std::chrono::steady_clock::now();
    MainThread& mainThread = *Platform::current().mainThread;
    while (!condition() &&
           std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() <
               seconds) {
        if (mainThread.isMainThread())
            mainThread.pumpOne(10ms);
        else
            std::this_thread::sleep_for(300ms);
    }
    return condition();
}

}  // namespace reelsweep
