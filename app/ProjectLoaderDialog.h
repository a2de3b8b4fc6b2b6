// ProjectLoaderDialog: chooses among the projects that Final Cut Pro has open, from the description
// "QVFCPProjectLoader".
//
// Owner: AppController. Thread rule: main thread.
#pragma once

#include <QDialog>
#include <QPointer>
#include <QStringList>

#include <functional>

namespace reelsweep {

class ProjectLoaderDialog {
public:
    /// `open` gets the paths that the user chose, in the order of the list.
    explicit ProjectLoaderDialog(std::function<void(const QStringList&)> open);
    ~ProjectLoaderDialog();

    /// Asks Final Cut Pro for its projects and shows them; the rest of the program waits until the
    /// dialog is closed. When its description cannot be loaded an alert says so.
    void showOpenDialog();

private:
    void fill(const QStringList& paths);
    void openProject();

    const std::function<void(const QStringList&)> open_;
    QPointer<QDialog> dialog_;
};

}  // namespace reelsweep
