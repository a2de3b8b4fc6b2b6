// The part of QVLog that takes the queue to the disk: the background thread, the current file and
// what follows a full one.
#include "base/Text.h"
#include "platform/Platform.h"
#include "services/FamilyPreferences.h"
#include "services/LogFiles.h"
#include "services/QVLog.h"
#include "services/SystemInfo.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <exception>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace reelsweep {

namespace {

/// The current file is closed and a fresh one started at this size. The entry that says so speaks
/// of 500KB; readers of logs know it by these words, so they stay.
constexpr std::uint64_t fullFileBytes = 5'000'000;

/// Bytes that one write call takes at most, more or less.
constexpr std::size_t outputBytes = 256UL * 1024;

/// The current date's description; seconds are its finest unit, so it is made once a second.
std::string_view currentDate() {
    thread_local std::time_t shown = -1;
    thread_local std::array<char, 40> text{};
    const std::time_t now = std::time(nullptr);
    if (now != shown) {
        std::tm parts{};
        ::gmtime_r(&now, &parts);
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S +0000", &parts);
        shown = now;
    }
    return text.data();
}

}  // namespace

class QVLog::WriterTurn {
public:
    explicit WriterTurn(QVLog& log) : log_(log), nested_(log.writingHere()) {
        if (nested_) return;
        log_.writerMutex_.lock();
        log_.writer_ = std::this_thread::get_id();
    }
    ~WriterTurn() {
        if (nested_) return;
        log_.writer_ = std::thread::id();
        log_.writerMutex_.unlock();
    }
    WriterTurn(const WriterTurn&) = delete;
    WriterTurn& operator=(const WriterTurn&) = delete;
    /// True when this thread was writing already, further up its stack.
    bool nested() const { return nested_; }

private:
    QVLog& log_;
    const bool nested_;
};

void QVLog::runWriter() {
    std::unique_lock lock(queueMutex_);
    for (;;) {
        writerIdle_ = pending_.ends.empty();
        queueChanged_.wait(lock, [this] { return !pending_.ends.empty(); });
        writerIdle_ = false;
        queueChanged_.wait_for(lock, gatheringTime,
                               [this] { return pending_.bytes() >= gatheringBytes; });
        lock.unlock();
        {
            const WriterTurn turn(*this);
            drain();
        }
        lock.lock();
    }
}

void QVLog::finishWriting() {
    QVLog& log = sharedController();
    const WriterTurn turn(log);
    // The writer itself cannot wait for the write that it is in the middle of.
    if (!turn.nested()) log.drain();
}

void QVLog::drain() {
    while (takePending()) writeBatch(batch_);
}

bool QVLog::takePending() {
    batch_.clear();
    const std::lock_guard lock(queueMutex_);
    std::swap(batch_, pending_);
    if (const std::size_t lost = std::exchange(dropped_, 0); lost > 0) {
        const std::string note =
            formatText("%li entries were dropped: the disk is too slow", static_cast<long>(lost));
        batch_.add(note, note.size());
        bytesInQueue_ += note.size();
    }
    inFlight_ = batch_.ends.size();
    return inFlight_ > 0;
}

void QVLog::writeBatch(const Batch& batch) {
    try {
        writeEntries(batch);
    } catch (const std::exception& exception) {
        if (!loggingDisabled_)
            print(formatText("Exception writing to log: %s\n", exception.what()));
    }
    bytesInQueue_ -= batch.characters;
    {
        const std::lock_guard lock(queueMutex_);
        inFlight_ = 0;
    }
}

void QVLog::writeEntries(const Batch& batch) {
    const std::string_view texts = batch.texts;
    std::size_t start = 0;
    output_.clear();
    for (std::size_t entry = 0; entry < batch.ends.size() && !loggingDisabled_; ++entry) {
        if (fileHandle_ < 0) setFile(LogFiles(appName()).openExisting());
        if (fileHandle_ < 0) {
            reportUnwritable(batch, entry);
            return;
        }
        const std::size_t end = batch.ends[entry];
        output_.append(currentDate()).append(" - ").append(texts.substr(start, end - start)) +=
            '\n';
        start = end;
        const bool full = bytesWritten_ + output_.size() >= fullFileBytes;
        if (!full && output_.size() < outputBytes) continue;
        flushOutput();
        if (dropQueued_) return;  // the process ends
        if (full) startNextFile();
    }
    flushOutput();
}

