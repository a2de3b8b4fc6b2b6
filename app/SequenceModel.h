// SequenceModel: a document's list of sequences as a table: a check box, a title, what the sequence
// is like, and what a run made of it.
//
// Owner: the window. Thread rule: main thread.
#pragma once

#include "report/SequenceSummary.h"
#include "shell/QVFCPDoc.h"

#include <QAbstractTableModel>
#include <QIcon>

#include <functional>
#include <memory>
#include <vector>

namespace reelsweep {

class SequenceModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column {
        selectedColumn,
        sequenceColumn,
        durationColumn,
        rateColumn,
        videoColumn,
        audioColumn,
        itemsColumn,
        outcomeColumn,
        columnCountOfTable
    };

    /// `select` is called to tick or untick the record of a row.
    SequenceModel(std::function<void(std::size_t, bool)> select, QObject* parent);

    /// Replaces the list.
    void setRecords(std::shared_ptr<const SequenceArray> records);
    const std::shared_ptr<const SequenceArray>& records() const { return records_; }
    /// Says of each sequence what became of it: "30 changes · V4 to V1 · 1 warning". An empty
    /// ledger says nothing.
    void setOutcomes(const ChangeLedger& ledger);
    /// Whether all, some or none of the boxes are ticked; the box in the header shows it.
    Qt::CheckState allSelected() const;
    /// The check boxes changed behind the table's back.
    void reloadSelection();
    int selectedCount() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    /// What the columns say of a record.
    struct Row {
        SequenceSummary summary;
        QString outcome;
    };

    QVariant summaryText(const Row& row, int column) const;
    QString outcomeOf(const SequenceLedger& ledger, std::size_t row) const;

    const std::function<void(std::size_t, bool)> select_;
    std::shared_ptr<const SequenceArray> records_;
    std::vector<Row> rows_;
    const QIcon icon_;
};

}  // namespace reelsweep
