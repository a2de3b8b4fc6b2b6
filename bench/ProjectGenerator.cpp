#include "bench/ProjectGenerator.h"

#include <fmt/format.h>
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

namespace {

constexpr long inTransition = -1;

// The standard library's distributions differ between implementations; this does not.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}
    /// A number from 0 to n - 1.
    long below(long n) {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return static_cast<long>((state_ >> 11) % static_cast<std::uint64_t>(n));
    }
    bool oneIn(long n) { return below(n) == 0; }

private:
    std::uint64_t state_;
};

// Tab-indented XML, one element a line.
class Markup {
public:
    explicit Markup(ByteSink& sink) : sink_(sink) {}
    ~Markup() { sink_.write(buffer_); }
    Markup(const Markup&) = delete;
    Markup& operator=(const Markup&) = delete;

    void line(std::string_view text) {
        buffer_.append(open_.size(), '\t').append(text).push_back('\n');
        if (buffer_.size() < 1024 * 1024) return;
        sink_.write(buffer_);
        buffer_.clear();
    }
    void open(const char* element, std::string_view attributes = {}) {
        line(fmt::format("<{}{}>", element, attributes));
        open_.push_back(element);
    }
    void close() {
        const char* const element = open_.back();
        open_.pop_back();
        line(fmt::format("</{}>", element));
    }
    template <class Value>
    void leaf(const char* element, const Value& value) {
        line(fmt::format("<{0}>{1}</{0}>", element, value));
    }

private:
    ByteSink& sink_;
    std::string buffer_;
    std::vector<const char*> open_;
};

class Writer {
public:
    Writer(const GeneratorOptions& options, ByteSink& sink)
        : options_(options), random_(options.seed), xml_(sink) {
        if (options_.shape == TimelineShape::manyTracks) options_.videoTracks = 60;
        isMixed_ =
            options_.shape == TimelineShape::mixed || options_.shape == TimelineShape::manyTracks;
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
        openSequence("Reel 1", 0);
        const bool hasAudio = isMixed_ && options_.audioTracks > 0;
        const std::size_t audioItems = hasAudio ? options_.items / 4 : 0;
        writeTracks("video", options_.videoTracks, options_.items - audioItems);
        writeTracks("audio", options_.audioTracks, audioItems);
        closeSequence();
        for (int i = 0; i < 5; ++i) xml_.close();
    }

private:
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

