// The changes of a run as lines for a terminal.
//
// Thread rule: main thread, while no run is going.
#pragma once

#include "timeline/ChangeLedger.h"
#include "timeline/Timeline.h"

#include <cstddef>
#include <string>

namespace reelsweep {

/// No line is wider.
inline constexpr std::size_t changeLineColumns = 80;

/// Every change, by sequence and pass: what happened, to what, where it stood and stands, and why.
///
///   Reel 1
///     Remove disabled video clips
///       removed  Wide                          V2  01:00:04:00 - 01:00:06:00
///                disabled
std::string changeLines(const ChangeLedger& ledger);

/// The clips of the result with fewer frames of handles than wanted, by sequence.
std::string handleLines(const ChangeLedger& ledger, Frames wanted);

}  // namespace reelsweep
