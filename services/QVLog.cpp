#include "services/QVLog.h"

#include "base/Text.h"
#include "platform/Platform.h"
#include "services/LogFiles.h"
#include "services/LogText.h"
#include "services/QVException.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace reelsweep {

namespace {

/// A shorter queue than this is still written when the process ends.
constexpr std::size_t longQueue = 11;

/// Texts and queues below this length are waited for by appendLog.
constexpr std::size_t shortText = 100;

/// Entries that wait for a slow disk take no more memory than this; what comes then is dropped and
/// counted, since no caller ever waits for the disk.
constexpr std::size_t queueBytes = 32UL * 1024 * 1024;

}  // namespace

void QVLog::Batch::add(std::string_view entry, std::size_t entryCharacters) {
    texts.append(entry);
    ends.push_back(texts.size());
    characters += entryCharacters;
}

void QVLog::Batch::clear() {
    // One flood of entries must not hold its memory for the rest of the run.
    if (texts.capacity() > 16 * gatheringBytes) *this = Batch();
    texts.clear();
    ends.clear();
    characters = 0;
}

QVLog& QVLog::sharedController() {
    static QVLog* const shared = [] {
        auto* const log = new QVLog;
        std::atexit(willTerminate);
        installUncaughtExceptionHandler();
        return log;
    }();
    return *shared;
}

QVLog::QVLog() {
    // Without a thread of its own the log still works: finishWriting and the end of the process
    // write what is queued.
    try {
        std::thread([this] { runWriter(); }).detach();
    } catch (const std::system_error&) {
    }
}

// Appending

bool QVLog::accepts(std::string_view format) const {
    return format.data() != nullptr && !loggingDisabled_;
}

void QVLog::append(std::string_view format, Arguments arguments, Urgency urgency) {
    urgency == Urgency::fast ? fastAppendLogWithArguments(format, arguments)
                             : appendLogWithArguments(format, arguments);
}

void QVLog::appendLogWithArguments(std::string_view format, Arguments arguments) {
    QVLog& log = sharedController();
    if (!log.accepts(format)) return;
    TextBuffer text;
    formatLogText(text, format, arguments);
    log.appendTextToLog(text.view());
    // A worker's short message is on disk before the worker goes on.
    const std::size_t length = characterCount(text.view());
    if (length >= 1 && length < shortText && log.bytesInQueue_ < shortText &&
        !Platform::current().mainThread->isMainThread())
        finishWriting();
}

void QVLog::fastAppendLogWithArguments(std::string_view format, Arguments arguments) {
    QVLog& log = sharedController();
    if (!log.accepts(format)) return;
    TextBuffer text;
    formatLogText(text, format, arguments);
    log.appendTextToLog(text.view());
}

void QVLog::appendLogAndPrintWithArguments(std::string_view format, Arguments arguments) {
    QVLog& log = sharedController();
    if (!log.accepts(format)) return;
    TextBuffer text;
    formatLogText(text, format, arguments);
    // The text serves as a format once more, so what looks like a directive in it is not logged. On
    // the console it is, with doubled percent signs: both are long-standing and relied on.
    std::string echo(trimmed(text.view()));
    appendLog(echo);
    log.print(consoleEcho(std::move(echo)) + "\n");
}

void QVLog::appendLogAndDebugPrintWithArguments(std::string_view format, Arguments arguments) {
    if (!sharedController().accepts(format)) return;
    TextBuffer text;
    formatInto(text, format, arguments);
    appendLog(trimmed(text.view()));
}

void QVLog::appendTextToLog(std::string_view text) {
    const std::string_view entry = trimmed(text);
    if (entry.empty()) return;
    const std::size_t characters = characterCount(entry);
    if (writingHere() && header_) {
        bytesInQueue_ += characters;
        header_->add(entry, characters);
        return;
    }
    bool wake = false;
    {
        const std::lock_guard lock(queueMutex_);
        if (terminated_) return;
        const std::size_t before = pending_.bytes();
        if (before + entry.size() > queueBytes) {
            ++dropped_;
            return;
        }
        pending_.add(entry, characters);
        bytesInQueue_ += characters;
        wake = writerIdle_ || (before < gatheringBytes && pending_.bytes() >= gatheringBytes);
        writerIdle_ = false;
    }
    if (wake) queueChanged_.notify_one();
}

std::string QVLog::escapeTextForLogging(std::string_view text) { return escapedForLogging(text); }

void QVLog::print(std::string_view text) const {
    if (!noPrinting_) Platform::current().console->print(text);
}

// Files

std::vector<std::string> QVLog::availableLogs() {
    const LogFiles files(sharedController().appName());
    std::vector<std::string> paths;
    for (long number = 1; number <= LogFiles::count; ++number) {
        std::string path = files.numbered(number);
        std::error_code error;
        if (std::filesystem::exists(path, error)) paths.push_back(std::move(path));
    }
    return paths;
}

std::string QVLog::appName() const {
    {
        const std::lock_guard lock(nameMutex_);
        if (appName_) return *appName_;
    }
    const auto executable = Platform::current().bundle->executablePath();
    return executable ? std::filesystem::path(*executable).stem().string() : std::string();
}

void QVLog::setAppName(std::string_view name) {
    const std::lock_guard lock(nameMutex_);
    appName_ = name;
}

void QVLog::willTerminate() {
    QVLog& log = sharedController();
    bool isLong = false;
    {
        const std::lock_guard lock(log.queueMutex_);
        if (log.terminated_) return;
        isLong = log.pending_.ends.size() + log.inFlight_ >= longQueue;
        if (isLong) {
            log.terminated_ = true;
            log.dropQueued_ = true;
            log.bytesInQueue_ -= log.pending_.characters;
            log.pending_.clear();
        }
    }
    if (!isLong) {
        finishWriting();
        const std::lock_guard lock(log.queueMutex_);
        log.terminated_ = true;
    }
    {
        const std::lock_guard lock(log.nameMutex_);
        log.appName_.reset();
    }
    // A write that hangs must not keep the process: its file is then closed by the system.
    if (log.writerMutex_.try_lock()) {
        log.setFile(-1);
        log.writerMutex_.unlock();
    }
}

}  // namespace reelsweep
