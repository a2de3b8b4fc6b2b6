// Random: choices that depend on a seed only. The standard distributions differ between libraries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace reelsweep::test {

class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    /// A number from low to high, both inclusive.
    int upTo(int low, int high) {
        return low + static_cast<int>(engine_() % static_cast<std::uint64_t>(high - low + 1));
    }
    bool chance(int percent, int outOf = 100) { return upTo(1, outOf) <= percent; }
    std::size_t index(std::size_t size) { return static_cast<std::size_t>(engine_() % size); }
    template <class T>
    const T& one(const std::vector<T>& choices) {
        return choices[index(choices.size())];
    }

private:
    std::mt19937_64 engine_;
};

}  // namespace reelsweep::test
