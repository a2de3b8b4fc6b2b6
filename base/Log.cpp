#include "base/Log.h"

#include <atomic>

namespace reelsweep {

namespace {

std::atomic<LogSink*> currentSink = nullptr;

}  // namespace

void Log::setSink(LogSink* sink) { currentSink = sink; }

bool Log::hasSink() { return currentSink.load(std::memory_order_acquire) != nullptr; }

void Log::send(std::string_view format, std::span<const FormatArgument> arguments,
               LogSink::Urgency urgency) {
    if (LogSink* const sink = currentSink.load(std::memory_order_acquire))
        sink->append(format, arguments, urgency);
}

}  // namespace reelsweep
