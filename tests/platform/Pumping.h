// Waiting in tests: the main thread goes on until something has happened.
#pragma once

#include "platform/Platform.h"

#include <chrono>
#include <functional>

namespace reelsweep::test {

/// Keeps the main thread going until the condition holds; false when it takes forever.
inline bool pumpUntil(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) return false;
        Platform::current().mainThread->pumpOne(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace reelsweep::test
