// The options that commands which tidy have in common.
//
// Thread rule: main thread, before the arguments are parsed.
#pragma once

#include "base/Failure.h"
#include "cli/TidyPlan.h"
#include "timeline/ChangeLedger.h"

#include <string>
#include <vector>

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

/// Values are checked in words: "--jobs: must be a number from 1 to 256".
CLI::Option* numberFrom(CLI::Option* option, double least, double most);
CLI::Option* oneOf(CLI::Option* option, std::vector<std::string> words);

void defineWhatToDo(CLI::App& parser, TidyOptions& o);
void defineRules(CLI::App& parser, TidyOptions& o);

/// Fails with usage, naming `file`, when a clip to be left alone was found in none of the sequences
/// that were tidied: it would be tidied in spite of all.
Outcome checkKeepsFit(const std::vector<std::string>& keeps,
                      const std::vector<const SequenceLedger*>& tidied, const std::string& file);

}  // namespace reelsweep
