#include "app/CheckHeader.h"

#include <QPainter>
#include <QStyleOptionButton>

namespace reelsweep {

Qt::CheckState CheckHeader::state() const {
    const QVariant state = model()->headerData(boxSection_, orientation(), Qt::CheckStateRole);
    return static_cast<Qt::CheckState>(state.toInt());
}

void CheckHeader::paintSection(QPainter* painter, const QRect& rect, int section) const {
    painter->save();
    QHeaderView::paintSection(painter, rect, section);
    painter->restore();
    if (section != boxSection_) return;
    QStyleOptionButton box;
    box.initFrom(this);
    const int size = style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, this);
    box.rect = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, QSize(size, size), rect);
    box.state &= ~(QStyle::State_HasFocus | QStyle::State_MouseOver);
    const Qt::CheckState shown = state();
    box.state |= shown == Qt::Checked     ? QStyle::State_On
                 : shown == Qt::Unchecked ? QStyle::State_Off
                                          : QStyle::State_NoChange;
    style()->drawPrimitive(QStyle::PE_IndicatorCheckBox, &box, painter, this);
}

}  // namespace reelsweep
