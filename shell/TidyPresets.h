// TidyPresets: choices of passes and rules under a name, built in, made by the user, or in a file.
//
// The user's own stand in the preferences under "optionPresets": a dictionary whose values are
// lists of option names, or dictionaries with "passes" and the keys of the rules. A preset file is
// a JSON object with the same keys:
//
//   {"passes": ["default", "-collapseTracks"], "excludeTracks": ["V3"], "filtersKeep": ["Color*"]}
//
// Thread rule: any thread; two that change the presets at once are one after the other.
#pragma once

#include "base/Failure.h"
#include "tidy/PassTable.h"
#include "tidy/TidyRules.h"

#include <string>
#include <system_error>
#include <vector>

namespace reelsweep {

struct TidyPreset {
    std::string name;
    /// Option names. In a file also what a list of passes on the command line may hold: "default",
    /// "all", "+replaceGaps", "-collapseTracks".
    OptionList passes;
    TidyRules rules = {};
    bool isOwn = false;  ///< made by the user
};

/// The built-in presets, then the user's own.
std::vector<TidyPreset> tidyPresets();
std::vector<TidyPreset> builtInPresets();

/// Keeps a preset of the user's own; one of that name is replaced. Answers the error, or none.
std::error_code storePreset(const TidyPreset& preset);
std::error_code removeStoredPreset(const std::string& name);

/// Reads a preset file. Fails with inputUnreadable, or with inputInvalid, the line, and what is
/// wrong: not JSON, an unknown key, or something else than a list of texts.
Result<TidyPreset> loadPresetFile(const std::string& path);

/// The rules of the window, which hold until they are changed.
TidyRules storedRules();
std::error_code storeRules(const TidyRules& rules);

}  // namespace reelsweep
