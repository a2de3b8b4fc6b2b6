#include "base/Failure.h"

namespace reelsweep {

std::string Failure::description() const {
    std::string text = file;
    if (line > 0) {
        if (text.empty()) text = "line";
        text.append(":").append(std::to_string(line));
        if (column > 0) text.append(":").append(std::to_string(column));
    }
    if (!text.empty()) text += ": ";
    text += message;
    if (!detail.empty()) text.append(": ").append(detail);
    if (!element.empty()) text.append(" (in element \"").append(element).append("\")");
    return text;
}

}  // namespace reelsweep
