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
    rows_.assign(records_->size(), {});
    for (std::size_t row = 0; row < rows_.size(); ++row) {
        const QVSequence& record = *(*records_)[row];
        // A host's short listing says nothing of what is in the sequence.
        rows_[row].summary.isShortForm = record.isPlaceholder;
        if (!record.isPlaceholder)
            rows_[row].summary = SequenceSummary::of(record.xmlRepresentation);
    }
    endResetModel();
}

void SequenceModel::setOutcomes(const ChangeLedger& ledger) {
    for (Row& row : rows_) row.outcome.clear();
    // The ledger has the sequences in the order of the list, though not all of them.
    std::size_t next = 0;
    for (const SequenceLedger& sequence : ledger.sequences)
        for (std::size_t tried = 0; tried < rows_.size(); ++tried) {
            const std::size_t row = (next + tried) % rows_.size();
            const QVSequence& record = *(*records_)[row];
            if (record.title != sequence.title || record.uuid().value_or("") != sequence.uuid)
                continue;
            rows_[row].outcome = outcomeOf(sequence, row);
            next = row + 1;
            break;
        }
    if (!rows_.empty())
        emit dataChanged(index(0, outcomeColumn), index(rowCount() - 1, outcomeColumn));
}

QString SequenceModel::outcomeOf(const SequenceLedger& ledger, std::size_t row) const {
    const QString separator = QStringLiteral(" · ");
    QString text = ledger.changes.empty() ? tr("no changes") : changeCount(ledger.changes.size());
    if (const XMLNode tidied = (*records_)[row]->processedXMLRepresentation) {
        const std::size_t before = rows_[row].summary.videoTracks;
        const std::size_t after = SequenceSummary::of(tidied).videoTracks;
        if (before != after) text += separator + tr("V%L1 to V%L2").arg(before).arg(after);
    }
    const std::size_t warnings = ledger.looseClips.size();
    if (warnings == 1) text += separator + tr("1 warning");
    if (warnings > 1) text += separator + tr("%L1 warnings").arg(warnings);
    return text;
}

Qt::CheckState SequenceModel::allSelected() const {
    const int selected = selectedCount();
    if (selected == 0) return Qt::Unchecked;
    return selected == rowCount() ? Qt::Checked : Qt::PartiallyChecked;
}

void SequenceModel::reloadSelection() {
    if (rowCount() > 0)
        emit dataChanged(index(0, selectedColumn), index(rowCount() - 1, selectedColumn),
                         {Qt::CheckStateRole});
    emit headerDataChanged(Qt::Horizontal, selectedColumn, selectedColumn);
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
    const Row& row = rows_[static_cast<std::size_t>(index.row())];
    if (index.column() != sequenceColumn) {
        if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
            return summaryText(row, index.column());
        const bool isNumber = index.column() != outcomeColumn;
        if (role == Qt::TextAlignmentRole && isNumber)
            return QVariant(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    }
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) return toQString(record.title);
    if (role == Qt::DecorationRole) return icon_;
    return {};
}

QVariant SequenceModel::summaryText(const Row& row, int column) const {
    const SequenceSummary& summary = row.summary;
    if (column == outcomeColumn) return row.outcome;
    if (summary.isShortForm) return {};
    switch (column) {
        case durationColumn: {
            const std::string text = timecode(summary.length, summary.rate, summary.dropFrame);
            return text.empty() ? tr("%L1 frames").arg(summary.length.count) : toQString(text);
        }
        case rateColumn: return toQString(description(summary.rate));
        case videoColumn: return QString::number(summary.videoTracks);
        case audioColumn: return QString::number(summary.audioTracks);
        default: return tr("%L1").arg(summary.items);
    }
}

bool SequenceModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::CheckStateRole) return false;
    select_(static_cast<std::size_t>(index.row()), value.toInt() == Qt::Checked);
    const QModelIndex box = index.siblingAtColumn(selectedColumn);
    emit dataChanged(box, box, {Qt::CheckStateRole});
    emit headerDataChanged(Qt::Horizontal, selectedColumn, selectedColumn);
    return true;
}

QVariant SequenceModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (section == selectedColumn) {
        if (role == Qt::CheckStateRole) return allSelected();
        if (role == Qt::AccessibleTextRole || role == Qt::ToolTipRole)
            return tr("Tick all sequences");
        return {};
    }
    const bool isText = section == sequenceColumn || section == outcomeColumn;
    if (role == Qt::TextAlignmentRole)
        return QVariant((isText ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter);
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
    const bool isShort = role == Qt::DisplayRole;
    switch (section) {
        case sequenceColumn: return tr("Sequence");
        case durationColumn: return tr("Duration");
        case rateColumn: return isShort ? tr("Rate") : tr("Frames in a second");
        case videoColumn: return isShort ? tr("V") : tr("Video tracks");
        case audioColumn: return isShort ? tr("A") : tr("Audio tracks");
        case itemsColumn: return isShort ? tr("Items") : tr("Clips, generators and transitions");
        default: return tr("Result");
    }
}

Qt::ItemFlags SequenceModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (index.column() == selectedColumn) flags |= Qt::ItemIsUserCheckable;
    return flags;
}

}  // namespace reelsweep
