// ProgressSheet: the sheet on a document's window while a run is going.
//
// Owner: the window. Thread rule: main thread.
#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

namespace reelsweep {

class ProgressSheet final : public QDialog {
    Q_OBJECT

public:
    explicit ProgressSheet(QWidget* window);

    /// Shows the sheet, ready to be cancelled.
    void begin();
    void end();
    void setLabelText(const QString& text);

    /// Escape, the window's close button and the Cancel button are one thing.
    void reject() override;

signals:
    void cancelled();

private:
    QLabel* label_;
    QPushButton* cancelButton_;
};

}  // namespace reelsweep
