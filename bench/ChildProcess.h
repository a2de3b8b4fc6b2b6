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

/// Has another process touch more memory than anything uses that is measured here with this file,
/// and waits for its end. A virtual machine gives free memory back to its host, and getting it
/// again would be measured otherwise: up to a second for half a gigabyte.
void warmMemory(const std::string& path);

}  // namespace reelsweep
