#include "cli/TidyWork.h"

#include "cli/NativeProject.h"
#include "cli/SequenceChoice.h"
#include "shell/QVFCPDoc.h"
#include "shell/QVFCPXDoc.h"
#include "shell/StandaloneDelivery.h"

#include <optional>

namespace reelsweep {

namespace {

class XMEMLWork final : public TidyWork {
public:
    explicit XMEMLWork(DocumentView& view) : document_(view) {}

    Outcome open(const InputFile& file, const TidyPlan& plan) override;
    void run() override;
    void cancel() override { document_.cancelProgress(); }

    bool cancelled() const override { return cancelled_; }
    const std::vector<Failure>& failures() const override { return failures_; }
    const XMLDocument* result() override;
    std::optional<HFSCodes> fileCodes() const override { return finalCutProXMLCodes; }
    const ChangeLedger& ledger() const override { return document_.changeLedger(); }
    const OptionList& options() const override { return options_; }
    bool isSent() const override {
        return document_.isFCPProject() && (dryRun_ || document_.runResult().delivered);
    }
    std::string deliveryName() const override {
        if (document_.isFCPProject()) return "host";
        return standalone_ ? "standalone" : "project";
    }

private:
    Outcome choose(const TidyPlan& plan);

    QVFCPDoc document_;
    OptionList options_;
    bool standalone_ = false;
    bool dryRun_ = false;
    bool cancelled_ = false;
    std::vector<Failure> failures_;
    std::optional<XMLDocument> standaloneDocument_;
};

Outcome XMEMLWork::open(const InputFile& file, const TidyPlan& plan) {
    const Result<OptionList> options = optionsFor(plan.passes, false);
    if (!options) return options.failure();
    options_ = *options;

    dryRun_ = plan.dryRun;
    if (file.kind() == InputFile::Kind::nativeProject) {
        if (Outcome opened = openNativeProject(document_, file.path(), plan.launch); !opened)
            return opened;
        return choose(plan);
    }
    // The check goes on beside the passes; the run says when the file turns out to be broken.
    const Outcome read = document_.readFromURL(file.path(), Verification::deferred);
    document_.waitUntilPopulated();
    if (!read) return read;
    const Outcome chosen = choose(plan);
    if (!chosen)
        if (const Outcome verified = document_.verifySource(); !verified) return verified;
    return chosen;
}

Outcome XMEMLWork::choose(const TidyPlan& plan) {
    standalone_ = plan.delivery == DeliveryChoice::standalone ||
                  (plan.delivery == DeliveryChoice::automatic && !document_.isFCPProject() &&
                   !document_.hasProjectNode());

    const auto sequences = document_.sequenceArray();
    if (sequences->empty())
        return Failure{FailureCode::inputInvalid, "holds no sequence", "", 0, 0, ""};
    const Result<std::vector<std::size_t>> rows = chooseSequences(*sequences, plan.sequences);
    if (!rows) return rows.failure();
    for (const std::size_t row : *rows) document_.setSelected(row, true);
    document_.setExtraIgnoredEffects(plan.ignoredEffects);
    return Done{};
}

void XMEMLWork::run() {
    // Final Cut Pro has no way back.
    const bool keeps = standalone_ || (document_.isFCPProject() && dryRun_);
    document_.startProcessing(options_, keeps ? Delivery::none : Delivery::toSource);
    failures_ = document_.runResult().failures;
    cancelled_ = document_.runResult().cancelled;
    if (!standalone_ || cancelled_ || !failures_.empty()) return;
    Result<XMLDocument> standalone = standaloneDocument(document_);
    if (standalone)
        standaloneDocument_ = std::move(*standalone);
    else if (standalone.failure().code == FailureCode::cancelled)
        cancelled_ = true;
    else
        failures_.push_back(standalone.failure());
}

const XMLDocument* XMEMLWork::result() {
    if (standalone_) return standaloneDocument_ ? &*standaloneDocument_ : nullptr;
    if (!document_.runResult().delivered || document_.isFCPProject()) return nullptr;
    return document_.projectController().xmlDoc().get();
}

class FCPXMLWork final : public TidyWork {
public:
    explicit FCPXMLWork(DocumentView& view) : document_(view) {}

    Outcome open(const InputFile& file, const TidyPlan& plan) override;
    void run() override { document_.startProcessing(options_); }
    void cancel() override { document_.cancelProgress(); }

    bool cancelled() const override { return document_.runResult().cancelled; }
    const std::vector<Failure>& failures() const override { return document_.runResult().failures; }
    const XMLDocument* result() override { return document_.xmlDoc().get(); }
    std::optional<HFSCodes> fileCodes() const override { return std::nullopt; }
    const ChangeLedger& ledger() const override { return document_.changeLedger(); }
    const OptionList& options() const override { return options_; }
    std::string deliveryName() const override { return "document"; }

private:
    QVFCPXDoc document_;
    OptionList options_;
};

Outcome FCPXMLWork::open(const InputFile& file, const TidyPlan& plan) {
    const auto usage = [](const char* message) {
        return Failure{FailureCode::usage, message, "", 0, 0, ""};
    };
    const Result<OptionList> options = optionsFor(plan.passes, true);
    if (!options) return options.failure();
    options_ = *options;
    if (!plan.sequences.empty()) return usage("--sequence does not apply to FCPXML");
    if (plan.delivery != DeliveryChoice::automatic)
        return usage("--deliver does not apply to FCPXML, which is tidied as a whole");
    return document_.readFromURL(file.path());
}

}  // namespace

std::unique_ptr<TidyWork> TidyWork::make(InputFile::Kind kind, DocumentView& view) {
    if (kind == InputFile::Kind::fcpxml) return std::make_unique<FCPXMLWork>(view);
    return std::make_unique<XMEMLWork>(view);
}

}  // namespace reelsweep
