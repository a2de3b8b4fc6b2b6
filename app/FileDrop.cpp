#include "app/FileDrop.h"

#include <QDropEvent>
#include <QMimeData>
#include <QUrl>
#include <QWidget>

namespace reelsweep {

namespace {

QStringList localFiles(const QMimeData& data) {
    QStringList paths;
    for (const QUrl& url : data.urls())
        if (url.isLocalFile()) paths += url.toLocalFile();
    return paths;
}

}  // namespace

FileDrop::FileDrop(QWidget* window) : QObject(window) {
    window->setAcceptDrops(true);
    window->installEventFilter(this);
}

bool FileDrop::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::DragEnter && event->type() != QEvent::Drop)
        return QObject::eventFilter(watched, event);
    auto* const drop = static_cast<QDropEvent*>(event);
    const QStringList paths = localFiles(*drop->mimeData());
    if (paths.isEmpty()) return false;
    // The files stay where they are, whatever the sender proposes.
    drop->setDropAction(Qt::CopyAction);
    drop->accept();
    if (event->type() == QEvent::Drop) emit dropped(paths);
    return true;
}

}  // namespace reelsweep