    void rate() {
        xml_.open("rate");
        xml_.leaf("timebase", 25);
        xml_.leaf("ntsc", "FALSE");
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

    void writeTransition(long start, long end, const char* alignment) {
        ++clipIndex_;
        xml_.open("transitionitem");
        rate();
        xml_.leaf("start", start);
        xml_.leaf("end", end);
        xml_.leaf("alignment", alignment);
        xml_.open("effect");
        xml_.leaf("name", isAudio_ ? "Cross Fade (+3dB)" : "Cross Dissolve");
        xml_.leaf("effectid", isAudio_ ? "KGAudioTransCrossFade3dB" : "Cross Dissolve");
        if (!isAudio_) xml_.leaf("effectcategory", "Dissolve");
        xml_.leaf("effecttype", "transition");
        xml_.leaf("mediatype", isAudio_ ? "audio" : "video");
        xml_.leaf("wipecode", 0);
        xml_.leaf("startratio", 0);
        xml_.leaf("endratio", 1);
        xml_.leaf("reverse", "FALSE");
        xml_.close();
        xml_.close();
    }

    // A clip or, now and then in the mixed shapes, a generator.
    void writeItem(long start, long end, long length) {
        ++clipIndex_;
        const std::size_t number = ++items_;
        const bool isGenerator = isMixed_ && !isAudio_ && random_.oneIn(40);
        const long in = random_.below(5000);
        xml_.open(isGenerator ? "generatoritem" : "clipitem",
                  fmt::format(" id=\"clipitem-{}\"", number));
        xml_.leaf("name", fmt::format("{} {}", isGenerator ? "Text" : "Harbour take", number));
        xml_.leaf("duration", in + length + 500);
        rate();
        xml_.leaf("in", in);
        xml_.leaf("out", in + length);
        xml_.leaf("start", start);
        xml_.leaf("end", end);
        xml_.leaf("enabled", isMixed_ && random_.oneIn(15) ? "FALSE" : "TRUE");
        if (!isAudio_) {
            const bool isBlended = isMixed_ && random_.oneIn(50);
            xml_.leaf("compositemode", isBlended ? "screen" : "normal");
        }
        if (isGenerator)
            effect("Text", "Text", "generator", "str", "Harbour");
        else
            writeSource();
        writeFilters();
        if (isMixed_ && random_.oneIn(10)) writeMarker(number, in);
        xml_.open("sourcetrack");
        xml_.leaf("mediatype", isAudio_ ? "audio" : "video");
        if (isAudio_) xml_.leaf("trackindex", 1);
        xml_.close();
        writeLink(number);
        xml_.close();
    }

    // What a clip plays: mostly a file, now and then a multiclip or a nested sequence.
    void writeSource() {
        if (isMixed_ && !isAudio_ && random_.oneIn(100)) {
            xml_.open("multiclip", fmt::format(" id=\"multiclip-{}\"", items_));
            xml_.leaf("collapsed", "FALSE");
            writeFile();
            xml_.close();
        } else if (isMixed_ && !isAudio_ && random_.oneIn(200)) {
            writeNestedSequence(3);
        } else if (options_.shape == TimelineShape::nested && nested_ == 0) {
            writeNestedSequence(options_.items);
        } else {
            writeFile();
        }
    }

    // Defined in full at its first use, referred to afterwards; so are nested sequences.
    void writeFile() {
        if (files_ > 0 && random_.oneIn(2)) {
            xml_.line(fmt::format("<file id=\"file-{}\"/>", 1 + random_.below(files_)));
            return;
        }
        ++files_;
        xml_.open("file", fmt::format(" id=\"file-{}\"", files_));
        xml_.leaf("name", fmt::format("A{:06}.mov", files_));
        xml_.leaf("pathurl", fmt::format("file://localhost/Volumes/Media/Day%20{}/A{:06}.mov",
                                         files_ % 30 + 1, files_));
        rate();
        xml_.leaf("duration", 6000);
        xml_.close();
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

    // Every clip has its fixed levels, as an export writes them; the mixed ones sometimes use them.
    void writeFilters() {
        const bool isChanged = isMixed_ && random_.oneIn(10);
        xml_.open("filter");
        if (isAudio_)
            effect("Audio Levels", "audiolevels", "audiolevels", "level", isChanged ? 0 : 1);
        else
            effect("Opacity", "opacity", "motion", "opacity", isChanged ? random_.below(100) : 100);
        xml_.close();
        if (!isMixed_ || isAudio_ || !random_.oneIn(25)) return;
        xml_.open("filter");
        effect("Color Corrector", "ColorCorrection", "filter", "saturation", 90);
        xml_.close();
    }

    template <class Value>
    void effect(const char* name, const char* id, const char* type, const char* parameter,
                const Value& value) {
        xml_.open("effect");
        xml_.leaf("name", name);
        xml_.leaf("effectid", id);
        xml_.leaf("effecttype", type);
        xml_.leaf("mediatype", isAudio_ ? "audio" : "video");
        xml_.open("parameter");
        xml_.leaf("parameterid", parameter);
        xml_.leaf("value", value);
        xml_.close();
        xml_.close();
    }

    void writeMarker(std::size_t number, long in) {
        xml_.open("marker");
        xml_.leaf("name", fmt::format("Note {}", number));
        xml_.leaf("comment", "");
        xml_.leaf("in", in);
        xml_.leaf("out", -1);
        xml_.close();
    }

    void writeLink(std::size_t number) {
        xml_.open("link");
        xml_.leaf("linkclipref", fmt::format("clipitem-{}", number));
        xml_.leaf("mediatype", isAudio_ ? "audio" : "video");
        xml_.leaf("trackindex", track_ + 1);
        xml_.leaf("clipindex", clipIndex_);
        xml_.close();
    }

    GeneratorOptions options_;
    Random random_;
    Markup xml_;
    bool isMixed_ = false;  // items vary and take what an export may hold
    bool isAudio_ = false;
    int track_ = 0;
    std::size_t clipIndex_ = 0;  // of the last item of the track, counted from 1
    std::size_t items_ = 0;
    long files_ = 0;
    long nested_ = 0;
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
