#include "bench/ProjectGenerator.h"

#include <fmt/format.h>
#include <vector>

namespace reelsweep {

namespace {

// The standard library's distributions differ between implementations; this does not.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}
    /// A number from 0 to n - 1.
    std::uint64_t below(std::uint64_t n) {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return (state_ >> 11) % n;
    }
    bool oneIn(std::uint64_t n) { return below(n) == 0; }

private:
    std::uint64_t state_;
};

constexpr const char* rate = "<rate><timebase>25</timebase><ntsc>FALSE</ntsc></rate>";

struct Times {
    long start;  // -1 inside a transition
    long end;
    long length;  // of the visible material
};

// Writes one project; a track is written item by item.
class Writer {
public:
    Writer(const GeneratorOptions& options, ByteSink& sink)
        : options_(options), sink_(sink), random_(options.seed) {}

    void write() {
        put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n<xmeml version=\"5\">\n"
            "\t<project>\n\t\t<name>Measured</name>\n\t\t<children>\n\t\t\t<sequence "
            "id=\"sequence-1\">\n");
        put(fmt::format(
            "\t\t\t\t<uuid>5B1D0A52-0000-4000-8000-{:012}</uuid>\n\t\t\t\t<name>Reel</name>\n"
            "\t\t\t\t{}\n\t\t\t\t<media>\n",
            options_.seed, rate));
        const std::size_t audioItems =
            options_.audioTracks > 0 && options_.shape == TimelineShape::mixed ? options_.items / 4
                                                                               : 0;
        writeTracks("video", options_.videoTracks, options_.items - audioItems);
        writeTracks("audio", options_.audioTracks, audioItems);
        put("\t\t\t\t</media>\n\t\t\t</sequence>\n\t\t</children>\n\t</project>\n</xmeml>\n");
        flush();
    }

private:
    void writeTracks(const char* type, int tracks, std::size_t items) {
        put(fmt::format("\t\t\t\t\t<{}>\n", type));
        audio_ = *type == 'a';
        for (int t = 0; t < tracks; ++t) {
            put("\t\t\t\t\t\t<track>\n");
            writeTrack(t, tracks, items);
            put("\t\t\t\t\t\t\t<enabled>TRUE</enabled>\n\t\t\t\t\t\t\t<locked>FALSE</locked>\n"
                "\t\t\t\t\t\t</track>\n");
        }
        put(fmt::format("\t\t\t\t\t</{}>\n", type));
    }

    void writeTrack(int track, int tracks, std::size_t items) {
        const bool top = track == tracks - 1;
        const std::size_t share = items / static_cast<std::size_t>(tracks);
        switch (audio_ ? TimelineShape::mixed : options_.shape) {
            case TimelineShape::mixed: writeMixed(share, 40 + 17L * track); break;
            case TimelineShape::topOverEmpty:
                if (top) writeCuts(items, 50);
                break;
            case TimelineShape::allHidden:
                // The clips of the upper tracks are longer, so that each hides several below.
                writeCuts(share, 50L * (track + 1));
                break;
            case TimelineShape::chain:
                if (track == 0)
                    writeChain(items / 2);
                else
                    writeCuts(items / 2 / static_cast<std::size_t>(tracks - 1), 40);
                break;
        }
    }

    // Opaque clips one after the other.
    void writeCuts(std::size_t items, long length) {
        for (std::size_t i = 0; i < items; ++i) {
            const long start = static_cast<long>(i) * length;
            writeClip({start, start + length, length}, false);
        }
    }

    // a x a x a: every clip but the outer two has both edges in transitions.
    void writeChain(std::size_t items) {
        const std::size_t clips = items / 2 + 1;
        for (std::size_t i = 0; i < clips; ++i) {
            const long start = static_cast<long>(i) * 100;
            const bool last = i + 1 == clips;
            writeClip({i == 0 ? start : -1, last ? start + 100 : -1, 110}, false);
            if (!last) writeTransition(start + 95, start + 105);
        }
    }

