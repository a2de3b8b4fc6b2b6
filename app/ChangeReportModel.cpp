#include "app/ChangeReportModel.h"

#include "app/Text.h"
#include "report/PictureProof.h"
#include "timeline/DifferenceText.h"

#include <QApplication>
#include <QColor>
#include <QFont>
#include <QIcon>
#include <QPainter>
#include <QRegularExpression>
#include <QStyle>

#include <algorithm>
#include <array>
#include <unordered_map>

namespace reelsweep {

namespace {

// Beside the words, never in place of them.
QColor colourOf(ChangeKind kind) {
    switch (kind) {
        case ChangeKind::removed: return {214, 69, 65};
        case ChangeKind::moved: return {58, 124, 204};
        case ChangeKind::trimmed: return {214, 140, 26};
        case ChangeKind::split: return {140, 90, 190};
        case ChangeKind::inserted: return {58, 150, 82};
        case ChangeKind::changed: break;
    }
    return {128, 128, 128};
}

QString word(ChangeKind kind) {
    return QCoreApplication::translate("ChangeKind", std::string(description(kind)).c_str());
}

QIcon dot(const QColor& colour) {
    constexpr int size = 32;
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawEllipse(QRect(6, 6, size - 12, size - 12));
    return picture;
}

QIcon iconOf(ChangeKind kind) {
    static const auto icons = [] {
        std::array<QIcon, changeKindCount> made;
        for (std::size_t i = 0; i < changeKindCount; ++i)
            made[i] = dot(colourOf(static_cast<ChangeKind>(i)));
        return made;
    }();
    return icons[static_cast<std::size_t>(kind)];
}

// The item that a change is about: the clip for what was changed in it.
XMLNode itemOf(const Change& change) { return change.holder ? change.holder : change.node; }

// Transitions seldom have a name of their own; their effect has one.
QString transitionName(XMLNode node) {
    const std::string effect = node.child("effect").child("name").stringValue();
    return effect.empty() ? ChangeReportModel::tr("Transition") : toQString(effect);
}

QString nameOf(const SequenceLedger& sequence, const Change& change) {
    if (change.node.isElement("transitionitem") && change.name().empty())
        return transitionName(change.node);
    return toQString(ChangeTexts::of(sequence, change).item);
}

// Reasons of the passes speak of frames: "from 120 to 512".
QString withTimecode(const QString& text, const SequenceTimecode& timecode) {
    static const QRegularExpression range(QStringLiteral("from (-?\\d+) to (-?\\d+)"));
    QString result = text;
    for (auto match = range.match(result); match.hasMatch(); match = range.match(result)) {
        const auto at = [&](int group) {
            return toQString(timecode.text(Frames{match.captured(group).toLongLong()}));
        };
        const QString times = ChangeReportModel::tr("%1 – %2").arg(at(1), at(2));
        result.replace(match.capturedStart(), match.capturedLength(), times);
    }
    return result;
}

QString titleOf(const SequenceLedger& sequence) { return toQString(sequence.title); }

}  // namespace

void ChangeReportModel::setLedger(const ChangeLedger* ledger) {
    beginResetModel();
    ledger_ = ledger;
    filtered_ = false;
    listing_ = ledger ? ChangeListing(*ledger) : ChangeListing();
    build();
    endResetModel();
}

void ChangeReportModel::setFilter(const QString& text) {
    beginResetModel();
    filtered_ = !text.isEmpty();
    listing_.setFilter(toText(text));
    build();
    endResetModel();
}

void ChangeReportModel::setOrder(Order order) {
    beginResetModel();
    order_ = order;
    build();
    endResetModel();
}

void ChangeReportModel::sort(int column, Qt::SortOrder order) {
    beginResetModel();
    sortColumn_ = column;
    sortOrder_ = order;
    build();
    endResetModel();
}

// The tree

std::uint32_t ChangeReportModel::add(Node node) {
    const auto position = static_cast<std::uint32_t>(nodes_.size());
    Node& parent = nodes_[node.parent];
    node.row = static_cast<std::uint32_t>(parent.children.size());
    parent.children.push_back(position);
    nodes_.push_back(std::move(node));
    return position;
}

void ChangeReportModel::build() {
    nodes_.assign(1, {});
    attention_ = 0;
    if (!ledger_) return;
    addAttention();
    for (std::uint32_t i = 0; i < listing_.sequenceCount(); ++i) addSequence(i);
    if (!filtered_) addUnchanged();
    if (sortColumn_ >= 0) sortRows();
}

void ChangeReportModel::addAttention() {
    std::uint32_t group = 0;
    for (std::uint32_t i = 0; i < listing_.sequenceCount(); ++i)
        for (std::uint32_t clip = 0; clip < listing_.sequence(i).looseClips.size(); ++clip) {
            if (group == 0) group = add({Kind::attention, 0, 0, 0, 0, {}, {}});
            add({Kind::looseClip, group, 0, i, clip, {}, {}});
            ++attention_;
        }
    changedPicture_.clear();
    for (std::uint32_t i = 0; i < listing_.sequenceCount(); ++i)
        for (const Difference* const difference : unaskedDifferences(listing_.sequence(i))) {
            if (group == 0) group = add({Kind::attention, 0, 0, 0, 0, {}, {}});
            const auto number = static_cast<std::uint32_t>(changedPicture_.size());
            changedPicture_.push_back(difference);
            add({Kind::pictureChange, group, 0, i, number, {}, {}});
            ++attention_;
        }
}

void ChangeReportModel::addSequence(std::uint32_t sequence) {
    const auto [first, last] = listing_.groupsOfSequence(sequence);
    if (first == last) return;
    const std::uint32_t node = add({Kind::sequence, 0, 0, sequence, 0, {}, {}});
    order_ == Order::byClip ? addClips(node, sequence) : addPasses(node, sequence);
}

void ChangeReportModel::addClips(std::uint32_t parent, std::uint32_t sequence) {
    const SequenceLedger& ledger = listing_.sequence(sequence);
    std::vector<std::uint32_t> changes;
    const auto [first, last] = listing_.groupsOfSequence(sequence);
    for (std::size_t group = first; group < last; ++group)
        changes.insert(changes.end(), listing_.groups()[group].changes.begin(),
                       listing_.groups()[group].changes.end());
    // Groups are by pass; a clip's changes follow each other as they were made.
    std::sort(changes.begin(), changes.end());
    std::unordered_map<const void*, std::uint32_t> rows;
    for (const std::uint32_t change : changes) {
        const auto [row, isNew] = rows.emplace(itemOf(ledger.changes[change]).identity(), 0);
        if (isNew) row->second = add({Kind::change, parent, 0, sequence, 0, {}, {}});
        nodes_[row->second].changes.push_back(change);
    }
}

void ChangeReportModel::addPasses(std::uint32_t parent, std::uint32_t sequence) {
    const auto [first, last] = listing_.groupsOfSequence(sequence);
    for (std::size_t group = first; group < last; ++group) {
        const auto number = static_cast<std::uint32_t>(group);
        const std::uint32_t pass = add({Kind::pass, parent, 0, sequence, number, {}, {}});
        for (const std::uint32_t change : listing_.groups()[group].changes)
            add({Kind::change, pass, 0, sequence, number, {change}, {}});
    }
}

void ChangeReportModel::addUnchanged() {
    std::uint32_t group = 0;
    for (std::uint32_t i = 0; i < listing_.sequenceCount(); ++i) {
        if (!listing_.sequence(i).changes.empty()) continue;
        if (group == 0) group = add({Kind::unchanged, 0, 0, 0, 0, {}, {}});
        add({Kind::name, group, 0, i, 0, {}, {}});
    }
}

void ChangeReportModel::sortRows() {
    for (Node& parent : nodes_) {
        if (parent.children.empty() || nodes_[parent.children.front()].kind != Kind::change)
            continue;
        std::vector<std::pair<QString, std::uint32_t>> rows;
        for (const std::uint32_t child : parent.children)
            rows.emplace_back(text(nodes_[child], sortColumn_), child);
        const bool descends = sortOrder_ == Qt::DescendingOrder;
        std::stable_sort(rows.begin(), rows.end(), [&](const auto& a, const auto& b) {
            return descends ? b.first < a.first : a.first < b.first;
        });
        for (std::uint32_t row = 0; row < rows.size(); ++row) {
            parent.children[row] = rows[row].second;
            nodes_[rows[row].second].row = row;
        }
    }
}

QModelIndex ChangeReportModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    const Node& node = parent.isValid() ? nodeOf(parent) : nodes_.front();
    return createIndex(row, column, quintptr{node.children[static_cast<std::size_t>(row)]});
}

