// PosixProcessLauncher: programs started with posix_spawn, each watched by a thread of its own.
#pragma once

#include "platform/ProcessLauncher.h"

#include <chrono>

namespace reelsweep {

class PosixProcessLauncher final : public ProcessLauncher {
public:
    /// A child that was asked to end is given this long before it is ended.
    explicit PosixProcessLauncher(std::chrono::milliseconds patience = std::chrono::seconds(5))
        : patience_(patience) {}

    Launch launch(const LaunchRequest& request) override;

private:
    const std::chrono::milliseconds patience_;
};

}  // namespace reelsweep
