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

Failure interrupted(const SavePlace& place) {
    return {FailureCode::cancelled, "interrupted", place.path, 0, 0, ""};
}

Outcome fill(AtomicFile& file, const SavePlace& place, const Produce& produce) {
    InterruptibleSink sink(file);
    produce(sink, &file);
    if (Interruption::requested()) return interrupted(place);
    if (place.codes) writeHFSCodes(file.descriptor(), *place.codes);
    return file.commit();
}

Outcome save(const SavePlace& place, const Produce& produce) {
    if (place.path == standardStreamPath) {
        StandardOutput output;
        InterruptibleSink sink(output);
        produce(sink, nullptr);
        if (Interruption::requested()) return interrupted(place);
        return output.finish();
    }
    AtomicFile file(place.path, place.overwrite);
    if (place.mustStillBe.known()) file.expectUnchanged(place.mustStillBe);
    if (const Outcome opened = file.open(); !opened) return opened;
    return fill(file, place, produce);
}

}  // namespace

void SaveInWork::begin(const SavePlace& place, const std::shared_ptr<const SplicedSave>& splice) {
    file_ = std::make_unique<AtomicFile>(place.path, place.overwrite);
    if (file_->open())
        head_ = std::async(std::launch::async, [this, splice] { splice->writeHead(*file_); });
    else
        file_.reset();
}

Outcome SaveInWork::save(const SavePlace& place, const Tidied& tidied) {
    if (!file_) return saveResult(place, tidied);
    head_.wait();
    return fill(*file_, place,
                [&](ByteSink& sink, AtomicFile* file) { tidied.writeAfterHead(*file, sink); });
}

Outcome saveResult(const SavePlace& place, const std::function<void(ByteSink&)>& produce) {
    return save(place, [&](ByteSink& sink, AtomicFile*) { produce(sink); });
}

Outcome saveResult(const SavePlace& place, const Tidied& tidied) {
    return save(place, [&](ByteSink& sink, AtomicFile* file) {
        file ? tidied.write(*file, sink) : tidied.write(sink);
    });
}

}  // namespace reelsweep
