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

/// Loads `input`, runs every pass on a copy of its first sequence in the order of a run, and saves
/// the document as `output`: the median time of each step of that many runs, in order.
std::vector<Step> timeSteps(const std::string& input, const std::string& output, int runs);

}  // namespace reelsweep
