// Log: where the library's own lines go.
//
// The library is silent until a program gives it a sink; QVLog, the application log, is one.
// Formats are those of base/Format.h; a line is formatted by the sink, so one that nobody reads
// costs nothing. Owner: the program owns the sink, which must outlive its use here.
// Thread rule: any thread for everything; a sink takes lines from any thread.
#pragma once

#include "base/Format.h"

#include <array>
#include <span>
#include <string_view>

namespace reelsweep {

class LogSink {
public:
    enum class Urgency {
        normal,  ///< the sink may hold the caller until the line is safe
        fast,    ///< never waits
    };
    virtual ~LogSink() = default;
    virtual void append(std::string_view format, std::span<const FormatArgument> arguments,
                        Urgency urgency) = 0;
};

class Log {
public:
    /// From now on lines go to this sink; null for none.
    static void setSink(LogSink* sink);
    /// True while somebody takes the lines.
    static bool hasSink();

    /// While one lives, lines of its thread go nowhere: for work that only tries something out.
    class Quiet {
    public:
        Quiet();
        ~Quiet();
        Quiet(const Quiet&) = delete;
        Quiet& operator=(const Quiet&) = delete;
    };

    /// One line.
    template <class... Args>
    static void append(std::string_view format, const Args&... args) {
        send(format, std::array<FormatArgument, sizeof...(Args)>{FormatArgument::of(args)...},
             LogSink::Urgency::normal);
    }
    /// One line of many; never waits.
    template <class... Args>
    static void fastAppend(std::string_view format, const Args&... args) {
        send(format, std::array<FormatArgument, sizeof...(Args)>{FormatArgument::of(args)...},
             LogSink::Urgency::fast);
    }

private:
    static void send(std::string_view format, std::span<const FormatArgument> arguments,
                     LogSink::Urgency urgency);
};

}  // namespace reelsweep
