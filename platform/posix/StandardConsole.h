// StandardConsole: text on standard output, the system console on standard error.
#pragma once

#include "platform/Console.h"

namespace reelsweep {

class StandardConsole final : public Console {
public:
    void print(std::string_view text) override;
    void log(std::string_view line) override;
};

}  // namespace reelsweep
