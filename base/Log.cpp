#include "base/Log.h"

#include <atomic>

namespace reelsweep {

namespace {

std::atomic<LogSink*> currentSink = nullptr;
thread_local int quietCount = 0;

}  // namespace

void Log::setSink(LogSink* sink) { currentSink = sink; }

bool Log::hasSink() { return currentSink.load(std::memory_order_acquire) != nullptr; }

Log::Quiet::Quiet() { ++quietCount; }
Log::Quiet::~Quiet() { --quietCount; }

void Log::send(std::string_view format, std::span<const FormatArgument> arguments,
               LogSink::Urgency urgency) {
    if (quietCount > 0) return;
    if (LogSink* const sink = currentSink.load(std::memory_order_acquire))
        sink->append(format, arguments, urgency);
}

}  // namespace reelsweep
