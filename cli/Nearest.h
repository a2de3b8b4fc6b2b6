// Which known name a person may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// At most three of the candidates, nearest first: those that begin with the text or differ from it
/// by a few typing mistakes. Letters A to Z compare without case; duplicates appear once.
std::vector<std::string> nearestNames(std::string_view text,
                                      const std::vector<std::string>& candidates);

/// `; did you mean "A" or "B"?` for the nearest names, or the fallback when none is near.
std::string didYouMean(std::string_view text, const std::vector<std::string>& candidates,
                       std::string_view fallback);

}  // namespace reelsweep
