// Fresh UUIDs. Thread rule: any thread.
#pragma once

#include <string>

namespace reelsweep {

/// A new random UUID (version 4) in canonical upper-case form.
std::string newUUID();

}  // namespace reelsweep
