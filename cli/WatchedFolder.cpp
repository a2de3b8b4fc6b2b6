#include "cli/WatchedFolder.h"

#include "cli/InputFolder.h"
#include "documents/DocumentFormat.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace reelsweep {

namespace {

// The system lends a file for reading only while nobody writes it. Where it lends none, on a shared
// volume say, this is not known.
bool isOpenForWriting(const std::string& path) {
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) return false;
    if (::fcntl(file.get(), F_SETLEASE, F_RDLCK) != 0) return errno == EAGAIN;
    ::fcntl(file.get(), F_SETLEASE, F_UNLCK);
    return false;
}

// A bundle with a file in it that is being written is not whole.
bool isBeingWritten(const std::string& path) {
    namespace fs = std::filesystem;
    if (!isFCPXMLBundle(path)) return isOpenForWriting(path);
    std::error_code error;
    for (fs::recursive_directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error))
        if (isOpenForWriting(entry->path().string())) return true;
    return false;
}

constexpr std::uint32_t inFolder =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t inBundle = IN_CLOSE_WRITE | IN_MOVED_TO | IN_ONLYDIR;

}  // namespace

Result<WatchedFolder> WatchedFolder::open(const std::string& path,
                                          std::chrono::milliseconds settling) {
    // Somebody who opens a file that is lent to this program for a moment is told by this signal.
    ::signal(SIGIO, SIG_IGN);
    WatchedFolder folder(path, settling);
    folder.events_.reset(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!folder.events_ || ::inotify_add_watch(folder.events_.get(), path.c_str(), inFolder) < 0)
        return Failure{FailureCode::inputUnreadable,
                       std::string("cannot be watched: ") + std::strerror(errno), path};
    if (Outcome scanned = folder.scan(); !scanned) return scanned.failure();
    return folder;
}

Outcome WatchedFolder::scan() {
    namespace fs = std::filesystem;
    const Result<std::vector<FoundFile>> files = filesIn(path_, false, {});
    if (!files) return files.failure();
    for (const FoundFile& file : *files) add(fs::path(file.path).filename().string());
    // Also a bundle whose document has yet to come.
    std::error_code error;
    for (fs::directory_iterator entry(path_, error), end; !error && entry != end;
         entry.increment(error))
        if (isFCPXMLBundle(entry->path().string())) add(entry->path().filename().string());
    return Done{};
}

void WatchedFolder::add(const std::string& name) {
    if (!isTidiable(name)) return;
    pending_[name] = {{}, std::chrono::steady_clock::now()};
    if (isFCPXMLBundle(name)) watchBundle(name);
}

// What is written inside is told of there. Asking twice gives the same number.
void WatchedFolder::watchBundle(const std::string& name) {
    const int number = ::inotify_add_watch(events_.get(), (path_ + "/" + name).c_str(), inBundle);
    if (number >= 0) bundles_[number] = name;
}

Outcome WatchedFolder::update() {
    alignas(inotify_event) std::array<char, 1 << 14> buffer;
    for (;;) {
        const ssize_t size = ::read(events_.get(), buffer.data(), buffer.size());
        if (size <= 0) return Done{};
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            const auto* const event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            at += sizeof *event + event->len;
            if (const auto bundle = bundles_.find(event->wd); bundle != bundles_.end()) {
                if (event->mask & IN_IGNORED)
                    bundles_.erase(bundle);
                else
                    add(std::string(bundle->second));
                continue;
            }
            if (event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED))
                return Failure{FailureCode::inputUnreadable, "the folder is gone", path_};
            // Events were lost: what is there counts.
            if (event->mask & IN_Q_OVERFLOW)
                if (Outcome scanned = scan(); !scanned) return scanned;
            if (event->len == 0) continue;
            if (bool(event->mask & IN_ISDIR) == isFCPXMLBundle(event->name)) add(event->name);
        }
    }
}

std::vector<std::string> WatchedFolder::takeWhole() {
    const auto now = std::chrono::steady_clock::now();
    std::vector<std::string> whole;
    for (auto file = pending_.begin(); file != pending_.end();) {
        const std::string path = path_ + "/" + file->first;
        const FileIdentity identity = identityOfDocument(path);
        Pending& pending = file->second;
        // A bundle is there before the document in it, and tells when that comes.
        if (!identity.known()) {
            file = pending_.erase(file);
        } else if (identity != pending.seen || isBeingWritten(path)) {
            pending = {identity, now};
            ++file;
        } else if (now - pending.since < settling_) {
            ++file;
        } else {
            whole.push_back(file->first);
            file = pending_.erase(file);
        }
    }
    return whole;
}

}  // namespace reelsweep
