// Percent escapes of paths in URLs. Thread rule: plain functions.
#pragma once

#include <string>
#include <string_view>

namespace reelsweep {

/// The path with every byte that may not stand in a URL's path written as "%" and two digits.
std::string percentEscapedPath(std::string_view path);

/// The path with its percent escapes replaced; what is no escape stays as it is.
std::string pathWithoutPercentEscapes(std::string_view text);

}  // namespace reelsweep
