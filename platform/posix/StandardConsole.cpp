#include "platform/posix/StandardConsole.h"

#include <cstdio>
#include <string>

namespace reelsweep {

namespace {

// One call a text, so that the lines of two threads stay whole; flushed, so that they keep their
// order among what other parts of the program write. There is nobody to tell when it fails.
void writeWhole(std::FILE* stream, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

}  // namespace

void StandardConsole::print(std::string_view text) { writeWhole(stdout, text); }

void StandardConsole::log(std::string_view line) { writeWhole(stderr, std::string(line) + "\n"); }

}  // namespace reelsweep
