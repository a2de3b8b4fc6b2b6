// familyPreferenceIsOne: the preference file that all programs of the family share.
#pragma once

#include <string_view>

namespace reelsweep {

/// True when the file has the text "1" or a number equal to true for the key. Any thread.
bool familyPreferenceIsOne(std::string_view key);

}  // namespace reelsweep
