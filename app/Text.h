// Text: the texts of the layers below, UTF-8, and those of Qt. Thread rule: any thread.
#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace reelsweep {

inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::string toText(const QString& text) { return text.toStdString(); }

}  // namespace reelsweep
