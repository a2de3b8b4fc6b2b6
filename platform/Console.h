// Console: the plain text that leaves the program, apart from its log file.
//
// Owner: Platform. Thread rule: any thread; lines of different threads do not mix.
#pragma once

#include <string_view>

namespace reelsweep {

class Console {
public:
    virtual ~Console() = default;

    /// Writes the text, which brings its own line ends, to standard output.
    virtual void print(std::string_view text) = 0;

    /// Writes one line to the system console: failures that concern an administrator or a
    /// developer more than the user.
    virtual void log(std::string_view line) = 0;
};

}  // namespace reelsweep
