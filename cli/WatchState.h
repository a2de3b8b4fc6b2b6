// WatchState: which files of a watched folder are done with, remembered in a file.
//
// Before a file is tidied the state says so, and what stood at the place of its result. Whatever
// ends the program, the next one finds out whether the result had been put in place: no file is
// tidied twice, and none is forgotten.
//
//   begun (state saved) -> result in place -> finished (state saved)
//         ^ killed here: tidied again      ^ killed here: known to be done by its result
//
// Owner: the command. Thread rule: one thread.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"
#include "cli/InputFolder.h"

#include <map>
#include <string>

namespace reelsweep {

class WatchState {
public:
    /// Reads the state of a folder of results; an empty one when there is none. Fails with
    /// inputInvalid when it cannot be made out: starting anew would do everything twice.
    static Result<WatchState> load(const std::string& outputFolder);

    enum class Doing {
        open,    ///< to be tidied
        tidied,  ///< and so it stays until the file changes
        failed,  ///< the same; tried again by the next program
    };
    /// What is known of a file, as it is now.
    Doing doing(const std::string& name, const FileIdentity& input) const;
    /// Whether the file at the place of a result is one that was put there for this name.
    bool isOwnResult(const std::string& name, const FileIdentity& output) const;

    // Each saves the state. They fail with outputFailed; the file in the folder is then as it was.

    Outcome begin(const std::string& name, const FileIdentity& input, const FileIdentity& output);
    Outcome finish(const std::string& name, Doing doing, const FileIdentity& output);
    Outcome forget(const std::string& name);
    /// Settles what was begun when the last program ended: done when the result at its place is
    /// another than before. `outputOf` answers the place for a name.
    template <class OutputOf>
    Outcome settle(OutputOf outputOf) {
        for (auto& [name, entry] : entries_) {
            if (entry.stage == Stage::failed) entry.stage = Stage::none;
            if (entry.stage != Stage::begun) continue;
            const FileIdentity now = identityOfDocument(outputOf(name));
            entry.stage = now.known() && now != entry.output ? Stage::tidied : Stage::none;
            if (entry.stage == Stage::tidied) entry.output = now;
        }
        return save();
    }

private:
    enum class Stage { none, begun, tidied, failed };
    struct Entry {
        Stage stage = Stage::none;
        FileIdentity input;
        FileIdentity output;  ///< of a file that was begun: what stood there before
    };

    explicit WatchState(std::string path) : path_(std::move(path)) {}
    Outcome save() const;

    std::string path_;
    std::map<std::string, Entry> entries_;
};

}  // namespace reelsweep
