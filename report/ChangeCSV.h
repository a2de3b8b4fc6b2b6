// ChangeCSV: a ledger as comma-separated values, for spreadsheets.
//
// Thread rule: one thread, while no run is going.
#pragma once

#include "base/AtomicFile.h"
#include "timeline/ChangeLedger.h"

#include <string_view>

namespace reelsweep {

/// Writes a line of column names and then a line a change, in the order in which they were made.
/// Times are in frames of the sequence (ends and outs exclusive) and, for start and end, also as
/// time code. UTF-8, quoted and with line ends as RFC 4180 says. False when the sink refused.
bool writeChangesCSV(const ChangeLedger& ledger, ByteSink& sink);

/// The same in parts, for the changes of several files: a first column has the file's name.
bool writeChangesCSVHeader(ByteSink& sink);
bool writeChangesCSV(std::string_view file, const ChangeLedger& ledger, ByteSink& sink);

}  // namespace reelsweep
