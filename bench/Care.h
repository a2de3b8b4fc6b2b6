// What a run's care costs: the proof, the guard and the import step, beside a run without them.
//
// Owner: the benchmarks. Thread rule: main thread.
#pragma once

#include <string>
#include <vector>

namespace reelsweep {

struct CareCost {
    const char* what;
    double milliseconds;  ///< of opening, tidying with all passes and saving
    double ofLiteral;     ///< that, where a run that looks at nothing is 1
    const char* atMost;   ///< what it may be; empty for what has no limit
};

/// Tidies `input` into `output` as often as `runs` says, each way in turn, in this process. Answers
/// medians; each ratio is the median of the ratios within one turn.
std::vector<CareCost> timeCare(const std::string& input, const std::string& output, int runs);

}  // namespace reelsweep
