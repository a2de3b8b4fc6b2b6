// QVException: exceptions that carry a name, and reporting exceptions through the log.
//
// Thread rule: any thread.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace reelsweep {

/// An exception with a name, by which a handler tells one kind from another, and a reason.
class NamedException : public std::runtime_error {
public:
    NamedException(std::string name, const std::string& reason)
        : std::runtime_error(reason), name_(std::move(name)) {}
    const std::string& name() const { return name_; }

private:
    std::string name_;
};

class QVException {
public:
    /// Logs and prints "Exception in METHOD. NAME - REASON." and answers that text. The name of an
    /// exception without one is its type's.
    static std::string logException(const std::exception& exception, const char* method);

    /// True when the exception says that the other side of a connection did not answer in time.
    static bool didTimeout(const std::exception& exception);
};

/// Logs and prints the reason of the exception that is being handled, and waits for the log.
void uncaughtExceptionHandler();

/// Has uncaughtExceptionHandler called for an exception that nobody catches, before the process
/// ends as it would have. Only the first call does something.
void installUncaughtExceptionHandler();

}  // namespace reelsweep
