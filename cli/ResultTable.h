// The table at the end of a run: per sequence and pass, what was done.
#pragma once

#include "timeline/ChangeLedger.h"

#include <string>

namespace reelsweep {

/// Whole lines: a row for every pass that changed something, and the totals.
std::string resultTable(const ChangeLedger& ledger);

}  // namespace reelsweep
