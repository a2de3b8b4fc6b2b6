// InterfaceDescription: windows described in .ui files, which are part of the program's resources.
//
// Thread rule: main thread.
#pragma once

#include <QString>
#include <QWidget>

#include <memory>

namespace reelsweep {

class InterfaceDescription {
public:
    /// The widget that the description of that name ("QVFCPDoc") makes; null when there is no such
    /// description or it cannot be read. The caller owns it.
    static std::unique_ptr<QWidget> load(const QString& name);
    /// Where descriptions are looked for; a folder of the resources or of the disk.
    static void setFolder(const QString& folder);
};

/// The widget of that name in a loaded description, which must have it.
template <class Widget>
Widget* outlet(QWidget& loaded, const char* name) {
    auto* const widget = loaded.findChild<Widget*>(QString::fromLatin1(name));
    Q_ASSERT_X(widget, "outlet", name);
    return widget;
}

}  // namespace reelsweep
