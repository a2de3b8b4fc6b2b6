// The commands of the program. Adding one is a file that defines it and a row in CommandLine.cpp.
#pragma once

#include "cli/ExitCode.h"

#include <functional>
#include <span>

namespace CLI {
class App;
}

namespace reelsweep {

class Application;

/// What a command does once its options are parsed. Prints its own messages.
using CommandRun = std::function<ExitCode(Application&)>;

// Each gives the parser its command's options; the answer keeps their values.

CommandRun defineCheck(CLI::App& parser);
CommandRun defineDiff(CLI::App& parser);
CommandRun defineList(CLI::App& parser);
CommandRun definePasses(CLI::App& parser);
CommandRun definePicture(CLI::App& parser);
CommandRun defineProjects(CLI::App& parser);
CommandRun defineTidy(CLI::App& parser);
CommandRun defineVerify(CLI::App& parser);
CommandRun defineWatch(CLI::App& parser);

/// Parses the arguments (without the program's name) and runs the command. Answers the exit code.
ExitCode runCommandLine(Application& application, std::span<const char* const> arguments);

}  // namespace reelsweep
