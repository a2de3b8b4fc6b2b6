#include "app/StartWindow.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace reelsweep {

namespace {

constexpr int pictureSize = 96;

QLabel* centred(const QString& text) {
    auto* const label = new QLabel(text);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    return label;
}

}  // namespace

StartWindow::StartWindow()
    : recentLabel_(new QLabel(tr("&Recent files"))), recent_(new QListWidget) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("startWindow"));
    setWindowTitle(QApplication::applicationDisplayName());

    auto* const icon = centred({});
    icon->setPixmap(
        QApplication::windowIcon().pixmap(QSize(pictureSize, pictureSize), devicePixelRatio()));
    auto* const prompt = centred(tr("Drop an XMEML or FCPXML file here"));
    QFont large = prompt->font();
    large.setPointSizeF(large.pointSizeF() * 1.3);
    prompt->setFont(large);
    auto* const help =
        new QLabel(tr("Reelsweep takes interchange XML (XMEML, .xml) and FCPXML (.fcpxml):\n"
                      "Premiere Pro: File › Export › Final Cut Pro XML\n"
                      "DaVinci Resolve: File › Export › Timeline, as FCP 7 XML\n"
                      "Final Cut Pro 7: File › Export › XML\n"
                      "Final Cut Pro X: File › Export XML, from a project"));
    help->setObjectName(QStringLiteral("helpLabel"));
    help->setAlignment(Qt::AlignLeft);
    auto* const open = new QPushButton(tr("&Open…"));
    open->setObjectName(QStringLiteral("openBtn"));
    open->setDefault(true);
    connect(open, &QPushButton::clicked, this, &StartWindow::openRequested);

    recentLabel_->setBuddy(recent_);
    recent_->setObjectName(QStringLiteral("recentList"));
    recent_->setAccessibleName(tr("Recent files"));
    recent_->setTextElideMode(Qt::ElideMiddle);
    connect(recent_, &QListWidget::itemActivated, this, [this](const QListWidgetItem* item) {
        emit fileChosen(item->data(Qt::UserRole).toString());
    });

    auto* const page = new QWidget;
    auto* const layout = new QVBoxLayout(page);
    layout->addStretch();
    layout->addWidget(icon);
    layout->addWidget(prompt);
    layout->addWidget(open, 0, Qt::AlignCenter);
    layout->addSpacing(fontMetrics().height());
    layout->addWidget(help, 0, Qt::AlignCenter);
    layout->addStretch();
    layout->addWidget(recentLabel_);
    layout->addWidget(recent_);
    setCentralWidget(page);
    resize(fontMetrics().averageCharWidth() * 80, fontMetrics().height() * 34);
}

void StartWindow::setRecentFiles(const QStringList& paths) {
    recent_->clear();
    for (const QString& path : paths) {
        const QFileInfo file(path);
        auto* const item = new QListWidgetItem(tr("%1 — %2").arg(file.fileName(), file.path()));
        item->setData(Qt::UserRole, path);
        item->setToolTip(path);
        recent_->addItem(item);
    }
    recent_->setVisible(!paths.isEmpty());
    recentLabel_->setVisible(!paths.isEmpty());
}

}  // namespace reelsweep
