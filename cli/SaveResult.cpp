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

// Standard output is no file.
using Produce = std::function<void(ByteSink&, AtomicFile* file)>;

Outcome save(const SavePlace& place, const Produce& produce) {
    const Failure interrupted{FailureCode::cancelled, "interrupted", place.path, 0, 0, ""};
    if (place.path == standardStreamPath) {
        StandardOutput output;
        InterruptibleSink sink(output);
        produce(sink, nullptr);
        if (Interruption::requested()) return interrupted;
        return output.finish();
    }
    AtomicFile file(place.path, place.overwrite);
    if (place.mustStillBe.known()) file.expectUnchanged(place.mustStillBe);
    if (const Outcome opened = file.open(); !opened) return opened;
    InterruptibleSink sink(file);
    produce(sink, &file);
    if (Interruption::requested()) return interrupted;
    if (place.codes) writeHFSCodes(file.descriptor(), *place.codes);
    return file.commit();
}

}  // namespace

Outcome saveResult(const SavePlace& place, const std::function<void(ByteSink&)>& produce) {
    return save(place, [&](ByteSink& sink, AtomicFile*) { produce(sink); });
}

Outcome saveResult(const SavePlace& place, const Tidied& tidied) {
    return save(place, [&](ByteSink& sink, AtomicFile* file) {
        file ? tidied.write(*file, sink) : tidied.write(sink);
    });
}

}  // namespace reelsweep
