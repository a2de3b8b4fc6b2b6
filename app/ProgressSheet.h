// ProgressSheet: the sheet on a document's window while a run is going.
//
// Owner: the window. Thread rule: main thread.
#pragma once

#include <QDialog>

class QLabel;
class QProgressBar;
class QPushButton;

namespace reelsweep {

class ProgressSheet final : public QDialog {
    Q_OBJECT

public:
    explicit ProgressSheet(QWidget* window);

    /// Shows the sheet, ready to be cancelled.
    void begin();
    void end();
    /// What is being done at the moment.
    void setLabelText(const QString& text);
    /// Which of the sequences is in work: "Reel 2 (3 of 13)"; the position counts from 1. The bar
    /// shows the sequences that are done, and some of this one with each new label.
    void setSequence(const QString& title, std::size_t position, std::size_t count);

    /// Escape, the window's close button and the Cancel button are one thing.
    void reject() override;

signals:
    void cancelled();

private:
    QLabel* sequence_;
    QLabel* label_;
    QProgressBar* bar_;
    QPushButton* cancelButton_;
    int done_ = 0;   ///< of the bar, before the sequence in work
    int steps_ = 0;  ///< labels since it began
};

}  // namespace reelsweep
