// MainMenu: the menus of a window, and which of their items can be used.
//
// An item is called after what it does: "saveDocument:", "process:".
// Owner: the window. Thread rule: main thread.
#pragma once

#include <QKeySequence>
#include <QObject>

#include <functional>

class QAction;
class QMainWindow;
class QMenu;

namespace reelsweep {

class AppController;
class DocumentWindow;

class MainMenu final : public QObject {
    Q_OBJECT

public:
    /// Gives the window its menu bar; `document` is the window itself, or null when it has none.
    MainMenu(QMainWindow* window, AppController& controller, DocumentWindow* document);

    /// Looks anew at every item that the document decides on.
    void validate();
    /// Looks anew at what Final Cut Pro decides on; the File menu does so when it shows.
    void validateHost();
    QAction* item(const char* name) const;

private:
    QAction* add(QMenu* menu, const char* name, const QString& text, const QKeySequence& keys,
                 std::function<void()> action);
    void buildFileMenu();
    void buildEditMenu();
    void buildSequenceMenu();
    void buildWindowMenu();
    void buildHelpMenu();
    void fillRecentMenu();
    void fillWindowMenu();
    void validateSaving();

    QMainWindow& window_;
    AppController& controller_;
    DocumentWindow* const document_;
    QMenu* recentMenu_ = nullptr;
    QMenu* windowMenu_ = nullptr;
};

}  // namespace reelsweep
