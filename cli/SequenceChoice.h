// Which sequences of a file the user means by INDEX, TITLE or UUID.
#pragma once

#include "base/Failure.h"
#include "documents/TidiedCopy.h"

#include <cstddef>
#include <string>
#include <vector>

namespace reelsweep {

/// The rows of the wanted sequences in ascending order, each once; all rows when none is named. A
/// title comes before an index (counted from 1, as `list` prints it), that before a uuid. Fails
/// with usage for a text that names no sequence or more than one.
Result<std::vector<std::size_t>> chooseSequences(const std::vector<SourceSequence>& sequences,
                                                 const std::vector<std::string>& wanted);

}  // namespace reelsweep
