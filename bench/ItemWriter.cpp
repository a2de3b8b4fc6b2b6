#include "bench/ItemWriter.h"

#include <fmt/format.h>
#include <utility>

namespace reelsweep {

void ItemWriter::rate() {
    xml_.open("rate");
    xml_.leaf("timebase", 25);
    xml_.leaf("ntsc", "FALSE");
    xml_.close();
}

void ItemWriter::writeTransition(long start, long end, const char* alignment) {
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
void ItemWriter::writeItem(long start, long end, long length) {
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
    if (std::exchange(isOdd_, false))
        xml_.leaf("end", fmt::format("{}.0", end));
    else
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
void ItemWriter::writeSource() {
    if (isMixed_ && !isAudio_ && random_.oneIn(100)) {
        xml_.open("multiclip", fmt::format(" id=\"multiclip-{}\"", items_));
        xml_.leaf("collapsed", "FALSE");
        writeFile();
        xml_.close();
    } else if (!writesSequence()) {
        writeFile();
    }
}

// Defined in full at its first use, referred to afterwards; so are nested sequences.
void ItemWriter::writeFile() {
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

// Every clip has its fixed levels, as an export writes them; the mixed ones sometimes use them.
void ItemWriter::writeFilters() {
    const bool isChanged = isMixed_ && random_.oneIn(10);
    xml_.open("filter");
    if (isAudio_)
        effect("Audio Levels", "audiolevels", "audiolevels", "level", isChanged ? 0 : 1);
    else
        effect("Opacity", "opacity", "motion", "opacity",
               options_.shape == TimelineShape::kept ? 60
               : isChanged                           ? random_.below(100)
                                                     : 100);
    xml_.close();
    if (options_.shape == TimelineShape::kept) writeMotion();
    if (!isMixed_ || isAudio_ || !random_.oneIn(25)) return;
    xml_.open("filter");
    effect("Color Corrector", "ColorCorrection", "filter", "saturation", 90);
    xml_.close();
}

// Half its size, in the upper left corner: what is below it shows.
void ItemWriter::writeMotion() {
    xml_.open("filter");
    xml_.open("effect");
    xml_.leaf("name", "Basic Motion");
    xml_.leaf("effectid", "basic");
    xml_.leaf("effecttype", "motion");
    xml_.leaf("mediatype", "video");
    xml_.open("parameter");
    xml_.leaf("parameterid", "scale");
    xml_.leaf("value", 50);
    xml_.close();
    xml_.open("parameter");
    xml_.leaf("parameterid", "center");
    xml_.open("value");
    xml_.leaf("horiz", "-0.25");
    xml_.leaf("vert", "-0.25");
    xml_.close();
    xml_.close();
    xml_.close();
    xml_.close();
}

void ItemWriter::writeMarker(std::size_t number, long in) {
    xml_.open("marker");
    xml_.leaf("name", fmt::format("Note {}", number));
    xml_.leaf("comment", "");
    xml_.leaf("in", in);
    xml_.leaf("out", -1);
    xml_.close();
}

void ItemWriter::writeLink(std::size_t number) {
    xml_.open("link");
    xml_.leaf("linkclipref", fmt::format("clipitem-{}", number));
    xml_.leaf("mediatype", isAudio_ ? "audio" : "video");
    xml_.leaf("trackindex", track_ + 1);
    xml_.leaf("clipindex", clipIndex_);
    xml_.close();
}

}  // namespace reelsweep
