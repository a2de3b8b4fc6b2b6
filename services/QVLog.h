// QVLog: the application log, one for the whole process.
//
// It keeps the files NAME.1.log (the current one) to NAME.5.log (the oldest) in the user's logs
// folder. An entry is one line, "DATE - TEXT". Callers format and queue; the queue is written in
// the background, in order, many entries at a time, so a caller never waits for the disk, with one
// exception: see appendLog. The log never fails its caller; its own troubles go to standard output,
// unless noPrinting is set.
//
// Formats are those of base/Format.h. A percent sign that no directive follows may be written
// plainly in a format (see escapeTextForLogging).
//
// A program that has called createNewLog gets a fresh file; without it, entries are added to the
// newest file that is there. A program that wants no log sets loggingDisabled.
// Owner: the process; the instance is never destroyed. Thread rule: any thread for everything.
#pragma once

#include "base/Format.h"
#include "base/Log.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace reelsweep {

class QVLog : private LogSink {
public:
    /// The one instance, made on first call. That call also arranges that the log is closed when
    /// the process ends (willTerminate) and that an exception nobody catches is logged.
    static QVLog& sharedController();

    /// Starts a fresh current file: the existing files move up one number, the oldest goes, and the
    /// new one starts with a few lines about the program and the machine. From then on it takes the
    /// library's lines too (see base/Log.h). The name is used for the
    /// files when none is set yet; an absent name (no data) leaves the executable's name, an empty
    /// one becomes "Unknown". When a step fails, the log says so and works on with what there is.
    static void createNewLog(std::string_view name = {}, bool noPrinting = false);

    /// Formats and queues an entry. A short text (1 to 99 characters) from another thread than the
    /// main one is on disk when the call returns, provided the queue held little else. An entry of
    /// nothing but white space is dropped, as is everything while logging is disabled.
    template <class... Args>
    static void appendLog(std::string_view format, const Args&... args) {
        appendLogWithArguments(format, packed(args...));
    }
    /// Formats and queues an entry; never waits.
    template <class... Args>
    static void fastAppendLog(std::string_view format, const Args&... args) {
        fastAppendLogWithArguments(format, packed(args...));
    }
    /// appendLog, and the text as a line on standard output, unless noPrinting is set.
    template <class... Args>
    static void appendLogAndPrint(std::string_view format, const Args&... args) {
        appendLogAndPrintWithArguments(format, packed(args...));
    }
    /// appendLog of the formatted and trimmed text.
    template <class... Args>
    static void appendLogAndDebugPrint(std::string_view format, const Args&... args) {
        appendLogAndDebugPrintWithArguments(format, packed(args...));
    }
    /// Does nothing: debug output is not part of this build.
    template <class... Args>
    static void debugPrint(std::string_view, const Args&...) {}

    /// Returns when every queued entry is written. Called while the log itself writes (from its own
    /// rotation), it returns at once.
    static void finishWriting();

    /// The paths of the existing log files, newest first.
    static std::vector<std::string> availableLogs();

    /// The text made safe to use as a format: percent signs that are followed by a blank or by one
    /// of .!,-;:+ are doubled. All other percent signs stay directives.
    static std::string escapeTextForLogging(std::string_view text);

    /// Closes the log as the process ends: a queue of fewer than 11 entries is written, a longer
    /// one is dropped rather than delaying the exit. A program that wants its last lines whatever
    /// their number calls finishWriting before. Nothing is logged afterwards.
    static void willTerminate();

    /// Queues one entry, without formatting.
    void appendTextToLog(std::string_view text);

    /// The name in the files' names: the set one, else the executable's name without extension.
    std::string appName() const;
    void setAppName(std::string_view name);
    /// True while the current file is open.
    bool hasFileHandle() const { return fileHandle_.load() >= 0; }
    /// Bytes written to the current file since createNewLog.
    std::uint64_t bytesWritten() const { return bytesWritten_; }
    /// Characters of the entries that are queued and not yet written.
    std::uint64_t bytesInQueue() const { return bytesInQueue_; }
    /// While set, every append does nothing. Set by createNewLog when the preference file that all
    /// programs of the family share says "disable-logging".
    bool loggingDisabled() const { return loggingDisabled_; }
    void setLoggingDisabled(bool disabled) { loggingDisabled_ = disabled; }
    /// While set, nothing is printed to standard output.
    bool noPrinting() const { return noPrinting_; }
    void setNoPrinting(bool noPrinting) { noPrinting_ = noPrinting; }

private:
    /// The background thread lets entries gather for this time, or up to this size: a program that
    /// logs in a tight loop then wakes it a hundred times a second, not a hundred thousand times.
    static constexpr std::chrono::milliseconds gatheringTime{10};
    static constexpr std::size_t gatheringBytes = 256UL * 1024;

    /// Entries in order: their texts one after the other, and where each ends.
    struct Batch {
        std::string texts;
        std::vector<std::size_t> ends;
        std::size_t characters = 0;

        void add(std::string_view entry, std::size_t entryCharacters);
        void clear();
        std::size_t bytes() const { return texts.size() + ends.size() * sizeof ends.front(); }
    };

    QVLog();

    template <class... Args>
    static std::array<FormatArgument, sizeof...(Args)> packed(const Args&... args) {
        return {FormatArgument::of(args)...};
    }
    using Arguments = std::span<const FormatArgument>;
    static void appendLogWithArguments(std::string_view format, Arguments arguments);
    static void fastAppendLogWithArguments(std::string_view format, Arguments arguments);
    static void appendLogAndPrintWithArguments(std::string_view format, Arguments arguments);
    static void appendLogAndDebugPrintWithArguments(std::string_view format, Arguments arguments);

    void append(std::string_view format, Arguments arguments, Urgency urgency) override;

    bool accepts(std::string_view format) const;
    void print(std::string_view text) const;

    void runWriter();
    void drain();
    bool takePending();
    void writeBatch(const Batch& batch);
    void writeEntries(const Batch& batch);
    void flushOutput();
    void reportUnwritable(const Batch& batch, std::size_t entry);
    void startNextFile();
    bool startFile(std::string_view name);
    static void appendHeader();
    void setFile(int descriptor);

    /// The right to write, and to change what belongs to the writer.
    class WriterTurn;

    bool writingHere() const { return writer_.load() == std::this_thread::get_id(); }

    std::atomic<bool> loggingDisabled_ = false;
    std::atomic<bool> noPrinting_ = false;
    std::atomic<std::uint64_t> bytesInQueue_ = 0;
    std::atomic<std::uint64_t> bytesWritten_ = 0;

    mutable std::mutex nameMutex_;
    std::optional<std::string> appName_;

    // The queue. Callers hold its mutex for the time of a memory copy.
    std::mutex queueMutex_;
    std::condition_variable queueChanged_;
    Batch pending_;
    std::size_t dropped_ = 0;   ///< entries that found the queue full
    std::size_t inFlight_ = 0;  ///< entries taken from the queue and not yet written
    bool writerIdle_ = false;   ///< the background thread waits for a first entry
    bool terminated_ = false;

    // The writer: whoever holds this mutex, be it the background thread or a caller that must not
    // go on before its entry is on disk. All that follows belongs to the holder.
    std::mutex writerMutex_;
    std::atomic<std::thread::id> writer_;
    Batch batch_;
    std::string output_;
    Batch* header_ = nullptr;  ///< takes what the writer itself logs while it starts the next file
    bool saidThereIsNone_ = false;
    std::atomic<int> fileHandle_ = -1;
    std::atomic<bool> dropQueued_ = false;
};

}  // namespace reelsweep
