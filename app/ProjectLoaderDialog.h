// ProjectLoaderDialog: chooses among the projects that Final Cut Pro has open, from the description
// "QVFCPProjectLoader".
//
// Owner: AppController. Thread rule: main thread.
#pragma once

#include "hosts/QVFCPProjectLoader.h"

#include <QDialog>
#include <QPointer>

#include <functional>
#include <optional>
#include <stop_token>

namespace reelsweep {

class ProjectLoaderDialog {
public:
    /// `open` gets the paths that the user chose, one by one in the order of the list, and tells
    /// the user of those that cannot be opened.
    explicit ProjectLoaderDialog(std::function<void(const QString&)> open);
    ~ProjectLoaderDialog();

    /// Asks Final Cut Pro for its projects and shows them; the rest of the program waits until the
    /// dialog is closed. When its description cannot be loaded an alert says so.
    void showOpenDialog();
    /// Ends the wait for Final Cut Pro's answer, if it goes on; no dialog is shown then.
    void stopAsking() { stop_.request_stop(); }

private:
    void fill();
    void openProject();

    const std::function<void(const QString&)> open_;
    std::optional<QVFCPProjectLoader> loader_;
    std::stop_source stop_;
    QPointer<QDialog> dialog_;
};

}  // namespace reelsweep
