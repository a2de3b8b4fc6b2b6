// TidyWork: one document of `tidy`, of either kind, from opening to the result that is to be saved.
//
// Owner: the command. Thread rule: main thread, except run(), which a background thread calls while
// the main thread serves its queue.
#pragma once

#include "base/Failure.h"
#include "base/FinderInfo.h"
#include "cli/InputFile.h"
#include "cli/TidyPlan.h"
#include "shell/DocumentView.h"
#include "timeline/ChangeLedger.h"
#include "xml/XMLDocument.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

class TidyWork {
public:
    virtual ~TidyWork() = default;

    /// Opens the file and checks what was asked for against it. Fails with usage, inputUnreadable
    /// or inputInvalid.
    virtual Outcome open(const InputFile& file, const TidyPlan& plan) = 0;
    /// Applies the passes and builds the result.
    virtual void run() = 0;
    /// Asks run() to stop.
    virtual void cancel() = 0;

    // After run()

    virtual bool cancelled() const = 0;
    /// Of sequences and of the delivery.
    virtual const std::vector<Failure>& failures() const = 0;
    /// True when the result went to Final Cut Pro, or would have but for a dry run: nothing is to
    /// be saved then.
    virtual bool isSent() const { return false; }
    /// What is to be saved; null when the delivery failed, and for a native project.
    virtual const XMLDocument* result() = 0;
    virtual const ChangeLedger& ledger() const = 0;

    // After open()

    /// The passes of the run.
    virtual const OptionList& options() const = 0;
    /// Where the tidied sequences go: "project", "standalone", "host" for Final Cut Pro, or
    /// "document" for the whole document.
    virtual std::string deliveryName() const = 0;
    /// The type and creator codes that a file of this kind carries, if any.
    virtual std::optional<HFSCodes> fileCodes() const = 0;

    static std::unique_ptr<TidyWork> make(InputFile::Kind kind, DocumentView& view);
};

}  // namespace reelsweep
