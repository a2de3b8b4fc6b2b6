// TimelinePanel: the drawn timeline with its title, what changes in numbers, and its buttons.
//
// Owner: the window. Thread rule: main thread.
#pragma once

#include "app/TimelineView.h"

#include <QWidget>

#include <memory>

class QLabel;
class QPushButton;

namespace reelsweep {

class TimelinePanel final : public QWidget {
    Q_OBJECT

public:
    explicit TimelinePanel(QWidget* parent = nullptr);

    TimelineView& view() { return *view_; }
    /// Shows a sequence, or for null that there is none, with `note` in place of the numbers.
    void showSequence(const QString& title, const std::shared_ptr<const TimelinePicture>& picture,
                      const QString& note, bool showsAfter);
    /// What stands beside the title.
    void setNote(const QString& note);

private:
    QPushButton* addButton(const char* name, const QString& text, const QString& tip);
    void showSelection();

    TimelineView* view_;
    QLabel* title_;
    QLabel* note_;
    QLabel* selection_;
    QString shown_;  ///< the title of the sequence in view
};

}  // namespace reelsweep
