// The commands of the program as data: one table drives dispatch and help.
//
// Adding a command is a row here and a file that defines it.
#pragma once

#include "cli/ExitCode.h"

#include <functional>
#include <span>
#include <string_view>

namespace CLI {
class App;
}

namespace reelsweep {

class Application;

/// What a command does once its options are parsed. Prints its own messages.
using CommandRun = std::function<ExitCode(Application&)>;

struct CommandRow {
    std::string_view name;
    std::string_view summary;  ///< one line for the help
    std::string_view footer;   ///< examples, at the end of the command's help
    /// Gives the parser the command's options; the answer keeps their values.
    CommandRun (*define)(CLI::App& parser);
};

std::span<const CommandRow> commandTable();

CommandRun defineList(CLI::App& parser);
CommandRun definePasses(CLI::App& parser);
CommandRun defineTidy(CLI::App& parser);

/// Parses the arguments (without the program's name) and runs the command. Answers the exit code.
ExitCode runCommandLine(Application& application, std::span<const char* const> arguments);

}  // namespace reelsweep
