#include "app/InterfaceDescription.h"

#include <QFile>
#include <QUiLoader>

namespace reelsweep {

namespace {

QString& currentFolder() {
    static QString folder = QStringLiteral(":/interface");
    return folder;
}

}  // namespace

std::unique_ptr<QWidget> InterfaceDescription::load(const QString& name) {
    QFile file(currentFolder() + '/' + name + QStringLiteral(".ui"));
    if (!file.open(QFile::ReadOnly)) return nullptr;
    QUiLoader loader;
    loader.setLanguageChangeEnabled(true);
    return std::unique_ptr<QWidget>(loader.load(&file));
}

void InterfaceDescription::setFolder(const QString& folder) { currentFolder() = folder; }

}  // namespace reelsweep
