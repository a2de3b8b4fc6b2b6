// ChangeReportModel: what a run changed, as a tree.
//
// On top stands what needs somebody's attention, then each sequence with its changes, last, folded
// away, the clips that were left as they are and the sequences without changes. Below a sequence
// stands one row for each clip with all that became of it, or, by pass, one row for each change.
// Owner: the view. Thread rule: main thread, while no run of the document is going.
#pragma once

#include "report/ChangeListing.h"
#include "timeline/PictureDifference.h"

#include <QAbstractItemModel>

#include <cstdint>
#include <optional>
#include <span>
#include <tuple>
#include <vector>

namespace reelsweep {

class ChangeReportModel final : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Column { changeColumn, itemColumn, reasonColumn, beforeColumn, afterColumn, columns };
    enum class Order { byClip, byPass };

    using QAbstractItemModel::QAbstractItemModel;

    /// Shows a ledger, which must stay as it is until another, or none, is shown.
    void setLedger(const ChangeLedger* ledger);
    void setFilter(const QString& text);
    void setOrder(Order order);
    const ChangeListing& listing() const { return listing_; }
    /// How many things need somebody's attention.
    std::size_t attention() const { return attention_; }
    /// True for lines that are folded away until somebody opens them.
    bool startsFolded(const QModelIndex& index) const;
    /// What a row is about, for those who show it elsewhere.
    struct Subject {
        std::size_t sequence = 0;             ///< of the ledger
        std::optional<std::uint32_t> change;  ///< of that sequence
        std::optional<FrameRange> range;
    };
    Subject subjectOf(const QModelIndex& index) const;
    /// The first row that is about one of these changes of a sequence; none when the filter hides
    /// it.
    QModelIndex rowOf(std::size_t sequence, std::span<const std::uint32_t> changes) const;
    /// A row's texts with tabs between.
    QString rowText(const QModelIndex& index) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    /// Sorts the rows below each sequence or pass; the groups keep their order.
    void sort(int column, Qt::SortOrder order) override;

private:
    enum class Kind : std::uint8_t {
        attention,
        looseClip,
        pictureChange,
        sequence,
        pass,
        change,
        kept,
        keptClip,
        unchanged,
        name
    };

    struct Node {
        Kind kind = Kind::change;
        std::uint32_t parent = 0;  ///< position in nodes_; 0 is the root
        std::uint32_t row = 0;     ///< below the parent
        std::uint32_t sequence = 0;
        std::uint32_t number =
            0;  ///< of the group, the loose or kept clip, or the picture's change
        std::vector<std::uint32_t> changes;
        std::vector<std::uint32_t> children;
    };

    struct SortKey {
        Frames start;
        Frames end;
        QString text;

        bool operator<(const SortKey& other) const {
            return std::tie(start, end, text) < std::tie(other.start, other.end, other.text);
        }
    };

    void build();
    void addAttention();
    void addSequence(std::uint32_t sequence);
    std::vector<std::uint32_t> shownChanges(std::uint32_t sequence) const;
    void addClips(std::uint32_t parent, std::uint32_t sequence);
    void addPasses(std::uint32_t parent, std::uint32_t sequence);
    void addKept();
    void addUnchanged();
    std::uint32_t add(Node node);
    void sortRows();
    SortKey sortKey(const Node& node, int column) const;

    const Node& nodeOf(const QModelIndex& index) const { return nodes_[index.internalId()]; }
    QString text(const Node& node, int column) const;
    QString changeText(const Node& node, int column) const;
    QString looseText(const Node& node, int column) const;
    QString pictureText(const Node& node, int column) const;
    QString keptText(const Node& node, int column) const;
    QVariant mark(const Node& node) const;
    std::size_t changesBelow(const Node& node) const;

    ChangeListing listing_;
    const ChangeLedger* ledger_ = nullptr;
    Order order_ = Order::byClip;
    int sortColumn_ = -1;
    Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
    QString filter_;
    std::size_t attention_ = 0;
    std::vector<const Difference*> changedPicture_;  ///< of all sequences, unasked
    std::vector<Node> nodes_{1};
};

}  // namespace reelsweep
