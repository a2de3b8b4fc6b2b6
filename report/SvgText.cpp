#include "report/SvgText.h"

#include "base/Format.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace reelsweep {

namespace {

constexpr double distance = 6;  // of the lines of a hatching

}  // namespace

std::string escaped(std::string_view text) {
    std::string result;
    for (const char letter : text) {
        switch (letter) {
            case '&': result += "&amp;"; break;
            case '<': result += "&lt;"; break;
            case '>': result += "&gt;"; break;
            case '"': result += "&quot;"; break;
            default:
                if (static_cast<unsigned char>(letter) >= ' ' || letter == '\n') result += letter;
        }
    }
    return result;
}

std::string svgNumber(double value) {
    const auto tenths = static_cast<long long>(value * 10 + (value < 0 ? -0.5 : 0.5));
    std::string text = std::to_string(tenths / 10);
    if (tenths < 0 && tenths > -10) text = "-" + text;
    if (tenths % 10 != 0) text += "." + std::to_string(std::abs(tenths % 10));
    return text;
}

std::string svgColour(Colour colour) { return formatText("#%06x", colour); }

std::string fitting(const std::string& text, double width) {
    const auto room = static_cast<long>(width / letterWidth);
    long letters = 0;
    std::size_t cut = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U) continue;
        if (letters == std::max(room - 1, 0L)) cut = i;
        ++letters;
    }
    if (letters <= room) return text;
    return room < 3 ? std::string() : text.substr(0, cut) + "…";
}

std::string diagonals(double x, double y, double w, double h, bool rises) {
    std::string path;
    for (double c = distance - std::fmod(x, distance); c < w + h; c += distance) {
        const double x1 = std::max(0.0, c - h);
        const double x2 = std::min(c, w);
        const double y1 = rises ? c - x1 : h - (c - x1);
        const double y2 = rises ? c - x2 : h - (c - x2);
        path += formatText("M%@ %@L%@ %@", svgNumber(x + x1), svgNumber(y + y1), svgNumber(x + x2),
                           svgNumber(y + y2));
    }
    return path;
}

}  // namespace reelsweep
