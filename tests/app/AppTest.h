// AppTest: the application with its windows, driven as a person would: by keys and clicks, and by
// looking at what is on the screen.
#pragma once

#include "app/AppController.h"
#include "app/DocumentWindow.h"
#include "app/MainMenu.h"
#include "app/Text.h"
#include "platform/Platform.h"
#include "tests/platform/TemporaryFolder.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace reelsweep::test {

/// Handles events until the condition holds. False when it does not come true in a long time.
inline bool comesTrue(const std::function<bool()>& condition) {
    constexpr int limit = 10'000;  // milliseconds; far longer than anything takes
    return QTest::qWaitFor(condition, limit);
}

template <class Widget>
Widget* child(const QWidget* window, const char* name) {
    return window->findChild<Widget*>(QString::fromLatin1(name));
}

/// The window of a class that is on the screen; null when there is none.
template <class Window>
Window* shown(const char* name = nullptr) {
    for (QWidget* const widget : QApplication::topLevelWidgets())
        if (auto* const window = qobject_cast<Window*>(widget); window && window->isVisible())
            if (!name || window->objectName() == QLatin1String(name)) return window;
    return nullptr;
}

/// The alert on the screen; null when there is none. `sheet` tells whether it belongs to a window.
inline QMessageBox* shownAlert() {
    for (QWidget* const widget : QApplication::allWidgets())
        if (auto* const box = qobject_cast<QMessageBox*>(widget); box && box->isVisible())
            return box;
    return nullptr;
}

/// Waits for an alert and answers "MESSAGE: INFORMATIVE TEXT".
inline std::string alertText() {
    if (!comesTrue([] { return shownAlert() != nullptr; })) return "no alert";
    return toText(shownAlert()->text() + ": " + shownAlert()->informativeText());
}

/// Clicks a button once it can be hit; false when it never can. On a display a new window may first
/// be too small for it: sizes come back from the server in their own time.
[[nodiscard]] inline bool click(const QPointer<QAbstractButton>& button) {
    if (!comesTrue([&] { return !button || !button->visibleRegion().isEmpty(); }) || !button)
        return false;
    QTest::mouseClick(button, Qt::LeftButton);
    return true;
}

/// Presses a button of the alert on the screen; false when it has none with that text.
[[nodiscard]] inline bool answerAlert(const QString& title) {
    QMessageBox* const box = shownAlert();
    if (!box) return false;
    for (QAbstractButton* const button : box->buttons())
        if (QString(button->text()).remove('&') == title) return click(button);
    return false;
}

class AppTest : public testing::Test {
protected:
    AppTest() {
        UserDefaults& defaults = *Platform::current().userDefaults;
        for (const PassRow& pass : reportedRows())
            defaults.removeObject(OptionBoxes::defaultsKey(pass.option));
        defaults.removeObject("fcpxMarkerKinds");
        // What a window does is shown with the passes alone.
        for (const char* const care : {"keepPicture", "importSafe"}) defaults.setObject(care, 0);
        defaults.setObject("showOpenDialogAtStartup", 0);
    }
    ~AppTest() override {
        // After a failure a run may still wait for an answer, and its window for the run.
        while (QMessageBox* const alert = shownAlert()) delete alert;
        // What was closed goes first: whoever deletes it again meets it half gone.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        // Some go with others.
        QList<QPointer<QWidget>> windows;
        for (QWidget* const window : QApplication::topLevelWidgets()) windows += window;
        for (const QPointer<QWidget>& window : windows)
            if (window && !window->parent()) delete window;
        QTest::qWait(0);
    }

    /// Writes a file and opens it; its sequences are listed when this returns.
    DocumentWindow* open(const std::string& name, std::string_view contents) {
        writeFile(folder / name, contents);
        DocumentWindow* const window = controller.documents().open(toQString(folder / name));
        if (window && table(window))
            comesTrue([&] { return table(window)->model()->rowCount() > 0; });
        return window;
    }
    static QTableView* table(const DocumentWindow* window) {
        return child<QTableView>(window, "sequenceTableView");
    }
    static QPushButton* processButton(const DocumentWindow* window) {
        return child<QPushButton>(window, "processBtn");
    }
    static QTreeView* tree(const DocumentWindow* window) {
        return child<QTreeView>(window, "changesTree");
    }
    static QAction* menuItem(const QMainWindow* window, const char* name) {
        return window->findChild<QAction*>(QString::fromLatin1(name));
    }
    /// Presses the keys of a menu item in a window.
    static void press(QMainWindow* window, const QKeySequence& keys) {
        window->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window));
        QTest::keySequence(window, keys);
    }
    /// Ticks a row.
    static void tick(const DocumentWindow* window, int row) {
        QTableView* const view = table(window);
        view->setCurrentIndex(view->model()->index(row, 0));
        QTest::keyClick(view, Qt::Key_Space);
    }
    /// Switches all options off but these.
    static void setOptions(const DocumentWindow* window, const QStringList& options) {
        for (QCheckBox* const box : window->findChildren<QCheckBox*>())
            if (QString name = box->objectName(); name.endsWith("CheckBox"))
                box->setChecked(options.contains(name.remove("CheckBox")));
    }
    /// Presses the process button, or takes its menu item where another page is shown, and waits
    /// for the alert at the end.
    static std::string process(DocumentWindow* window) {
        if (processButton(window)->isVisible())
            EXPECT_TRUE(click(processButton(window)));
        else
            menuItem(window, "process:")->trigger();
        return alertText();
    }
    static bool ends(const DocumentWindow* window) {
        return comesTrue([&] { return !window->isRunning(); });
    }

    TemporaryFolder folder;
    AppController controller;
};

}  // namespace reelsweep::test
