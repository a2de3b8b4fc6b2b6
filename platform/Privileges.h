// Privileges: running a tool with the rights of the administrator.
//
// Owner: Platform. Thread rule: any thread; one use at a time.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class Privileges {
public:
    enum class Answer {
        granted,
        refused,      ///< the person or the system said no
        unavailable,  ///< this machine has no such way
    };

    virtual ~Privileges() = default;

    /// Asks the person at the machine for the right, in a dialog of the system. A system that asks
    /// anew for every tool answers granted here and asks in execute.
    virtual Answer obtain() = 0;

    /// Asks for the right with a name and a password, without a dialog.
    virtual Answer obtain(std::string_view user, std::string_view password) = 0;

    /// Gives the right back.
    virtual void release() = 0;

    /// What became of a tool: its exit status counts only when the right was granted.
    struct Execution {
        Answer answer = Answer::unavailable;
        int status = 0;
    };
    /// Runs the tool with the right and waits for its end.
    virtual Execution execute(const std::string& tool,
                              const std::vector<std::string>& arguments) = 0;
};

}  // namespace reelsweep
