#include "app/TimelinePanel.h"

#include "app/Text.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace reelsweep {

TimelinePanel::TimelinePanel(QWidget* parent)
    : QWidget(parent),
      view_(new TimelineView),
      title_(new QLabel),
      note_(new QLabel),
      selection_(new QLabel) {
    setObjectName(QStringLiteral("timelinePanel"));
    QFont bold = title_->font();
    bold.setBold(true);
    title_->setFont(bold);
    title_->setTextFormat(Qt::PlainText);
    note_->setObjectName(QStringLiteral("timelineNote"));
    note_->setTextFormat(Qt::PlainText);
    selection_->setObjectName(QStringLiteral("timelineSelection"));
    selection_->setTextFormat(Qt::PlainText);
    // A long text is no reason to make the window wider.
    for (QLabel* const label : {title_, note_, selection_})
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto* const top = new QHBoxLayout;
    top->addWidget(title_, 1);
    QPushButton* const previous =
        addButton("previousChangeBtn", tr("Prev&ious"), tr("The change before this one"));
    QPushButton* const next = addButton("nextChangeBtn", tr("&Next"), tr("The next change"));
    QPushButton* const out = addButton("zoomOutBtn", tr("−"), tr("Zoom out"));
    QPushButton* const in = addButton("zoomInBtn", tr("+"), tr("Zoom in"));
    QPushButton* const all =
        addButton("zoomFitBtn", tr("Show A&ll"), tr("Show the whole sequence"));
    for (QPushButton* const button : {previous, next, out, in, all}) top->addWidget(button);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(top);
    layout->addWidget(note_);
    layout->addWidget(view_, 1);
    layout->addWidget(selection_);
    setFocusProxy(view_);

    constexpr double step = 1.5;
    connect(previous, &QPushButton::clicked, view_, [this] { view_->selectChange(-1); });
    connect(next, &QPushButton::clicked, view_, [this] { view_->selectChange(1); });
    connect(out, &QPushButton::clicked, view_, [this] { view_->zoom(1 / step); });
    connect(in, &QPushButton::clicked, view_, [this] { view_->zoom(step); });
    connect(all, &QPushButton::clicked, view_, &TimelineView::fit);
    connect(view_, &TimelineView::selectionChanged, this, &TimelinePanel::showSelection);
}

QPushButton* TimelinePanel::addButton(const char* name, const QString& text, const QString& tip) {
    auto* const button = new QPushButton(text);
    button->setObjectName(QString::fromLatin1(name));
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setAutoDefault(false);
    button->setFixedWidth(
        fontMetrics().horizontalAdvance(QString(text).remove('&') + QStringLiteral("MMM")));
    return button;
}

void TimelinePanel::showSequence(const QString& title,
                                 const std::shared_ptr<const TimelinePicture>& picture,
                                 const QString& note, bool showsAfter) {
    const bool isSameSequence = title == shown_ && view_->picture();
    shown_ = title;
    title_->setText(title);
    title_->setToolTip(title);
    setNote(note);
    view_->setPicture(picture, isSameSequence, showsAfter);
    showSelection();
}

void TimelinePanel::setNote(const QString& note) {
    note_->setText(note);
    note_->setToolTip(note);
}

void TimelinePanel::showSelection() {
    const ClipPlace place = view_->selected();
    QStringList lines;
    if (view_->picture() && place.isSomewhere())
        for (const std::string& line : clipLines(*view_->picture(), place))
            lines += toQString(line);
    selection_->setText(lines.isEmpty() ? tr("Select a clip to read what becomes of it.")
                                        : lines.join(QStringLiteral(" · ")));
    selection_->setToolTip(lines.join('\n'));
}

}  // namespace reelsweep
