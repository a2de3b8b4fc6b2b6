// WatchedFolder: a folder in which files appear, and which of them are whole.
//
// A file counts as whole when nobody has it open for writing and it has stayed the same for a
// while. A bundle is one document; the same holds for every file in it.
// Owner: the command. Thread rule: one thread.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"
#include "base/UniqueDescriptor.h"

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace reelsweep {

class WatchedFolder {
public:
    /// Begins to watch; the files that are there already count as new. Fails with inputUnreadable.
    static Result<WatchedFolder> open(const std::string& path, std::chrono::milliseconds settling);

    const std::string& path() const { return path_; }
    /// Readable when something has happened in the folder.
    int descriptor() const { return events_.get(); }
    /// Takes in what has happened. Fails with inputUnreadable when the folder is gone.
    Outcome update();
    /// The names of files that have become whole, each once until it changes.
    std::vector<std::string> takeWhole();
    /// Whether there are files of which that is not known yet.
    bool isWaiting() const { return !pending_.empty(); }

private:
    struct Pending {
        FileIdentity seen;
        std::chrono::steady_clock::time_point since;
    };

    WatchedFolder(std::string path, std::chrono::milliseconds settling)
        : path_(std::move(path)), settling_(settling) {}
    Outcome scan();
    void add(const std::string& name);
    void watchBundle(const std::string& name);

    std::string path_;
    std::chrono::milliseconds settling_;
    UniqueDescriptor events_;
    std::map<std::string, Pending> pending_;
    std::map<int, std::string> bundles_;  ///< by the numbers of their watches
};

}  // namespace reelsweep
