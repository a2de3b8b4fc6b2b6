// StartWindow: what is on the screen while no document is open: the menus, and a place for files.
//
// Owner: itself; it goes away when it is closed. Thread rule: main thread.
#pragma once

#include <QMainWindow>

class QLabel;
class QListWidget;

namespace reelsweep {

class StartWindow final : public QMainWindow {
    Q_OBJECT

public:
    StartWindow();

    void setRecentFiles(const QStringList& paths);

signals:
    void openRequested();
    void fileChosen(const QString& path);

private:
    QLabel* recentLabel_;
    QListWidget* recent_;
};

}  // namespace reelsweep
