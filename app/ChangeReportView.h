// ChangeReportView: what a run changed: the tree, a filter, totals, copy and export.
//
// Owner: the window. Thread rule: main thread, while no run of the document is going.
#pragma once

#include "app/ChangeReportModel.h"
#include "report/ChangeReport.h"

#include <QTimer>
#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeView;

namespace reelsweep {

class ChangeReportView final : public QWidget {
    Q_OBJECT

public:
    explicit ChangeReportView(QWidget* parent = nullptr);

    /// Shows a ledger, or nothing for null; what is shown must stay as it is until then.
    void showLedger(const ChangeLedger* ledger, ReportedDocument document);
    /// Gives the keyboard to the filter.
    void focusFilter();
    /// Copies the selected rows, tabs between their columns.
    void copySelection();
    bool hasSelection() const;
    /// What the current row is about.
    ChangeReportModel::Subject subject() const;
    /// Makes the row of one of these changes the current one; says nothing when there is none.
    void selectChanges(std::size_t sequence, std::span<const std::uint32_t> changes);
    /// Asks for a file and writes what there is to it, whatever the filter shows: as JSON when its
    /// name ends so, else as CSV.
    void exportReport();
    Outcome writeReport(const std::string& path) const;

signals:
    void selectionChanged();
    /// Somebody asked what can be done with the current row; the point is of the screen.
    void menuRequested(QPoint point);
    /// Somebody went to another row.
    void subjectChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void applyFilter();
    void showTotals();
    void expandWhatIsShort();

    ChangeReportModel model_;
    ReportedDocument document_;
    const ChangeLedger* ledger_ = nullptr;
    QTimer filterDelay_;
    QLineEdit* filter_;
    QTreeView* tree_;
    QComboBox* order_;
    QLabel* totals_;
    QPushButton* export_;
};

}  // namespace reelsweep
