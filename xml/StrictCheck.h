// The strict look at bytes that are to become a tree: are they a well-formed document that we
// accept?
//
// Accepted is what XML 1.0 calls well-formed, less entity declarations, references to entities that
// are not predefined, and nesting beyond XMLDocument::maximumDepth.
// Thread rule: any thread.
#pragma once

#include "base/Failure.h"

#include <string>
#include <string_view>

namespace reelsweep {

/// Checks bytes in memory. A failure has code inputInvalid and names `name`, line and column.
Outcome checkWellFormed(std::string_view bytes, const std::string& name);

/// Checks what an open file holds from its start, in small pieces and without moving the file
/// offset. A failure has code inputInvalid, or inputUnreadable when the file cannot be read.
Outcome checkWellFormed(int descriptor, const std::string& name);

/// The name of the root element, read no further than its start tag.
Result<std::string> rootElementOf(int descriptor, const std::string& name);

}  // namespace reelsweep
