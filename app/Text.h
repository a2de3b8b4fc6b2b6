// Text: the texts of the layers below, UTF-8, and those of Qt; and texts that many windows show.
// Thread rule: any thread.
#pragma once

#include <QCoreApplication>
#include <QString>

#include <cstddef>
#include <string>
#include <string_view>

namespace reelsweep {

inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::string toText(const QString& text) { return text.toStdString(); }

/// "1 change", "2,000 changes", in the user's language.
inline QString changeCount(std::size_t count) {
    if (count == 1) return QCoreApplication::translate("Count", "1 change");
    return QCoreApplication::translate("Count", "%L1 changes").arg(count);
}

/// "1 sequence", "2,000 sequences".
inline QString sequenceCount(std::size_t count) {
    if (count == 1) return QCoreApplication::translate("Count", "1 sequence");
    return QCoreApplication::translate("Count", "%L1 sequences").arg(count);
}

}  // namespace reelsweep
