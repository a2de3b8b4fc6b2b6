#include "base/StaleSiblings.h"

#include "base/UniqueDescriptor.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <memory>

namespace reelsweep {

namespace {

struct DirectoryClose {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

// The process in a name of that form; 0 when it has another.
pid_t processIn(std::string_view name, std::string_view start, std::string_view end) {
    if (!name.starts_with(start) || !name.ends_with(end) ||
        name.size() <= start.size() + end.size())
        return 0;
    name.remove_prefix(start.size());
    name.remove_suffix(end.size());
    pid_t process = 0;
    unsigned number = 0;
    const char* const last = name.data() + name.size();
    const auto first = std::from_chars(name.data(), last, process);
    if (first.ec != std::errc() || first.ptr == last || *first.ptr != '-') return 0;
    const auto second = std::from_chars(first.ptr + 1, last, number);
    return second.ec == std::errc() && second.ptr == last && process > 0 ? process : 0;
}

bool isGone(pid_t process) { return ::kill(process, 0) != 0 && errno == ESRCH; }

}  // namespace

void removeStaleSiblings(const std::string& folder, std::string_view start, std::string_view end) {
    const std::unique_ptr<DIR, DirectoryClose> entries(::opendir(folder.c_str()));
    if (!entries) return;
    const int place = ::dirfd(entries.get());
    while (const dirent* const entry = ::readdir(entries.get())) {
        const pid_t process = processIn(entry->d_name, start, end);
        if (process == 0 || !isGone(process)) continue;
        const UniqueDescriptor file(
            ::openat(place, entry->d_name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
        struct stat status {};
        if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
            status.st_uid != ::geteuid() || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
            continue;
        ::unlinkat(place, entry->d_name, 0);
    }
}

void markInUse(int descriptor) {
    // Where there are no locks, the process in the name has to do.
    (void)::flock(descriptor, LOCK_SH | LOCK_NB);
}

}  // namespace reelsweep
