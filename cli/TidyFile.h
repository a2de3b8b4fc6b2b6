// TidyFile: one file of `tidy`: read, tidied, saved, and the user told about it.
//
// Owner: the command. Thread rule: main thread.
#pragma once

#include "base/Failure.h"
#include "cli/ExitCode.h"
#include "cli/InputFile.h"
#include "cli/SaveResult.h"
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
    /// Whether there was nothing to do for a file of its kind, beside others that are done.
    bool wasPassedOver() const { return isPassedOver_; }

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
    bool passesOver(const Failure& failure) const;
    Result<OptionList> passes();
    Outcome settleRequest();
    Outcome settleFCPXML();
    Outcome makeFolder() const;
    void process();
    SavePlace savePlace() const;
    void save(SaveInWork& saving);
    ExitCode conclude();
    ExitCode showResult();
    Outcome checkKeeps() const;
    Outcome checkRules() const;
    bool isOneOfMany() const { return plan_.files.size() > 1 || plan_.isBatch; }
    /// In front of what is said about a sequence.
    std::string placeOf(const SequenceLedger& sequence) const;
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
    std::vector<std::string> notes_;  ///< before anything was tidied
    bool isPassedOver_ = false;
};

}  // namespace reelsweep