    void writeMixed(std::size_t items, long offset) {
        long at = offset;
        for (std::size_t i = 0; i < items;) {
            if (random_.oneIn(4)) at += static_cast<long>(random_.below(200));
            const long length = 20 + static_cast<long>(random_.below(180));
            const std::uint64_t kind = random_.below(12);
            if (kind == 0) {  // centred on the cut
                writeClip({at, -1, length}, true);
                writeTransition(at + length - 5, at + length + 5);
                writeClip({-1, at + 2 * length, length}, true);
                at += 2 * length;
                i += 3;
            } else if (kind == 1) {  // fades in
                writeTransition(at, at + 8);
                writeClip({-1, at + length, length}, true);
                at += length;
                i += 2;
            } else if (kind == 2) {  // fades out
                writeClip({at, -1, length}, true);
                writeTransition(at + length - 8, at + length);
                at += length;
                i += 2;
            } else {
                writeClip({at, at + length, length}, true);
                at += length;
                ++i;
            }
        }
    }

    void writeTransition(long start, long end) {
        put(fmt::format(
            "\t\t\t\t\t\t\t<transitionitem>\n\t\t\t\t\t\t\t\t<start>{}</start>\n"
            "\t\t\t\t\t\t\t\t<end>{}</end>\n\t\t\t\t\t\t\t\t<alignment>center</alignment>\n"
            "\t\t\t\t\t\t\t\t{}\n\t\t\t\t\t\t\t\t<effect>\n\t\t\t\t\t\t\t\t\t<name>Cross "
            "Dissolve</name>\n\t\t\t\t\t\t\t\t\t<effectid>Cross Dissolve</effectid>\n"
            "\t\t\t\t\t\t\t\t\t<effecttype>transition</effecttype>\n\t\t\t\t\t\t\t\t</effect>\n"
            "\t\t\t\t\t\t\t</transitionitem>\n",
            start, end, rate));
    }

    void writeClip(Times times, bool varied) {
        const std::size_t number = ++clips_;
        const bool generator = varied && !audio_ && random_.oneIn(40);
        const char* const element = generator ? "generatoritem" : "clipitem";
        const bool enabled = !varied || !random_.oneIn(15);
        const long in = static_cast<long>(random_.below(5000));
        std::string text = fmt::format(
            "\t\t\t\t\t\t\t<{0} id=\"clipitem-{1}\">\n\t\t\t\t\t\t\t\t<name>Harbour take "
            "{1}</name>\n"
            "\t\t\t\t\t\t\t\t<duration>{2}</"
            "duration>\n\t\t\t\t\t\t\t\t{3}\n\t\t\t\t\t\t\t\t<start>{4}"
            "</start>\n\t\t\t\t\t\t\t\t<end>{5}</end>\n\t\t\t\t\t\t\t\t<enabled>{6}</enabled>\n"
            "\t\t\t\t\t\t\t\t<in>{7}</in>\n\t\t\t\t\t\t\t\t<out>{8}</out>\n",
            element, number, in + times.length + 500, rate, times.start, times.end,
            enabled ? "TRUE" : "FALSE", in, in + times.length);
        text += fileOf(number);
        if (!audio_) text += "\t\t\t\t\t\t\t\t<compositemode>normal</compositemode>\n";
        text += filterOf(varied, generator);
        if (varied && random_.oneIn(10))
            text += fmt::format(
                "\t\t\t\t\t\t\t\t<marker>\n\t\t\t\t\t\t\t\t\t<name>Note {}</name>\n"
                "\t\t\t\t\t\t\t\t\t<in>{}</in>\n\t\t\t\t\t\t\t\t\t<out>-1</out>\n"
                "\t\t\t\t\t\t\t\t</marker>\n",
                number, in);
        if (varied && !audio_ && random_.oneIn(100))
            text +=
                "\t\t\t\t\t\t\t\t<multiclip>\n\t\t\t\t\t\t\t\t\t<collapsed>FALSE</collapsed>\n"
                "\t\t\t\t\t\t\t\t</multiclip>\n";
        text += fmt::format(
            "\t\t\t\t\t\t\t\t<link>\n\t\t\t\t\t\t\t\t\t<linkclipref>clipitem-{}</linkclipref>"
            "\n\t\t\t\t\t\t\t\t\t<mediatype>{}</mediatype>\n\t\t\t\t\t\t\t\t</link>\n"
            "\t\t\t\t\t\t\t</{}>\n",
            number, audio_ ? "audio" : "video", element);
        put(text);
    }

