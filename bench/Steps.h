// The steps of a tidy, each timed by itself in this process.
//
// Owner: the benchmarks. Thread rule: main thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace reelsweep {

struct Step {
    std::string name;
    double milliseconds;
};

double milliseconds(const std::function<void()>& work);
double median(std::vector<double> values);
/// Throws std::runtime_error with that text unless the condition holds.
void require(bool condition, const std::string& what);

/// Loads `input`, tidies a copy of its first sequence with all passes, puts the copy into a bin of
/// the project, and saves that as `output`. Answers the median time of each step of that many runs,
/// in order. A step of the tidy is called after its option and, from the second on, its turn:
/// "collapseTracks, 2nd".
std::vector<Step> timeSteps(const std::string& input, const std::string& output, int runs);

}  // namespace reelsweep
