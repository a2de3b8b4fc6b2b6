// TurnoverFiles: the edit lists and timelines that `tidy` writes beside its result.
//
//   film-Tidied.xml    ->    film-Tidied-Reel 1-V1.edl    film-Tidied-Reel 1.otio
//
// Owner: the command. Thread rule: the thread of the run.
#pragma once

#include "base/Failure.h"
#include "timeline/ChangeLedger.h"

#include <string>
#include <vector>

namespace reelsweep {

class TurnoverFiles {
public:
    struct Wanted {
        bool editLists = false;
        bool otio = false;

        explicit operator bool() const { return editLists || otio; }
    };

    /// `result` is the path of the tidied file. Nothing is written yet.
    TurnoverFiles(const ChangeLedger& ledger, const std::string& result, Wanted wanted);

    /// Fails with outputFailed when one of the files cannot be written or exists.
    Outcome check(bool mayReplace) const;
    /// Writes them all. Fails with outputFailed or cancelled; what was written by then stays.
    Outcome save(bool mayReplace);

    /// After save(): the files, and what a person should know of them.
    const std::vector<std::string>& written() const { return written_; }
    const std::vector<std::string>& notes() const { return notes_; }

private:
    struct Planned {
        std::string path;
        const SequenceLedger* sequence = nullptr;
        std::size_t videoTrack = 0;  ///< position among the video tracks, for an edit list
        bool isOtio = false;
    };

    Outcome save(const Planned& file, bool mayReplace);
    void noteLeftOut(const Planned& file, std::size_t count);

    std::vector<Planned> planned_;
    std::vector<std::string> written_;
    std::vector<std::string> notes_;
};

}  // namespace reelsweep
