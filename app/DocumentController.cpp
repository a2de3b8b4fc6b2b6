#include "app/DocumentController.h"

#include "app/QVFCPDocWindow.h"
#include "app/QVFCPXDocWindow.h"
#include "app/Text.h"
#include "documents/DocumentFormat.h"
#include "platform/Platform.h"
#include "services/QVAlert.h"
#include "services/QVLog.h"

#include <QFileInfo>

namespace reelsweep {

namespace {

constexpr const char* recentKey = "recentDocuments";
constexpr qsizetype recentLimit = 10;

void storeRecentFiles(const QStringList& paths) {
    PropertyList::Array array;
    for (const QString& path : paths) array.emplace_back(toText(path));
    if (const auto error = Platform::current().userDefaults->setObject(recentKey, array))
        QVLog::appendLog("Unable to store the recent files - %@", error.message());
}

// What went wrong in the words of somebody who edits; the message itself, with its line and column,
// follows.
QString inPlainWords(const Failure& reason) {
    const auto says = [&](const char* text) {
        return reason.message.find(text) != std::string::npos;
    };
    using Controller = DocumentController;
    if (says("the file ends too early") || says("unclosed token"))
        return Controller::tr("The file ends too early. Export it again.");
    if (says("is empty")) return Controller::tr("The file is empty. Export it again.");
    if (says("neither XMEML nor FCPXML"))
        return Controller::tr(
            "This is not an export of a timeline. Export it as Final Cut Pro "
            "XML or as FCPXML.");
    if (reason.code == FailureCode::inputUnreadable)
        return Controller::tr(
            "The file cannot be read. See whether it is still there, and whether "
            "you may open it.");
    if (reason.code == FailureCode::inputInvalid)
        return Controller::tr("The file is damaged. Export it again.");
    return {};
}

Result<DocumentWindow*> makeWindow(const std::string& path) {
    if (isNativeProject(path)) return new QVFCPDocWindow;
    const Result<DocumentFormat> format = documentFormat(path);
    if (!format) return format.failure();
    if (*format == DocumentFormat::fcpxml) return new QVFCPXDocWindow;
    return new QVFCPDocWindow;
}

}  // namespace

DocumentWindow* DocumentController::open(const QString& path, const QString& failure) {
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (DocumentWindow* const present = windowOf(absolute)) {
        present->show();
        present->raise();
        present->activateWindow();
        return present;
    }
    const Result<DocumentWindow*> made = makeWindow(toText(absolute));
    if (!made) {
        tellOfFailure(absolute, failure, made.failure());
        return nullptr;
    }
    DocumentWindow* const window = *made;
    connect(window, &DocumentWindow::pathChanged, this, &DocumentController::noteRecentFile);
    if (const Outcome opened = window->open(toText(absolute)); !opened) {
        if (!window->hasShownFailure()) tellOfFailure(absolute, failure, opened.failure());
        delete window;
        return nullptr;
    }
    windows_ += window;
    connect(window, &QObject::destroyed, this, &DocumentController::windowsChanged,
            Qt::QueuedConnection);
    emit windowMade(window);
    window->show();
    emit windowsChanged();
    return window;
}

void DocumentController::open(const QStringList& paths) {
    for (const QString& path : paths) open(path);
}

QList<DocumentWindow*> DocumentController::windows() const {
    QList<DocumentWindow*> open;
    for (const QPointer<DocumentWindow>& window : windows_)
        // One that was closed lives a little longer, unseen.
        if (window && window->isVisible()) open += window;
    return open;
}

DocumentWindow* DocumentController::windowOf(const QString& path) const {
    for (DocumentWindow* const window : windows())
        if (QFileInfo(toQString(window->path())) == QFileInfo(path)) return window;
    return nullptr;
}

void DocumentController::tellOfFailure(const QString& path, const QString& message,
                                       const Failure& reason) {
    const QString usual = tr("“%1” could not be opened").arg(QFileInfo(path).fileName());
    const QString plain = inPlainWords(reason);
    const std::string text =
        plain.isEmpty() ? reason.description() : toText(plain) + "\n\n" + reason.description();
    // Of several projects each one's reason is read before the next is opened.
    const bool waits = !message.isEmpty();
    QVAlert::alertSheet(toText(waits ? message : usual), {}, {}, {}, text, {}, waits);
}

QStringList DocumentController::recentFiles() {
    QStringList paths;
    for (const std::string& path : Platform::current().userDefaults->stringArrayForKey(recentKey))
        paths += toQString(path);
    return paths;
}

void DocumentController::noteRecentFile(const QString& path) {
    QStringList paths = recentFiles();
    paths.removeAll(path);
    paths.prepend(path);
    storeRecentFiles(paths.mid(0, recentLimit));
    emit recentFilesChanged();
}

void DocumentController::clearRecentFiles() {
    storeRecentFiles({});
    emit recentFilesChanged();
}

}  // namespace reelsweep
