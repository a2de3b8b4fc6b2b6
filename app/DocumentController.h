// DocumentController: the open documents, one window each, and the files opened lately.
//
// Owner: AppController. Thread rule: main thread.
#pragma once

#include "base/Failure.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>

namespace reelsweep {

class DocumentWindow;

class DocumentController final : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Opens a file in a window of its own, or brings its window to the front. A file that cannot
    /// be opened is told of in an alert; the answer is null then.
    /// `failure` is the message of that alert, when it is not to be the usual one.
    DocumentWindow* open(const QString& path, const QString& failure = {});
    void open(const QStringList& paths);

    /// The open windows, in the order in which they were opened.
    QList<DocumentWindow*> windows() const;
    /// The files opened or saved lately, the last one first.
    static QStringList recentFiles();
    void clearRecentFiles();

signals:
    /// A new window, before it is shown.
    void windowMade(reelsweep::DocumentWindow* window);
    void windowsChanged();
    void recentFilesChanged();

private:
    DocumentWindow* windowOf(const QString& path) const;
    void noteRecentFile(const QString& path);
    static void tellOfFailure(const QString& path, const QString& message, const Failure& reason);

    QList<QPointer<DocumentWindow>> windows_;
};

}  // namespace reelsweep
