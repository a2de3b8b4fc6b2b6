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

/// What is written around the drawing.
enum class SvgForm {
    file,    ///< a file of its own
    inPage,  ///< an element inside a page of HTML: no XML declaration, no title of the sequence
};

/// Writes the pictures below each other, `width` pixels wide.
void writePictureSvg(std::span<const DrawnSequence> sequences, int width, ByteSink& sink,
                     SvgForm form = SvgForm::file);

}  // namespace reelsweep
