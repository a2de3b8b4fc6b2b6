#include "platform/qt/QtAlertPresenter.h"

#include "platform/Platform.h"
#include "platform/qt/WindowRefs.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

#include <utility>

namespace reelsweep {

namespace {

QString shown(const std::string& text) { return QString::fromStdString(text); }

class MessageBox final : public QMessageBox {
public:
    MessageBox(const AlertRequest& request, QWidget* parent, std::function<void(long)> didEnd);
    ~MessageBox() override { end(alertDismissedReturn); }

    /// From here on nobody hears how it ends.
    void forget() { didEnd_ = {}; }

protected:
    // Closing presses the button that says Cancel, or the only one. Where there is neither it is
    // an answer of its own: nobody may wait for a box that is gone.
    void closeEvent(QCloseEvent* event) override {
        event->accept();
        if (buttons().size() == 1) {
            buttons().constFirst()->click();
        } else if (escapeButton()) {
            escapeButton()->click();
        } else {
            hide();
            end(alertDismissedReturn);
        }
    }
    // Qt leaves Escape without an effect where no button says Cancel.
    void keyPressEvent(QKeyEvent* event) override {
        if (event->matches(QKeySequence::Cancel) && !escapeButton())
            close();
        else
            QMessageBox::keyPressEvent(event);
    }

private:
    void add(const std::optional<std::string>& title, ButtonRole role, long returnCode);
    void addSuppression(const std::string& key);
    void end(long returnCode) {
        if (const auto didEnd = std::exchange(didEnd_, {})) didEnd(returnCode);
    }

    std::function<void(long)> didEnd_;
};

MessageBox::MessageBox(const AlertRequest& request, QWidget* parent,
                       std::function<void(long)> didEnd)
    : QMessageBox(parent), didEnd_(std::move(didEnd)) {
    setIcon(request.style == AlertStyle::informational ? Information : Warning);
    setTextFormat(Qt::PlainText);
    setText(shown(request.messageText));
    setInformativeText(shown(request.informativeText));
    // Texts are shown as they are, and Qt would take this one for rich text.
    if (auto* const label = findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel"))) {
        label->setTextFormat(Qt::PlainText);
        // A line of some words, not a narrow column.
        if (!request.informativeText.empty())
            label->setMinimumWidth(fontMetrics().averageCharWidth() * 50);
    }
    setWindowTitle(QApplication::applicationDisplayName());

    add(request.defaultButtonTitle.value_or(tr("OK").toStdString()), AcceptRole,
        alertDefaultReturn);
    // No RejectRole: Qt would let Escape press that button, whatever it says.
    add(request.alternateButtonTitle, ActionRole, alertAlternateReturn);
    add(request.otherButtonTitle, DestructiveRole, alertOtherReturn);
    setDefaultButton(qobject_cast<QPushButton*>(buttons().constFirst()));
    if (request.suppressionBinding) addSuppression(*request.suppressionBinding);
    if (parent) {
        setWindowModality(Qt::WindowModal);
        setWindowFlag(Qt::Sheet);
    } else {
        setWindowModality(Qt::NonModal);
    }
}

void MessageBox::add(const std::optional<std::string>& title, ButtonRole role, long returnCode) {
    if (!title) return;
    QPushButton* const button = addButton(shown(*title), role);
    if (shown(*title) == tr("Cancel")) setEscapeButton(button);
    connect(button, &QPushButton::clicked, this, [this, returnCode] { end(returnCode); });
}

void MessageBox::addSuppression(const std::string& key) {
    auto* const box = new QCheckBox(tr("Do not show this message again"));
    box->setChecked(Platform::current().userDefaults->boolForKey(key));
    connect(box, &QCheckBox::toggled, this,
            [key](bool on) { Platform::current().userDefaults->setObject(key, PropertyList(on)); });
    setCheckBox(box);
}

class QtPresentedAlert final : public PresentedAlert {
public:
    explicit QtPresentedAlert(MessageBox* box) : box_(box) {}
    ~QtPresentedAlert() override {
        if (!box_) return;
        box_->forget();
        // It may be the box itself that has brought us here.
        box_->deleteLater();
    }
    bool isVisible() const override { return box_ && box_->isVisible(); }
    void orderOut() override {
        if (box_) box_->hide();
    }

private:
    QPointer<MessageBox> box_;
};

}  // namespace

bool QtAlertPresenter::hasAttachedSheet(WindowRef window) const {
    const QWidget* const parent = windowOf(window);
    if (!parent) return false;
    for (const QDialog* const dialog : parent->findChildren<QDialog*>())
        if (dialog->isVisible() && dialog->windowModality() == Qt::WindowModal) return true;
    return false;
}

void QtAlertPresenter::makeKeyAndOrderFront(WindowRef window) {
    if (QWidget* const widget = windowOf(window)) {
        widget->raise();
        widget->activateWindow();
    }
}

std::unique_ptr<PresentedAlert> QtAlertPresenter::begin(const AlertRequest& request,
                                                        WindowRef window,
                                                        std::function<void(long)> didEnd) {
    auto* const box = new MessageBox(request, windowOf(window), std::move(didEnd));
    // Whoever is asked is not to wait.
    if (QGuiApplication::overrideCursor()) QGuiApplication::changeOverrideCursor(Qt::ArrowCursor);
    box->show();
    box->raise();
    box->activateWindow();
    return std::make_unique<QtPresentedAlert>(box);
}

}  // namespace reelsweep
