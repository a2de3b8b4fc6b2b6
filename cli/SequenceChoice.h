// Which sequences of a file the user means by INDEX, TITLE, UUID or a pattern for titles.
#pragma once

#include "base/Failure.h"
#include "documents/TidiedCopy.h"

#include <cstddef>
#include <string>
#include <vector>

namespace reelsweep {

/// The rows of the wanted sequences in ascending order, each once; when none is named, all but the
/// tidied copies ("NAME-Tidied"). A title comes before an index (counted from 1, as `list` prints
/// it), that before a uuid, that before a pattern with `*` and `?`, which may mean several. Fails
/// with usage for a text that names no sequence, or more than one of the same title.
Result<std::vector<std::size_t>> chooseSequences(const std::vector<SourceSequence>& sequences,
                                                 const std::vector<std::string>& wanted);

}  // namespace reelsweep
