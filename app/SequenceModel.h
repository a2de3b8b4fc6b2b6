// SequenceModel: a document's list of sequences as a table: a check box and a title.
//
// Owner: the window. Thread rule: main thread.
#pragma once

#include "shell/QVFCPDoc.h"

#include <QAbstractTableModel>
#include <QIcon>

#include <functional>
#include <memory>

namespace reelsweep {

class SequenceModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { selectedColumn, sequenceColumn, columnCountOfTable };

    /// `select` is called to tick or untick the record of a row.
    SequenceModel(std::function<void(std::size_t, bool)> select, QObject* parent);

    /// Replaces the list.
    void setRecords(std::shared_ptr<const SequenceArray> records);
    const std::shared_ptr<const SequenceArray>& records() const { return records_; }
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
    const std::function<void(std::size_t, bool)> select_;
    std::shared_ptr<const SequenceArray> records_;
    const QIcon icon_;
};

}  // namespace reelsweep
