// ProcessLauncher: starts other programs and speaks with them through pipes.
//
// A program is started directly, never through a shell. It inherits no descriptor but its three
// standard streams, and leads a process group of its own, so that it can be ended together with
// what it started.
// Owner: Platform; a child is shared by those who use it. Thread rule: any thread for everything.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace reelsweep {

enum class ChildStream {
    inherit,     ///< the stream of this process
    nullDevice,  ///< nothing to read; what is written is dropped
    pipe,        ///< read through ChildProcess::readAvailable; as input: a pipe that is at its end
};

struct LaunchRequest {
    std::string path;  ///< relative ones start at the working folder; there is no search
    std::vector<std::string> arguments;  ///< without the program's name
    /// The whole environment of the child; none: that of this process.
    std::optional<std::map<std::string, std::string>> environment;
    ChildStream input = ChildStream::nullDevice;
    ChildStream output = ChildStream::nullDevice;
    ChildStream error = ChildStream::nullDevice;
    /// False for a program that talks to the terminal: it stays in the group of this process.
    bool ownProcessGroup = true;
};

/// A started program. Nobody needs to wait for it: it leaves no zombie, and goes on when the last
/// reference is dropped.
class ChildProcess {
public:
    /// Bytes that the child wrote.
    struct Chunk {
        bool isError = false;  ///< from standard error
        std::string bytes;     ///< never empty
    };

    virtual ~ChildProcess() = default;

    /// The path from the request.
    virtual const std::string& launchPath() const = 0;

    virtual bool isRunning() const = 0;

    /// Waits for the end of the child. Its exit status, or the number of the signal that ended it.
    virtual int waitUntilExit() = 0;

    /// Asks the child and its group to end. A child that is still there after a few seconds is
    /// ended. Returns at once; nothing happens when the child has ended.
    virtual void terminate() = 0;

    /// Waits for bytes of whichever piped stream has some first, so that a child that fills both
    /// never stands still. Empty when every piped stream has ended, or after stopReading; throws
    /// std::system_error when reading fails. One thread at a time.
    virtual std::optional<Chunk> readAvailable() = 0;

    /// Ends the reading for good, also one that waits in another thread.
    virtual void stopReading() = 0;
};

class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;

    /// A started child, or the error and no child.
    struct Launch {
        std::shared_ptr<ChildProcess> child;
        std::error_code error;
    };
    virtual Launch launch(const LaunchRequest& request) = 0;
};

}  // namespace reelsweep