QModelIndex ChangeReportModel::parent(const QModelIndex& index) const {
    if (!index.isValid()) return {};
    const std::uint32_t parent = nodeOf(index).parent;
    if (parent == 0) return {};
    return createIndex(static_cast<int>(nodes_[parent].row), 0, quintptr{parent});
}

int ChangeReportModel::rowCount(const QModelIndex& parent) const {
    if (parent.column() > 0) return 0;
    const Node& node = parent.isValid() ? nodeOf(parent) : nodes_.front();
    return static_cast<int>(node.children.size());
}

int ChangeReportModel::columnCount(const QModelIndex&) const { return columns; }

bool ChangeReportModel::startsFolded(const QModelIndex& index) const {
    return nodeOf(index).kind == Kind::unchanged;
}

// The texts

QString ChangeReportModel::rowText(const QModelIndex& index) const {
    QStringList texts;
    for (int column = 0; column < columns; ++column)
        texts += index.siblingAtColumn(column).data().toString();
    return texts.join('\t');
}

std::size_t ChangeReportModel::changesBelow(const Node& node) const {
    if (node.kind == Kind::pass) return listing_.groups()[node.number].changes.size();
    std::size_t count = 0;
    const auto [first, last] = listing_.groupsOfSequence(node.sequence);
    for (std::size_t i = first; i < last; ++i) count += listing_.groups()[i].changes.size();
    return count;
}

