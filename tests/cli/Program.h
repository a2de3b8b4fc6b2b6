// Program: the real command line tool as a child process in a folder and a home of its own.
#pragma once

#include "tests/platform/TemporaryFolder.h"

#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace reelsweep::test {

/// Files for the program to work on. Its children run in it.
class Workplace {
public:
    Workplace() = default;
    /// With a file "in.xml".
    explicit Workplace(std::string_view contents) { write("in.xml", contents); }
    std::string operator/(std::string_view name) const { return folder_ / name; }
    const std::string& path() const { return folder_.path(); }
    const std::string& home() const { return home_.path(); }

    /// Writes a file and answers its name, which children can use as it is.
    std::string write(const std::string& name, std::string_view contents) const;
    std::string read(const std::string& name) const { return contentsOf(folder_ / name); }
    bool has(const std::string& name) const;
    /// The names of everything in it, sorted and joined with blanks.
    std::string listing() const;

private:
    TemporaryFolder folder_;
    TemporaryFolder home_;
};

struct Ended {
    int status = -1;     ///< exit code, or minus the signal that ended it
    std::string output;  ///< standard output
    std::string error;   ///< standard error
};

struct Surroundings {
    std::string input = {};        ///< standard input
    std::string outputPath = {};   ///< where standard output goes, in place of being collected
    bool errorIsTerminal = false;  ///< standard error is a terminal, and its text can be waited for
    long fileSizeLimit = 0;        ///< bytes that a file may have; 0 for no limit
};

class Program {
public:
    /// Starts "reelsweep-cli ARGUMENTS". Throws std::runtime_error when that cannot be done.
    Program(const Workplace& workplace, std::vector<std::string> arguments,
            const Surroundings& surroundings = {});
    /// Kills it when it still runs.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Waits until the text has appeared on the terminal. False when the program ended without it.
    bool waitForText(std::string_view text);
    void send(int signal) const;
    /// The processes that it has started and that still run.
    std::vector<pid_t> children() const;
    Ended wait();

private:
    [[noreturn]] void becomeProgram(const Workplace& workplace,
                                    const std::vector<std::string>& arguments,
                                    const Surroundings& surroundings) const;
    bool readTerminal();

    TemporaryFolder streams_;
    int terminal_ = -1;
    std::string terminalText_;
    pid_t process_ = -1;
};

/// Starts the program and waits for its end.
Ended run(const Workplace& workplace, std::vector<std::string> arguments,
          const Surroundings& surroundings = {});

/// A project with one sequence for each text, in the notation of tests/timeline/Timeline.h. They
/// are called "Reel 1", "Reel 2" and so on, with the uuids "U1", "U2" and so on.
std::string project(const std::vector<std::string>& timelines);
/// The same sequences without a project around them.
std::string withoutProject(const std::vector<std::string>& timelines);
/// Every sequence of a document in that notation, as "NAME: NOTATION" lines.
std::string sequencesOf(const std::string& bytes);
/// A project that takes the program long enough to be interrupted: some ten megabytes.
const std::string& longProject();

}  // namespace reelsweep::test
