// FileDrop: lets files be dropped on a window.
//
// Owner: the window. Thread rule: main thread.
#pragma once

#include <QObject>
#include <QStringList>

class QWidget;

namespace reelsweep {

class FileDrop final : public QObject {
    Q_OBJECT

public:
    explicit FileDrop(QWidget* window);

signals:
    void dropped(const QStringList& paths);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

}  // namespace reelsweep
