// Runs a program and measures it from outside.
#pragma once

#include <string>
#include <vector>

namespace reelsweep {

struct Measured {
    int exitCode = -1;
    double milliseconds = 0;  ///< wall time from start to end
    long peakKilobytes = 0;   ///< largest resident size
};

/// Runs the program with its output thrown away and waits for it.
Measured runAndMeasure(const std::vector<std::string>& command);

}  // namespace reelsweep