// All that became of a clip, in one row: where it was before the first change and is after the
// last, and what was done in between. What was taken out of it has changed the clip, not moved it.
QString ChangeReportModel::changeText(const Node& node, int column) const {
    const SequenceLedger& ledger = listing_.sequence(node.sequence);
    std::vector<const Change*> own;
    bool isChangedInside = false;
    for (const std::uint32_t number : node.changes) {
        const Change& change = ledger.changes[number];
        if (!change.holder || node.changes.size() == 1)
            own.push_back(&change);
        else
            isChangedInside = true;
    }
    const Change& any = ledger.changes[node.changes.front()];
    const Change& first = own.empty() ? any : *own.front();
    const Change& last = own.empty() ? any : *own.back();
    const bool isGone = last.kind == ChangeKind::removed && !last.holder;
    QStringList texts;
    const auto note = [&](const QString& text) {
        if (!text.isEmpty() && !texts.contains(text)) texts += text;
    };
    switch (column) {
        case itemColumn:
            if (!own.empty() || any.holderName().empty()) return nameOf(ledger, first);
            return toQString(any.holderName());
        case beforeColumn: return toQString(ChangeTexts::of(ledger, first).before);
        case afterColumn: return toQString(ChangeTexts::of(ledger, last).after);
        case reasonColumn:
            for (const std::uint32_t number : node.changes)
                note(withTimecode(toQString(ledger.reasonText(ledger.changes[number])),
                                  ledger.timecode));
            return texts.join(tr("; "));
        default: break;
    }
    if (isGone) return word(ChangeKind::removed);
    for (const Change* const change : own) note(word(change->kind));
    if (isChangedInside) note(word(ChangeKind::changed));
    const QString from = toQString(description(first.trackBefore));
    const QString to = toQString(description(last.trackAfter));
    QString text = texts.join(tr(", "));
    if (!from.isEmpty() && !to.isEmpty() && from != to) text += tr(" %1 to %2").arg(from, to);
    return text;
}

