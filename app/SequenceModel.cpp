#include "app/SequenceModel.h"

#include "app/Text.h"

#include <algorithm>
#include <utility>

namespace reelsweep {

SequenceModel::SequenceModel(std::function<void(std::size_t, bool)> select, QObject* parent)
    : QAbstractTableModel(parent),
      select_(std::move(select)),
      records_(std::make_shared<SequenceArray>()),
      icon_(QStringLiteral(":/images/sequence.png")) {}

void SequenceModel::setRecords(std::shared_ptr<const SequenceArray> records) {
    beginResetModel();
    records_ = std::move(records);
    endResetModel();
}

void SequenceModel::reloadSelection() {
    if (rowCount() > 0)
        emit dataChanged(index(0, selectedColumn), index(rowCount() - 1, selectedColumn),
                         {Qt::CheckStateRole});
}

int SequenceModel::selectedCount() const {
    return static_cast<int>(
        std::count_if(records_->begin(), records_->end(),
                      [](const auto& record) { return record->selected.load(); }));
}

int SequenceModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(records_->size());
}

int SequenceModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnCountOfTable;
}

QVariant SequenceModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const QVSequence& record = *(*records_)[static_cast<std::size_t>(index.row())];
    if (index.column() == selectedColumn) {
        if (role == Qt::CheckStateRole) return record.selected ? Qt::Checked : Qt::Unchecked;
        // What a screen reader says of a cell that shows a check box only.
        if (role == Qt::AccessibleTextRole) return tr("Process %1").arg(toQString(record.title));
        return {};
    }
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) return toQString(record.title);
    if (role == Qt::DecorationRole) return icon_;
    return {};
}

bool SequenceModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::CheckStateRole) return false;
    select_(static_cast<std::size_t>(index.row()), value.toInt() == Qt::Checked);
    const QModelIndex box = index.siblingAtColumn(selectedColumn);
    emit dataChanged(box, box, {Qt::CheckStateRole});
    return true;
}

QVariant SequenceModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section != sequenceColumn) return {};
    if (role == Qt::DisplayRole) return tr("Sequence");
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

Qt::ItemFlags SequenceModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (index.column() == selectedColumn) flags |= Qt::ItemIsUserCheckable;
    return flags;
}

}  // namespace reelsweep
