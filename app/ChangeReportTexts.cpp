// What the rows of the report say.
#include "app/ChangeReportModel.h"
#include "app/Text.h"
#include "report/ReasonText.h"
#include "timeline/DifferenceText.h"

#include <QApplication>
#include <QColor>
#include <QFont>
#include <QIcon>
#include <QPainter>
#include <QStyle>

#include <array>

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

QString titleOf(const SequenceLedger& sequence) { return toQString(sequence.title); }

}  // namespace

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
                note(toQString(reasonWithTimecode(ledger.reasonText(ledger.changes[number]),
                                                  ledger.timecode)));
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

QString ChangeReportModel::keptText(const Node& node, int column) const {
    const SequenceLedger& ledger = listing_.sequence(node.sequence);
    const KeptItem& item = ledger.kept[node.number];
    switch (column) {
        case changeColumn: return item.wasAsked ? tr("left as asked") : tr("left for the picture");
        case itemColumn:
            return tr("%1 in %2")
                .arg(toQString(item.name().empty() ? "clip" : item.name()), titleOf(ledger));
        case reasonColumn: return toQString(reasonWithTimecode(item.reason, ledger.timecode));
        case afterColumn:
            return toQString(description(item.track) + "  " +
                             ledger.timecode.text(item.times.start) + " - " +
                             ledger.timecode.text(item.times.end));
        default: return {};
    }
}

QString ChangeReportModel::text(const Node& node, int column) const {
    if (node.kind == Kind::change) return changeText(node, column);
    if (node.kind == Kind::looseClip) return looseText(node, column);
    if (node.kind == Kind::pictureChange) return pictureText(node, column);
    if (node.kind == Kind::keptClip) return keptText(node, column);
    if (column == itemColumn) {
        if (node.kind == Kind::attention) return tr("%L1").arg(attention_);
        if (node.kind == Kind::kept) return tr("%L1").arg(node.children.size());
        if (node.kind == Kind::sequence || node.kind == Kind::pass)
            return changeCount(changesBelow(node));
        return {};
    }
    if (column != changeColumn) return {};
    switch (node.kind) {
        case Kind::attention: return tr("Needs your attention");
        case Kind::kept: return tr("Left as they are");
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
