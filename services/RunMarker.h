// RunMarker: lets the next start of a program know that this run did not end by itself.
//
// Where a system writes a report of each crash, the next start finds that. Here nothing writes one.
// So a program keeps a file while it runs, and a lock on it, which goes with the process, whatever
// ends it. A start makes reports of the files that nobody holds any more.
//
// Owner: the program, from its start to its end. What cannot be written is left out: a run without
// a marker is no worse than before. Thread rule: one thread.
#pragma once

#include "base/UniqueDescriptor.h"

#include <string>

namespace reelsweep {

class RunMarker {
public:
    /// Writes "PROGRAM_DATE_PROCESS.crash" into the reports for each earlier run that died, and
    /// marks this one. Both folders are made when they are missing.
    RunMarker(const std::string& markers, const std::string& reports, const std::string& program);
    /// The run ends by itself, and leaves nothing behind.
    ~RunMarker();
    RunMarker(const RunMarker&) = delete;
    RunMarker& operator=(const RunMarker&) = delete;

private:
    std::string path_;
    UniqueDescriptor lock_;
};

}  // namespace reelsweep
