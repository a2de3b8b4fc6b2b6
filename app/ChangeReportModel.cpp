#include "app/ChangeReportModel.h"

#include "app/Text.h"

#include <QCoreApplication>
#include <QFont>

namespace reelsweep {

namespace {

// An index's number says what it is: 0 a sequence, 1 a pass of the sequence whose row is in the
// lower half, 2 a change of the group whose number is there.
constexpr quintptr kindShift = sizeof(quintptr) * 8 - 2;
constexpr quintptr valueMask = (quintptr{1} << kindShift) - 1;

enum Kind : quintptr { sequenceKind, passKind, changeKind };

quintptr numberOf(Kind kind, std::size_t value) { return (quintptr{kind} << kindShift) | value; }
Kind kindOf(const QModelIndex& index) { return static_cast<Kind>(index.internalId() >> kindShift); }
std::size_t valueOf(const QModelIndex& index) { return index.internalId() & valueMask; }

}  // namespace

void ChangeReportModel::setLedger(const ChangeLedger* ledger) {
    beginResetModel();
    listing_ = ledger ? ChangeListing(*ledger) : ChangeListing();
    endResetModel();
}

void ChangeReportModel::setFilter(const QString& text) {
    beginResetModel();
    listing_.setFilter(toText(text));
    endResetModel();
}

QString ChangeReportModel::rowText(const QModelIndex& index) const {
    QStringList texts;
    for (int column = 0; column < columns; ++column)
        texts += index.siblingAtColumn(column).data().toString();
    return texts.join('\t');
}

std::size_t ChangeReportModel::groupOfPass(const QModelIndex& pass) const {
    return listing_.groupsOfSequence(valueOf(pass)).first + static_cast<std::size_t>(pass.row());
}

QModelIndex ChangeReportModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    if (!parent.isValid()) return createIndex(row, column, numberOf(sequenceKind, 0));
    if (kindOf(parent) == sequenceKind)
        return createIndex(row, column, numberOf(passKind, static_cast<std::size_t>(parent.row())));
    return createIndex(row, column, numberOf(changeKind, groupOfPass(parent)));
}

QModelIndex ChangeReportModel::parent(const QModelIndex& index) const {
    if (!index.isValid() || kindOf(index) == sequenceKind) return {};
    if (kindOf(index) == passKind)
        return createIndex(static_cast<int>(valueOf(index)), 0, numberOf(sequenceKind, 0));
    const std::size_t group = valueOf(index);
    const std::size_t sequence = listing_.groups()[group].sequence;
    const std::size_t first = listing_.groupsOfSequence(sequence).first;
    return createIndex(static_cast<int>(group - first), 0, numberOf(passKind, sequence));
}

int ChangeReportModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return static_cast<int>(listing_.sequenceCount());
    if (parent.column() > 0 || kindOf(parent) == changeKind) return 0;
    if (kindOf(parent) == passKind)
        return static_cast<int>(listing_.groups()[groupOfPass(parent)].changes.size());
    const auto [first, last] = listing_.groupsOfSequence(static_cast<std::size_t>(parent.row()));
    return static_cast<int>(last - first);
}

int ChangeReportModel::columnCount(const QModelIndex&) const { return columns; }

QVariant ChangeReportModel::changeText(const QModelIndex& index) const {
    const ChangeListing::Group& group = listing_.groups()[valueOf(index)];
    const Change& change = listing_.change(group, static_cast<std::size_t>(index.row()));
    const ChangeTexts texts = ChangeTexts::of(listing_.sequence(group.sequence), change);
    switch (index.column()) {
        case changeColumn:
            return QCoreApplication::translate("ChangeKind", std::string(texts.kind).c_str());
        case itemColumn: return toQString(texts.item);
        case beforeColumn: return toQString(texts.before);
        case afterColumn: return toQString(texts.after);
        default: return toQString(texts.reason);
    }
}

QVariant ChangeReportModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Kind kind = kindOf(index);
    if (role == Qt::FontRole && kind == sequenceKind) {
        QFont font;
        font.setBold(true);
        return font;
    }
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
    if (kind == changeKind) return changeText(index);

    const bool isSequence = kind == sequenceKind;
    if (index.column() == changeColumn) {
        if (isSequence)
            return toQString(listing_.sequence(static_cast<std::size_t>(index.row())).title);
        const std::string title(listing_.groups()[groupOfPass(index)].title);
        return QCoreApplication::translate("PassTable", title.c_str());
    }
    if (index.column() != itemColumn) return {};
    std::size_t count = 0;
    if (isSequence) {
        const auto [first, last] = listing_.groupsOfSequence(static_cast<std::size_t>(index.row()));
        for (std::size_t i = first; i < last; ++i) count += listing_.groups()[i].changes.size();
    } else {
        count = listing_.groups()[groupOfPass(index)].changes.size();
    }
    return changeCount(count);
}

QVariant ChangeReportModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    switch (section) {
        case changeColumn: return tr("Change");
        case itemColumn: return tr("Item");
        case beforeColumn: return tr("Before");
        case afterColumn: return tr("After");
        default: return tr("Reason");
    }
}

}  // namespace reelsweep
