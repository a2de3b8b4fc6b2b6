// TidyFile: one file of `tidy`: read, tidied, saved, and the user told about it.
//
// Owner: the command. Thread rule: main thread.
#pragma once

#include "base/Failure.h"
#include "cli/ExitCode.h"
#include "cli/InputFile.h"
#include "cli/TidyPlan.h"
#include "cli/TidyWork.h"
#include "report/ChangeReport.h"

#include <memory>
#include <optional>

namespace reelsweep {

class Application;

class TidyFile {
public:
    /// The arguments must outlive the object.
    TidyFile(Application& application, const TidyPlan& plan, const PlannedFile& planned);

    /// Does it all. Once; a failure leaves the output as it was.
    ExitCode run();

    // After run()

    const ReportedDocument& reported() const { return reported_; }
    /// Null when it never came to a run. Valid until the next file begins.
    const ChangeLedger* ledger() const { return hasRun_ ? &work_->ledger() : nullptr; }

private:
    Outcome open();
    void process();
    void save();
    ExitCode conclude();
    ExitCode showResult();

    Application& application_;
    const TidyPlan& plan_;
    const PlannedFile& planned_;
    ReportedDocument reported_;
    std::optional<InputFile> file_;
    std::shared_ptr<TidyWork> work_;
    bool hasRun_ = false;
    Outcome saved_ = Done{};
};

}  // namespace reelsweep
