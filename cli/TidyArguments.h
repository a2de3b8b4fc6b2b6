// The options that commands which tidy have in common.
//
// Thread rule: main thread, before the arguments are parsed.
#pragma once

#include "cli/TidyPlan.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace reelsweep {

/// Such an option takes exactly one value, so that it does not swallow the files that follow it.
CLI::Option* oneValue(CLI::Option* option, const char* value);
/// The same for a place in the file system. A script's variable that is not set is no wish for the
/// default place.
CLI::Option* placeValue(CLI::Option* option, const char* value);

void defineWhatToDo(CLI::App& parser, TidyOptions& o);
void defineRules(CLI::App& parser, TidyOptions& o);

}  // namespace reelsweep
