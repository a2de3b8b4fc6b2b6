#include "app/ManualWindow.h"

#include "app/Placement.h"

#include <QCoreApplication>
#include <QFile>
#include <QPointer>
#include <QShortcut>
#include <QTextBrowser>

namespace reelsweep {

namespace {

constexpr QSize usualSize(680, 720);
constexpr int margin = 18;

QWidget* newManualWindow() {
    auto* const manual = new QTextBrowser;
    manual->setObjectName(QStringLiteral("manual"));
    manual->setWindowTitle(QCoreApplication::translate("Manual", "Reelsweep Manual"));
    manual->setAccessibleName(manual->windowTitle());
    manual->setAttribute(Qt::WA_DeleteOnClose);
    manual->setAttribute(Qt::WA_QuitOnClose, false);
    manual->document()->setDocumentMargin(margin);
    QFile text(QStringLiteral(":/manual.md"));
    // It is part of the program.
    if (text.open(QFile::ReadOnly)) manual->setMarkdown(QString::fromUtf8(text.readAll()));
    manual->moveCursor(QTextCursor::Start);
    manual->resize(usualSize);
    auto* const escape = new QShortcut(Qt::Key_Escape, manual);
    QObject::connect(escape, &QShortcut::activated, manual, &QWidget::close);
    return manual;
}

}  // namespace

void showManual(const QWidget* over) {
    static QPointer<QWidget> manual;
    if (!manual) {
        manual = newManualWindow();
        placeOver(*manual, over);
    }
    manual->show();
    manual->raise();
    manual->activateWindow();
}

}  // namespace reelsweep
