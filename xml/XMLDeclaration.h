// The XML declaration as almost everybody writes it; for the sources of xml/ only.
//
// Thread rule: plain functions.
#pragma once

#include <string_view>

namespace reelsweep {

/// Whether the text between "<?xml" and "?>" says version 1.0, no encoding but UTF-8, and nothing
/// that is not understood.
bool isPlainDeclaration(std::string_view text);

}  // namespace reelsweep
