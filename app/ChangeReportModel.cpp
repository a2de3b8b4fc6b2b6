#include "app/ChangeReportModel.h"

#include "app/Text.h"
#include "report/PictureProof.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>

namespace reelsweep {

namespace {

// The item that a change is about: the clip for what was changed in it.
XMLNode itemOf(const Change& change) { return change.holder ? change.holder : change.node; }

// A frame at which an item certainly is, or begins or ends.
FrameRange knownFrame(const ItemTimes& times) {
    const bool startIsKnown = times.start && *times.start != edgeInTransition;
    const Frames known = (startIsKnown ? times.start : times.end).value_or(Frames{0});
    return {known, known + Frames{1}};
}

}  // namespace

void ChangeReportModel::setLedger(const ChangeLedger* ledger) {
    beginResetModel();
    ledger_ = ledger;
    filter_.clear();
    listing_ = ledger ? ChangeListing(*ledger) : ChangeListing();
    build();
    endResetModel();
}

void ChangeReportModel::setFilter(const QString& text) {
    beginResetModel();
    filter_ = text;
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
    addKept();
    if (filter_.isEmpty()) addUnchanged();
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

// What the filter lets through, in the order in which it was made.
std::vector<std::uint32_t> ChangeReportModel::shownChanges(std::uint32_t sequence) const {
    std::vector<std::uint32_t> changes;
    if (filter_.isEmpty()) {
        changes.resize(listing_.sequence(sequence).changes.size());
        std::iota(changes.begin(), changes.end(), 0U);
        return changes;
    }
    const auto [first, last] = listing_.groupsOfSequence(sequence);
    for (std::size_t group = first; group < last; ++group)
        changes.insert(changes.end(), listing_.groups()[group].changes.begin(),
                       listing_.groups()[group].changes.end());
    // Groups are by pass.
    std::sort(changes.begin(), changes.end());
    return changes;
}

void ChangeReportModel::addClips(std::uint32_t parent, std::uint32_t sequence) {
    const SequenceLedger& ledger = listing_.sequence(sequence);
    std::unordered_map<const void*, std::uint32_t> rows;
    rows.reserve(std::min(ledger.itemsBefore + ledger.itemsAfter, ledger.changes.size()));
    for (const std::uint32_t change : shownChanges(sequence)) {
        const auto [row, isNew] = rows.try_emplace(itemOf(ledger.changes[change]).identity(), 0);
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

void ChangeReportModel::addKept() {
    std::uint32_t group = 0;
    for (std::uint32_t i = 0; i < listing_.sequenceCount(); ++i)
        for (std::uint32_t clip = 0; clip < listing_.sequence(i).kept.size(); ++clip) {
            const Node row{Kind::keptClip, group, 0, i, clip, {}, {}};
            const bool isShown = keptText(row, itemColumn).contains(filter_, Qt::CaseInsensitive) ||
                                 keptText(row, reasonColumn).contains(filter_, Qt::CaseInsensitive);
            if (!isShown) continue;
            if (group == 0) group = add({Kind::kept, 0, 0, 0, 0, {}, {}});
            add({Kind::keptClip, group, 0, i, clip, {}, {}});
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

// Times sort by their frames and clips without a place come first; all else by its text.
ChangeReportModel::SortKey ChangeReportModel::sortKey(const Node& node, int column) const {
    SortKey key;
    key.text = text(node, column).toCaseFolded();
    if (column != beforeColumn && column != afterColumn) return key;
    const std::vector<Change>& changes = listing_.sequence(node.sequence).changes;
    const ItemTimes& times = column == beforeColumn ? changes[node.changes.front()].before
                                                    : changes[node.changes.back()].after;
    constexpr Frames beforeAll{std::numeric_limits<std::int64_t>::min()};
    key.start = times.start.value_or(beforeAll);
    key.end = times.end.value_or(beforeAll);
    // An edge in a transition is told by the other one.
    if (key.start == edgeInTransition) key.start = key.end;
    return key;
}

void ChangeReportModel::sortRows() {
    for (Node& parent : nodes_) {
        if (parent.children.empty() || nodes_[parent.children.front()].kind != Kind::change)
            continue;
        std::vector<std::pair<SortKey, std::uint32_t>> rows;
        for (const std::uint32_t child : parent.children)
            rows.emplace_back(sortKey(nodes_[child], sortColumn_), child);
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

ChangeReportModel::Subject ChangeReportModel::subjectOf(const QModelIndex& index) const {
    if (!index.isValid()) return {};
    const Node& node = nodeOf(index);
    Subject subject{node.sequence, std::nullopt, std::nullopt};
    if (node.kind == Kind::change) {
        subject.change = node.changes.front();
        // What was done to the clip itself tells better where it is than what was done in it.
        for (const std::uint32_t number : node.changes)
            if (!listing_.sequence(node.sequence).changes[number].holder) subject.change = number;
    } else if (node.kind == Kind::pictureChange) {
        subject.range = changedPicture_[node.number]->range;
    } else if (node.kind == Kind::looseClip) {
        subject.range = knownFrame(listing_.sequence(node.sequence).looseClips[node.number].times);
    } else if (node.kind == Kind::keptClip) {
        subject.range = knownFrame(listing_.sequence(node.sequence).kept[node.number].times);
    }
    return subject;
}

QModelIndex ChangeReportModel::rowOf(std::size_t sequence,
                                     std::span<const std::uint32_t> changes) const {
    for (std::uint32_t i = 0; i < nodes_.size(); ++i) {
        const Node& node = nodes_[i];
        if (node.kind != Kind::change || node.sequence != sequence || node.parent == 0) continue;
        if (std::find_first_of(node.changes.begin(), node.changes.end(), changes.begin(),
                               changes.end()) != node.changes.end())
            return createIndex(static_cast<int>(node.row), 0, quintptr{i});
    }
    return {};
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
    const Kind kind = nodeOf(index).kind;
    return kind == Kind::unchanged || kind == Kind::kept;
}

}  // namespace reelsweep
