// CheckHeader: the header of a table whose first column is ticked, with a box that ticks all.
//
// The model answers Qt::CheckStateRole for the section of the box.
// Owner: the table. Thread rule: main thread.
#pragma once

#include <QHeaderView>

namespace reelsweep {

class CheckHeader final : public QHeaderView {
    Q_OBJECT

public:
    explicit CheckHeader(int boxSection, QWidget* parent = nullptr)
        : QHeaderView(Qt::Horizontal, parent), boxSection_(boxSection) {
        setSectionsClickable(true);
        connect(this, &QHeaderView::sectionClicked, this, [this](int section) {
            if (section == boxSection_) emit boxClicked(state() != Qt::Checked);
        });
    }

signals:
    /// The box was clicked: all are to be ticked, or none.
    void boxClicked(bool tick);

protected:
    void paintSection(QPainter* painter, const QRect& rect, int section) const override;

private:
    Qt::CheckState state() const;

    const int boxSection_;
};

}  // namespace reelsweep
