// Texts and numbers as an SVG file has them.
//
// Thread rule: plain functions.
#pragma once

#include "report/PictureColours.h"

#include <string>
#include <string_view>

namespace reelsweep {

/// About how wide a letter of a label is, in pixels.
inline constexpr double letterWidth = 6.4;

/// A text for an element or an attribute; what XML cannot hold is left out.
std::string escaped(std::string_view text);
/// With one digit after the point where it needs one.
std::string svgNumber(double value);
/// "#14202b".
std::string svgColour(Colour colour);
/// As much of a text as fits into a width, in whole characters; ends in … when it was cut, and is
/// empty when hardly anything would fit.
std::string fitting(const std::string& text, double width);
/// Diagonals through a rectangle, a few pixels apart, as the data of a path. Not every viewer knows
/// patterns.
std::string diagonals(double x, double y, double w, double h, bool rises);

}  // namespace reelsweep
