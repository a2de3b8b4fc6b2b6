// LogText: what becomes of a format on its way into the log and onto the console.
//
// Thread rule: plain functions.
#pragma once

#include "base/Format.h"

#include <span>
#include <string>
#include <string_view>

namespace reelsweep {

/// The format with percent signs doubled where a blank or one of .!,-;:+ follows.
std::string escapedForLogging(std::string_view format);

/// Appends the text of an entry: stray percent signs are made safe, then the arguments go in.
void formatLogText(TextBuffer& buffer, std::string_view format,
                   std::span<const FormatArgument> arguments);

/// The text as it is echoed on the console, without a line end.
std::string consoleEcho(std::string text);

}  // namespace reelsweep
