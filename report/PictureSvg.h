// PictureSvg: a drawn timeline as one SVG file: before above after, with a legend.
//
// Nothing in it refers to anything outside: no fonts, no scripts. It follows the reader's choice of
// light or dark. Clips have their details as tool tips.
// Thread rule: plain functions over values.
#pragma once

#include "base/AtomicFile.h"
#include "report/TimelinePicture.h"

#include <span>
#include <string>

namespace reelsweep {

struct DrawnSequence {
    std::string title;
    const TimelinePicture* picture = nullptr;
};

/// Writes the pictures below each other, `width` pixels wide.
void writePictureSvg(std::span<const DrawnSequence> sequences, int width, ByteSink& sink);

}  // namespace reelsweep
