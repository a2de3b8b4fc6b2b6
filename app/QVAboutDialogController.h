// QVAboutDialogController: the About box, from the description "QVAbout".
//
// Owner: AppController. Thread rule: main thread.
#pragma once

#include <QPointer>
#include <QWidget>

namespace reelsweep {

class QVAboutDialogController {
public:
    ~QVAboutDialogController();

    /// Shows the box, or brings it to the front. False when its description cannot be loaded.
    bool show();
    QWidget* window() const { return window_; }

private:
    static void awakeFromNib(QWidget& window);

    QPointer<QWidget> window_;
};

}  // namespace reelsweep
