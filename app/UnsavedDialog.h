// UnsavedDialog: asks once, before anything is closed, about all documents that are not saved.
//
// Each line is a document and the file that its tidied copy would go to. The ticked ones are saved.
// Owner: itself; it goes away when it is answered. Thread rule: main thread.
#pragma once

#include <QDialog>
#include <QList>
#include <QPointer>

class QListWidget;

namespace reelsweep {

class DocumentWindow;

class UnsavedDialog final : public QDialog {
    Q_OBJECT

public:
    UnsavedDialog(const QList<DocumentWindow*>& documents, QWidget* parent);

signals:
    /// All documents may be closed: what was ticked is saved, the rest was given up.
    void settled();

private:
    void saveTicked();
    void giveUp();

    QList<QPointer<DocumentWindow>> documents_;
    QListWidget* list_;
};

}  // namespace reelsweep