void QVLog::flushOutput() {
    std::string_view rest = output_;
    while (!rest.empty()) {
        const ssize_t count = ::write(fileHandle_, rest.data(), rest.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw std::system_error(errno, std::generic_category());
        bytesWritten_ += static_cast<std::uint64_t>(count);
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    output_.clear();
}

void QVLog::reportUnwritable(const Batch& batch, std::size_t entry) {
    if (noPrinting_) return;
    std::string lines;
    std::size_t start = entry == 0 ? 0 : batch.ends[entry - 1];
    for (; entry < batch.ends.size(); ++entry) {
        const std::size_t end = batch.ends[entry];
        const std::string_view text = std::string_view(batch.texts).substr(start, end - start);
        lines += formatText("Unable to log the following information: %s\n", text);
        lines += "Unable to open log for output\n";
        start = end;
    }
    print(lines);
}

void QVLog::startNextFile() {
    // The rest of the batch goes on in the fresh file, after the lines that a file starts with.
    Batch first;
    header_ = &first;
    if (startFile({})) appendHeader();
    appendLog("Log truncated at 500KB");
    header_ = nullptr;
    if (fileHandle_ >= 0) {
        std::size_t start = 0;
        for (const std::size_t end : first.ends) {
            output_.append(currentDate()).append(" - ");
            output_.append(first.texts, start, end - start) += '\n';
            start = end;
        }
    }
    bytesInQueue_ -= first.characters;
}

void QVLog::createNewLog(std::string_view name, bool noPrinting) {
    QVLog& log = sharedController();
    log.noPrinting_ = noPrinting;
    Log::setSink(&log);
    if (log.loggingDisabled_) return;
    {
        const WriterTurn turn(log);
        // What was logged before belongs to the file that was current then.
        if (!turn.nested()) log.drain();
        if (!log.startFile(name)) return;
    }
    appendHeader();
}

bool QVLog::startFile(std::string_view name) {
    setFile(-1);
    if (familyPreferenceIsOne("disable-logging")) {
        print("Logging is disabled\n");
        loggingDisabled_ = true;
        return false;
    }
    {
        const std::lock_guard lock(nameMutex_);
        if (name.data() && !appName_) appName_ = name;
    }
    bytesWritten_ = 0;
    if (appName().empty()) setAppName("Unknown");
    const LogFiles::Start fresh = LogFiles(appName()).startFresh();
    if (!fresh.problem.empty()) {
        print(fresh.problem);
        // An administrator who runs the program by a script would look for the log in vain.
        const bool root = Platform::current().folders->userIdentifier() == 0;
        if (root && !std::exchange(saidThereIsNone_, true))
            Platform::current().console->log(
                formatText("There is no log: %@", trimmed(fresh.problem)));
    }
    setFile(fresh.descriptor);
    return fresh.descriptor >= 0;
}

void QVLog::appendHeader() {
    const Bundle& bundle = *Platform::current().bundle;
    constexpr double bytesPerGB = 1024.0 * 1024.0 * 1024.0;
    fastAppendLog("Log started: %@\n", currentDate());
    if (const auto version = bundle.infoValue("CFBundleVersion"))
        fastAppendLog("Version: %@\n", *version);
    if (const auto path = bundle.executablePath()) fastAppendLog("Path: %@\n", *path);
    // The words are the same on every system: scripts that collect logs look for them.
    appendLog("System: macOS %@, %li CPU(s), %0.2f GB RAM\n", operatingSystemVersionString(),
              processorCount(), static_cast<double>(physicalMemory()) / bytesPerGB);
    fastAppendLog("Running in 64-bit mode\n");
}

void QVLog::setFile(int descriptor) {
    const int old = fileHandle_.exchange(descriptor);
    if (old >= 0) ::close(old);
}

}  // namespace reelsweep
