#include "bench/ProjectGenerator.h"

#include "bench/ItemWriter.h"

#include <fmt/format.h>
#include <algorithm>
#include <string>
#include <utility>

namespace reelsweep {

namespace {

class Writer final : public ItemWriter {
public:
    Writer(const GeneratorOptions& options, ByteSink& sink) : ItemWriter(options, sink) {
        if (options_.shape == TimelineShape::manyTracks) options_.videoTracks = 60;
        if (options_.shape == TimelineShape::twoHundredTracks) options_.videoTracks = 200;
        isMixed_ = options_.shape == TimelineShape::mixed ||
                   options_.shape == TimelineShape::manyTracks ||
                   options_.shape == TimelineShape::twoHundredTracks;
    }

    void write() {
        xml_.line("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
        xml_.line("<!DOCTYPE xmeml>");
        xml_.open("xmeml", " version=\"5\"");
        xml_.open("project");
        xml_.leaf("name", "Harbour");
        xml_.open("children");
        xml_.open("bin");
        xml_.leaf("name", "Edits");
        xml_.open("children");
        if (options_.shape == TimelineShape::manySequences)
            writeReels(options_.items / reelItems);
        else if (options_.shape == TimelineShape::deepNesting)
            writeWithin(0);
        else
            writeReel(0, options_.items);
        for (int i = 0; i < 5; ++i) xml_.close();
    }

private:
    void writeReel(std::size_t number, std::size_t items) {
        openSequence(fmt::format("Reel {}", number + 1), number);
        const bool hasAudio = isMixed_ && options_.audioTracks > 0;
        const std::size_t audioItems = hasAudio ? items / 4 : 0;
        writeTracks("video", options_.videoTracks, items - audioItems);
        writeTracks("audio", options_.audioTracks, audioItems);
        closeSequence();
    }

    // The first ones define files that the later ones refer to.
    void writeReels(std::size_t count) {
        for (std::size_t number = 0; number < std::max<std::size_t>(count, 1); ++number)
            writeReel(number, reelItems);
    }

    // A sequence whose first clip is a sequence whose first clip is one, to the last of the items.
    void writeWithin(std::size_t depth) {
        openSequence(fmt::format("Level {}", depth + 1), depth);
        xml_.open("video");
        xml_.open("track");
        nested_ = static_cast<long>(depth) + 1;
        const bool isLast = (depth + 2) * levelItems > options_.items;
        for (std::size_t i = 0; i < levelItems; ++i) {
            holdsNext_ = i == 0 && !isLast;
            writeItem(static_cast<long>(i) * 50, static_cast<long>(i + 1) * 50, 50);
        }
        xml_.close();
        xml_.close();
        closeSequence();
    }

    void openSequence(std::string_view name, std::size_t number) {
        xml_.open("sequence", fmt::format(" id=\"sequence-{}\"", number));
        xml_.leaf("uuid", fmt::format("5B1D0A52-0000-4000-8000-{:06}{:06}", options_.seed, number));
        xml_.leaf("name", name);
        rate();
        xml_.open("media");
    }
    void closeSequence() {
        xml_.close();
        xml_.close();
    }

    void writeTracks(const char* type, int tracks, std::size_t items) {
        isAudio_ = *type == 'a';
        xml_.open(type);
        for (track_ = 0; track_ < tracks; ++track_) {
            clipIndex_ = 0;
            xml_.open("track");
            writeTrack(tracks, items);
            xml_.leaf("enabled", "TRUE");
            xml_.leaf("locked", "FALSE");
            xml_.close();
        }
        xml_.close();
    }

    // `items` are those of all the tracks.
    void writeTrack(int tracks, std::size_t items) {
        const std::size_t share = items / static_cast<std::size_t>(tracks);
        if (isMixed_) {
            writeMixed(share);
        } else if (options_.shape == TimelineShape::topOverEmpty) {
            if (track_ == tracks - 1) writeCuts(items, 50);
        } else if (options_.shape == TimelineShape::allHidden) {
            // The clips of the upper tracks are longer, so that each hides several below.
            writeCuts(share, 50L * (track_ + 1));
        } else if (options_.shape == TimelineShape::kept) {
            writeStaggered(share);
        } else if (options_.shape == TimelineShape::hiddenChain) {
            const long length = static_cast<long>(items) * 60;
            if (track_ == 0) writeChain(items);
            if (track_ == 1) writeItem(0, length, length);
        } else if (options_.shape == TimelineShape::nested) {
            if (track_ == 0) writeItem(0, 6000, 6000);
        } else if (track_ == 0) {
            writeChain(tracks == 1 ? items : items / 2);
        } else {
            writeCuts(items / 2 / static_cast<std::size_t>(tracks - 1), 40);
        }
    }

    // Each clip sticks out on both sides of those above and below it, and lets them through.
    void writeStaggered(std::size_t items) {
        for (std::size_t i = 0; i < items; ++i) {
            const long start = 25L * track_ + static_cast<long>(i) * 100;
            writeItem(start, start + 100, 100);
        }
    }

    // Opaque clips one after the other.
    void writeCuts(std::size_t items, long length) {
        for (std::size_t i = 0; i < items; ++i) {
            const long start = static_cast<long>(i) * length;
            writeItem(start, start + length, length);
        }
    }

    // a x a x a: every clip but the outer two has both edges in transitions.
    void writeChain(std::size_t items) {
        const std::size_t clips = items / 2 + 1;
        for (std::size_t i = 0; i < clips; ++i) {
            const long start = static_cast<long>(i) * 100;
            const bool isLast = i + 1 == clips;
            isOdd_ = options_.shape == TimelineShape::oddChain && i == clips / 2;
            writeItem(i == 0 ? start : inTransition, isLast ? start + 100 : inTransition, 110);
            if (!isLast) writeTransition(start + 95, start + 105, "center");
        }
    }

    // Groups of one to five items, at times with a hole before them.
    void writeMixed(std::size_t items) {
        long at = 40 + 17L * track_;
        while (clipIndex_ < items) {
            // The first one fades in from nothing, so that a transition comes first in the track.
            const long kind = clipIndex_ == 0 ? 1 : random_.below(16);
            if (random_.oneIn(4)) at += random_.below(200);
            at = writeGroup(kind, at, 20 + random_.below(180));
        }
    }

    // Answers where the group ends.
    long writeGroup(long kind, long at, long length) {
        const long end = at + length;
        switch (kind) {
            case 0:  // A x B, centred on the cut
                writeItem(at, inTransition, length + 5);
                writeTransition(end - 5, end + 5, "center");
                writeItem(inTransition, end + length, length + 5);
                return end + length;
            case 1:  // x A, fades in
                writeTransition(at, at + 8, "start-black");
                writeItem(inTransition, end, length);
                return end;
            case 2:  // A x, fades out
                writeItem(at, inTransition, length);
                writeTransition(end - 8, end, "end-black");
                return end;
            case 3:  // A x B, begins on the cut: A keeps its edge, only B runs into the transition
                writeItem(at, end, length);
                writeTransition(end, end + 10, "start");
                writeItem(inTransition, end + length, length);
                return end + length;
            case 4:  // A x B x C
                writeItem(at, inTransition, length + 5);
                writeTransition(end - 5, end + 5, "center");
                writeItem(inTransition, inTransition, length + 10);
                writeTransition(end + length - 5, end + length + 5, "center");
                writeItem(inTransition, end + 2 * length, length + 5);
                return end + 2 * length;
            default: writeItem(at, end, length); return end;
        }
    }

    bool writesSequence() override {
        if (isMixed_ && !isAudio_ && random_.oneIn(200))
            writeNestedSequence(3);
        else if (options_.shape == TimelineShape::nested && nested_ == 0)
            writeNestedSequence(options_.items);
        else if (std::exchange(holdsNext_, false))
            writeWithin(static_cast<std::size_t>(nested_));
        else
            return false;
        return true;
    }

    void writeNestedSequence(std::size_t clips) {
        if (nested_ > 0 && !random_.oneIn(10)) {
            const long number = 1 + random_.below(nested_);
            xml_.line(fmt::format("<sequence id=\"sequence-{}\"/>", number));
            return;
        }
        const long number = ++nested_;
        openSequence(fmt::format("Scene {}", number), static_cast<std::size_t>(number));
        const bool wasMixed = std::exchange(isMixed_, false);
        const int outerTrack = std::exchange(track_, 0);
        const std::size_t outerIndex = std::exchange(clipIndex_, 0);
        xml_.open("video");
        xml_.open("track");
        writeCuts(clips, 60);
        xml_.close();
        xml_.close();
        closeSequence();
        isMixed_ = wasMixed;
        track_ = outerTrack;
        clipIndex_ = outerIndex;
    }

    static constexpr std::size_t reelItems = 50;
    static constexpr std::size_t levelItems = 25;

    long nested_ = 0;
    bool holdsNext_ = false;  // the next item holds the next sequence
};

}  // namespace

std::optional<TimelineShape> shapeNamed(std::string_view name) {
    constexpr std::pair<std::string_view, TimelineShape> shapes[] = {
        {"mixed", TimelineShape::mixed},
        {"top-over-empty", TimelineShape::topOverEmpty},
        {"all-hidden", TimelineShape::allHidden},
        {"chain", TimelineShape::chain},
        {"hidden-chain", TimelineShape::hiddenChain},
        {"nested", TimelineShape::nested},
        {"many-tracks", TimelineShape::manyTracks},
        {"200-tracks", TimelineShape::twoHundredTracks},
        {"kept", TimelineShape::kept},
        {"odd-chain", TimelineShape::oddChain},
        {"many-sequences", TimelineShape::manySequences},
        {"deep-nesting", TimelineShape::deepNesting},
    };
    const auto found = std::find_if(std::begin(shapes), std::end(shapes),
                                    [&](const auto& shape) { return shape.first == name; });
    if (found == std::end(shapes)) return {};
    return found->second;
}

void generateProject(const GeneratorOptions& options, ByteSink& sink) {
    Writer(options, sink).write();
}

}  // namespace reelsweep
