#include "cli/SaveResult.h"

#include "cli/Interruption.h"
#include "cli/StandardStreams.h"

namespace reelsweep {

namespace {

// Refuses everything once the user has interrupted.
class InterruptibleSink final : public ByteSink {
public:
    explicit InterruptibleSink(ByteSink& sink) : sink_(sink) {}
    bool write(std::string_view bytes) override {
        return !Interruption::requested() && sink_.write(bytes);
    }

private:
    ByteSink& sink_;
};

}  // namespace

Outcome saveResult(const SavePlace& place, const std::function<void(ByteSink&)>& produce) {
    const Failure interrupted{FailureCode::cancelled, "interrupted", place.path, 0, 0, ""};
    if (place.path == standardStreamPath) {
        StandardOutput output;
        InterruptibleSink sink(output);
        produce(sink);
        if (Interruption::requested()) return interrupted;
        return output.finish();
    }
    AtomicFile file(place.path, place.overwrite);
    if (place.mustStillBe.known()) file.expectUnchanged(place.mustStillBe);
    if (const Outcome opened = file.open(); !opened) return opened;
    InterruptibleSink sink(file);
    produce(sink);
    if (Interruption::requested()) return interrupted;
    if (place.codes) writeHFSCodes(file.descriptor(), *place.codes);
    return file.commit();
}

}  // namespace reelsweep
