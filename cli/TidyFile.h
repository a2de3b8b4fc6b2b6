// TidyFile: one file of `tidy`: read, tidied, saved, and the user told about it.
//
// Owner: the command. Thread rule: main thread.
#pragma once

#include "base/Failure.h"
#include "cli/ExitCode.h"
#include "cli/InputFile.h"
#include "cli/TidyPlan.h"
#include "documents/Document.h"
#include "hosts/FinalCutProHost.h"
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
    /// Null when nothing was tidied. Valid until the next file begins.
    const ChangeLedger* ledger() const;

private:
    /// The document and what is made of it, which the process leaves to the system to free.
    struct Work {
        explicit Work(bool launch) : host(launch) {}
        FinalCutProHost host;
        std::unique_ptr<Document> document;
        DocumentRequest request;
        std::optional<Result<Tidied>> tidied;
    };

    Outcome open();
    Outcome openDocument();
    Outcome settleRequest();
    void process();
    void save();
    ExitCode conclude();
    ExitCode showResult();
    Outcome checkKeeps() const;
    Outcome checkStrictly() const;
    void noteKept(const SequenceLedger& sequence, bool wasAsked, const char* why);
    void noteWhatNeedsAttention();

    Application& application_;
    const TidyPlan& plan_;
    const PlannedFile& planned_;
    ReportedDocument reported_;
    std::optional<InputFile> file_;
    std::shared_ptr<Work> work_;
    std::optional<TurnoverFiles> turnover_;
    Outcome saved_ = Done{};
};

}  // namespace reelsweep
