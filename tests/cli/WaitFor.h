// Waiting for a condition, with a limit.
#pragma once

#include <chrono>

#include <poll.h>

namespace reelsweep::test {

/// Asks again and again until the answer is not empty; after a minute, the empty one.
template <class Ask>
auto waitForValue(Ask ask) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    auto value = ask();
    while (value.empty() && std::chrono::steady_clock::now() < limit) {
        ::poll(nullptr, 0, 2);
        value = ask();
    }
    return value;
}

template <class Condition>
bool waitUntil(Condition condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= limit) return false;
        ::poll(nullptr, 0, 2);
    }
    return true;
}

}  // namespace reelsweep::test