QString ChangeReportModel::looseText(const Node& node, int column) const {
    const SequenceLedger& ledger = listing_.sequence(node.sequence);
    const LooseClip& clip = ledger.looseClips[node.number];
    const bool startIsLoose = clip.times.start == edgeInTransition;
    const auto known = startIsLoose ? clip.times.end : clip.times.start;
    switch (column) {
        case changeColumn: return startIsLoose ? tr("start is open") : tr("end is open");
        case itemColumn:
            return tr("%1 in %2")
                .arg(toQString(clip.name().empty() ? "clip" : clip.name()), titleOf(ledger));
        case reasonColumn:
            return startIsLoose
                       ? tr("Its transition is gone and nothing says where it starts. Set the cut "
                            "by hand; it ends at %1.")
                             .arg(toQString(ledger.timecode.text(known)))
                       : tr("Its transition is gone and nothing says where it ends. Set the cut by "
                            "hand; it starts at %1.")
                             .arg(toQString(ledger.timecode.text(known)));
        case afterColumn:
            return toQString(description(clip.track) + "  " +
                             ledger.timecode.text(clip.times.start) + " - " +
                             ledger.timecode.text(clip.times.end));
        default: return {};
    }
}

QString ChangeReportModel::pictureText(const Node& node, int column) const {
    const SequenceLedger& ledger = listing_.sequence(node.sequence);
    const Difference& difference = *changedPicture_[node.number];
    switch (column) {
        case changeColumn:
            return difference.type == MediaType::video ? tr("another picture")
                                                       : tr("another sound");
        case itemColumn: return titleOf(ledger);
        case reasonColumn: return toQString(differenceText(difference, ledger.timecode));
        case afterColumn:
            return toQString(ledger.timecode.text(difference.range.start) + " - " +
                             ledger.timecode.text(difference.range.end));
        default: return {};
    }
}

QString ChangeReportModel::text(const Node& node, int column) const {
    if (node.kind == Kind::change) return changeText(node, column);
    if (node.kind == Kind::looseClip) return looseText(node, column);
    if (node.kind == Kind::pictureChange) return pictureText(node, column);
    if (column == itemColumn) {
        if (node.kind == Kind::attention) return tr("%L1").arg(attention_);
        if (node.kind == Kind::sequence || node.kind == Kind::pass)
            return changeCount(changesBelow(node));
        return {};
    }
    if (column != changeColumn) return {};
    switch (node.kind) {
        case Kind::attention: return tr("Needs your attention");
        case Kind::unchanged:
            return tr("%1 without changes").arg(sequenceCount(node.children.size()));
        case Kind::pass: {
            const std::string title(listing_.groups()[node.number].title);
            return QCoreApplication::translate("PassTable", title.c_str());
        }
        default: return titleOf(listing_.sequence(node.sequence));
    }
}

QVariant ChangeReportModel::mark(const Node& node) const {
    if (node.kind == Kind::attention)
        return QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning);
    if (node.kind != Kind::change) return {};
    const auto& changes = listing_.sequence(node.sequence).changes;
    // What is gone is gone, whatever was done to it before.
    const ChangeKind last = changes[node.changes.back()].kind;
    const bool gone = last == ChangeKind::removed && !changes[node.changes.back()].holder;
    return iconOf(gone ? last : changes[node.changes.front()].kind);
}

QVariant ChangeReportModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Node& node = nodeOf(index);
    if (role == Qt::FontRole && (node.kind == Kind::sequence || node.kind == Kind::attention)) {
        QFont font;
        font.setBold(true);
        return font;
    }
    if (role == Qt::DecorationRole && index.column() == changeColumn) return mark(node);
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) return text(node, index.column());
    return {};
}

QVariant ChangeReportModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    switch (section) {
        case changeColumn: return tr("Change");
        case itemColumn: return tr("Item");
        case reasonColumn: return tr("Reason");
        case beforeColumn: return tr("Before");
        default: return tr("After");
    }
}

}  // namespace reelsweep
