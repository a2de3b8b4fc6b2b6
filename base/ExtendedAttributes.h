// copyExtendedAttributes: what people and programs have noted on a file, for the one that takes its
// place.
#pragma once

#include <system_error>

namespace reelsweep {

/// Gives an open file the extended attributes and the access list of another. Answers the first
/// error, or none; a volume that keeps none, and one that only the system may set, is none. Any
/// thread.
std::error_code copyExtendedAttributes(int from, int to);

}  // namespace reelsweep
