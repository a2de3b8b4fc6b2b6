// Saving a result, unless the user interrupts.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"
#include "base/FinderInfo.h"
#include "documents/Document.h"

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>

namespace reelsweep {

/// Where something is written to, and on which conditions.
struct SavePlace {
    std::string path;  ///< "-" for standard output
    Overwrite overwrite = Overwrite::never;
    FileIdentity mustStillBe =
        {};  ///< when known, the file at the path must not have changed since
    std::optional<HFSCodes> codes = {};  ///< to set where the file system keeps them
};

/// Writes what `produce` hands to the sink: a file appears whole or not at all. Fails with
/// outputFailed, or with cancelled when the user interrupted before the file was in place.
/// Thread rule: any thread.
Outcome saveResult(const SavePlace& place, const std::function<void(ByteSink&)>& produce);
/// The same for what a tidy has made. In a file, what the input held stays byte for byte as it was
/// where that is possible.
Outcome saveResult(const SavePlace& place, const Tidied& tidied);

/// A result that is saved while it is still being made: what the file keeps of its input is copied
/// beside the passes. What was begun and is not saved leaves nothing behind. Thread rule: one
/// thread at a time.
class SaveInWork {
public:
    /// What goes wrong is said by save().
    void begin(const SavePlace& place, const std::shared_ptr<const SplicedSave>& splice);
    /// As saveResult(), whether it was begun or not.
    Outcome save(const SavePlace& place, const Tidied& tidied);

private:
    std::unique_ptr<AtomicFile> file_;  ///< once begun
    std::future<void> head_;            ///< ends before the file goes
};

}  // namespace reelsweep
