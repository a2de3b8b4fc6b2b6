// How a run over a document ended. Thread rule: read after the run.
#pragma once

#include "base/Failure.h"

#include <vector>

namespace reelsweep {

struct RunResult {
    bool cancelled = false;
    bool delivered = false;
    std::vector<Failure> failures;  ///< of sequences and of the delivery, in order
};

}  // namespace reelsweep
