// ChangeReportModel: what a run changed, as a tree: sequence, pass, change.
//
// Owner: the view. Thread rule: main thread, while no run of the document is going.
#pragma once

#include "report/ChangeListing.h"

#include <QAbstractItemModel>

namespace reelsweep {

class ChangeReportModel final : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Column { changeColumn, itemColumn, beforeColumn, afterColumn, reasonColumn, columns };

    using QAbstractItemModel::QAbstractItemModel;

    /// Shows a ledger, which must stay as it is until another, or none, is shown.
    void setLedger(const ChangeLedger* ledger);
    void setFilter(const QString& text);
    const ChangeListing& listing() const { return listing_; }
    /// A change's row, or a sequence's or pass's line, as texts with tabs between.
    QString rowText(const QModelIndex& index) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::size_t groupOfPass(const QModelIndex& pass) const;
    QVariant changeText(const QModelIndex& index) const;

    ChangeListing listing_;
};

}  // namespace reelsweep