    // Defined in full at its first use, referred to afterwards.
    std::string fileOf(std::size_t number) {
        const std::size_t file = number % 4 == 0 ? 1 + random_.below(number) : number;
        if (file < number) return fmt::format("\t\t\t\t\t\t\t\t<file id=\"file-{}\"/>\n", file);
        return fmt::format(
            "\t\t\t\t\t\t\t\t<file id=\"file-{0}\">\n\t\t\t\t\t\t\t\t\t<name>A{0:06}.mov</name>"
            "\n\t\t\t\t\t\t\t\t\t<pathurl>file://localhost/Volumes/Media/Day/A{0:06}.mov"
            "</pathurl>\n\t\t\t\t\t\t\t\t\t{1}\n\t\t\t\t\t\t\t\t</file>\n",
            file, rate);
    }

    std::string filterOf(bool varied, bool generator) {
        std::string text;
        if (generator)
            text +=
                "\t\t\t\t\t\t\t\t<effect>\n\t\t\t\t\t\t\t\t\t<name>Text</name>\n\t\t\t\t\t\t\t\t</"
                "effect>\n";
        const std::string value =
            std::to_string(varied && random_.oneIn(5) ? random_.below(100) : 100);
        const bool silent = varied && random_.oneIn(20);
        text += fmt::format(
            "\t\t\t\t\t\t\t\t<filter>\n\t\t\t\t\t\t\t\t\t<effect>\n\t\t\t\t\t\t\t\t\t\t<name>{}</"
            "name>\n"
            "\t\t\t\t\t\t\t\t\t\t<effectid>{}</effectid>\n\t\t\t\t\t\t\t\t\t\t<parameter>\n"
            "\t\t\t\t\t\t\t\t\t\t\t<parameterid>{}</parameterid>\n\t\t\t\t\t\t\t\t\t\t\t<value>{}</"
            "value>\n"
            "\t\t\t\t\t\t\t\t\t\t</parameter>\n\t\t\t\t\t\t\t\t\t</effect>\n\t\t\t\t\t\t\t\t</"
            "filter>\n",
            audio_ ? "Audio Levels" : "Opacity", audio_ ? "audiolevels" : "opacity",
            audio_ ? "level" : "opacity", audio_ ? (silent ? "0" : "1") : value);
        return text;
    }

    void put(std::string_view text) {
        buffer_ += text;
        if (buffer_.size() > 1024 * 1024) flush();
    }
    void flush() {
        sink_.write(buffer_);
        buffer_.clear();
    }

    GeneratorOptions options_;
    ByteSink& sink_;
    Random random_;
    bool audio_ = false;
    std::size_t clips_ = 0;
    std::string buffer_;
};

}  // namespace

TimelineShape shapeNamed(std::string_view name) {
    if (name == "top-over-empty") return TimelineShape::topOverEmpty;
    if (name == "all-hidden") return TimelineShape::allHidden;
    if (name == "chain") return TimelineShape::chain;
    return TimelineShape::mixed;
}

void generateProject(const GeneratorOptions& options, ByteSink& sink) {
    Writer(options, sink).write();
}

}  // namespace reelsweep
