// FilterMeaning: what the filters of editing systems are for, and what their defaults are.
//
// Thread rule: plain functions.
#pragma once

#include "timeline/FilterStack.h"

#include <string_view>

namespace reelsweep {

/// By a filter's effect identifier, or by its name where it has none; in any letter case.
FilterMeaning filterMeaning(std::string_view effect);

/// Whether a filter with one of the known meanings changes nothing: every parameter has its default
/// and no keyframes. False for effects that nothing is known of.
bool isAtDefaults(const Filter& filter);

/// The speed that a time remap makes.
Speed speedOf(const Filter& timeRemap);

/// The one amount of an opacity or level filter, or the default.
Amount amountOf(const Filter& filter, std::string_view fallback);

}  // namespace reelsweep
