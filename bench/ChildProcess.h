// Runs a program and measures it from outside.
//
// Owner: the benchmarks. Thread rule: plain function, one caller at a time.
#pragma once

#include <string>
#include <vector>

namespace reelsweep {

struct Measured {
    double milliseconds = 0;  ///< wall time from start to end
    long peakKilobytes = 0;   ///< largest resident size, in units of 1,024 bytes
    std::string output;       ///< what it wrote on standard output
};

/// Runs the program (found in PATH, its messages let through) and waits for it. Throws
/// std::runtime_error when it cannot be started or does not end with 0.
Measured runAndMeasure(const std::vector<std::string>& command);

}  // namespace reelsweep
