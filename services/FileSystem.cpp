#include "services/FileSystem.h"

#include "base/Rename.h"
#include "base/UniqueDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace reelsweep::filesystem {

namespace {

namespace fs = std::filesystem;

std::error_code lastError() { return {errno, std::generic_category()}; }

/// A descriptor for reading an item's flags; never waits for the other end of a pipe.
class FlagDescriptor {
public:
    explicit FlagDescriptor(const std::string& path)
        : descriptor_(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC)) {}

    bool read(int& flags) const {
        return descriptor_ && ::ioctl(descriptor_.get(), FS_IOC_GETFLAGS, &flags) == 0;
    }
    bool write(int flags) const { return ::ioctl(descriptor_.get(), FS_IOC_SETFLAGS, &flags) == 0; }

private:
    UniqueDescriptor descriptor_;
};

void copyAttributes(const std::string& from, const std::string& to) {
    // A volume that keeps no attributes takes a copy without them.
    std::array<char, 65536> names{};
    const ssize_t size = ::llistxattr(from.c_str(), names.data(), names.size());
    for (ssize_t at = 0; at < size;) {
        const std::string name(names.data() + at);
        at += static_cast<ssize_t>(name.size()) + 1;
        if (!name.starts_with("user.")) continue;
        std::array<char, 65536> value{};
        const ssize_t bytes = ::lgetxattr(from.c_str(), name.c_str(), value.data(), value.size());
        if (bytes >= 0)
            (void)::lsetxattr(to.c_str(), name.c_str(), value.data(),
                              static_cast<std::size_t>(bytes), 0);
    }
}

std::error_code copyItem(const fs::path& from, const fs::path& to) {
    std::error_code error;
    struct stat status {};
    if (::lstat(from.c_str(), &status) != 0) return lastError();
    if (S_ISLNK(status.st_mode)) {
        fs::copy_symlink(from, to, error);
        return error;
    }
    if (S_ISDIR(status.st_mode)) {
        if (::mkdir(to.c_str(), 0700) != 0) return lastError();
        for (const std::string& name : namesIn(from.string()))
            if ((error = copyItem(from / name, to / name))) return error;
    } else if (S_ISREG(status.st_mode)) {
        fs::copy_file(from, to, fs::copy_options::none, error);
        if (error) return error;
    } else {
        return std::make_error_code(std::errc::not_supported);
    }
    copyAttributes(from.string(), to.string());
    if (::chmod(to.c_str(), status.st_mode & 07777) != 0) return lastError();
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    if (::utimensat(AT_FDCWD, to.c_str(), times.data(), 0) != 0) return lastError();
    return {};
}

std::string attributeName(const std::string& name) {
    return name.starts_with("user.") ? name : "user." + name;
}

Date dateOf(std::int64_t seconds, std::int64_t nanoseconds) {
    return Date(std::chrono::seconds(seconds) + std::chrono::nanoseconds(nanoseconds));
}

/// A path in the mount table, where blanks and the like stand as three octal digits.
std::string unescaped(std::string_view text) {
    std::string path;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size()) {
            path += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 +
                                      (text[i + 3] - '0'));
            i += 3;
        } else {
            path += text[i];
        }
    }
    return path;
}

}  // namespace

bool itemExists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
        names.push_back(entry->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::error_code move(const std::string& from, const std::string& to) {
    std::error_code error = renameWithoutReplacing(from, to);
    if (error != std::errc::cross_device_link) return error;
    if ((error = copy(from, to))) return error;
    return remove(from);
}

std::error_code copy(const std::string& from, const std::string& to) {
    if (itemExists(to)) return std::make_error_code(std::errc::file_exists);
    // A folder copied into itself would never be whole. A link to it may lie in it.
    std::error_code resolving;
    if (fs::is_directory(fs::symlink_status(from, resolving))) {
        const fs::path source = fs::weakly_canonical(from, resolving);
        const fs::path inside = fs::weakly_canonical(to, resolving).lexically_relative(source);
        if (!inside.empty() && *inside.begin() != "..")
            return std::make_error_code(std::errc::invalid_argument);
    }
    const std::error_code error = copyItem(from, to);
    // What somebody else put there meanwhile is not ours to remove.
    if (error && error != std::errc::file_exists) remove(to);
    return error;
}

std::error_code remove(const std::string& path) {
    std::error_code error;
    fs::remove_all(path, error);
    return error;
}

std::optional<bool> isImmutable(const std::string& path) {
    int flags = 0;
    if (!FlagDescriptor(path).read(flags)) return {};
    return (flags & FS_IMMUTABLE_FL) != 0;
}

std::error_code setImmutable(const std::string& path, bool immutable) {
    const FlagDescriptor descriptor(path);
    int flags = 0;
    if (!descriptor.read(flags)) {
        const std::error_code error = lastError();
        // Where there is no flag, nothing is locked.
        const bool noFlag = error == std::errc::inappropriate_io_control_operation ||
                            error == std::errc::operation_not_supported ||
                            error == std::errc::too_many_symbolic_link_levels;
        return noFlag && !immutable ? std::error_code() : error;
    }
    const int wanted = immutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    if (wanted == flags || descriptor.write(wanted)) return {};
    return lastError();
}

std::optional<Date> modificationDate(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return {};
    return dateOf(status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
}

std::optional<Date> creationDate(const std::string& path) {
    struct statx status {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status) != 0 ||
        !(status.stx_mask & STATX_BTIME))
        return {};
    return dateOf(status.stx_btime.tv_sec, status.stx_btime.tv_nsec);
}

std::error_code setModificationDate(const std::string& path, Date date) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    const std::array<timespec, 2> times{
        timespec{0, UTIME_OMIT}, timespec{static_cast<time_t>(seconds.time_since_epoch().count()),
                                          (date - seconds).count()}};
    return ::utimensat(AT_FDCWD, path.c_str(), times.data(), 0) == 0 ? std::error_code()
                                                                     : lastError();
}

std::error_code readAttribute(const std::string& path, const std::string& name,
                              std::string& value) {
    constexpr std::size_t longest = 255;  // what is beyond it is cut off
    std::vector<char> whole;
    const std::string full = attributeName(name);
    ssize_t size = ::getxattr(path.c_str(), full.c_str(), nullptr, 0);
    if (size < 0) return lastError();
    whole.resize(static_cast<std::size_t>(size));
    size = ::getxattr(path.c_str(), full.c_str(), whole.data(), whole.size());
    if (size < 0) return lastError();
    value.assign(whole.data(), std::min(static_cast<std::size_t>(size), longest));
    return {};
}

std::error_code writeAttribute(const std::string& path, const std::string& name,
                               const std::string& value) {
    return ::setxattr(path.c_str(), attributeName(name).c_str(), value.data(), value.size(), 0) == 0
               ? std::error_code()
               : lastError();
}

std::optional<Volume> volumeOf(const std::string& path) {
    struct stat status {};
    std::error_code error;
    fs::path there = fs::weakly_canonical(path, error);
    while (::stat(there.c_str(), &status) != 0) {
        if (there == there.parent_path()) return {};
        there = there.parent_path();
    }
    std::ifstream table("/proc/self/mountinfo");
    std::optional<Volume> found;
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string skipped;
        std::string mountPoint;
        fields >> skipped >> skipped >> skipped >> skipped >> mountPoint;
        while (fields >> skipped && skipped != "-") {
        }
        Volume volume{unescaped(mountPoint), {}, {}};
        fields >> volume.kind >> volume.device;
        const fs::path inside = there.lexically_relative(volume.mountPoint);
        if (inside.empty() || *inside.begin() == "..") continue;
        if (volume.kind == "hfsplus") volume.kind = "hfs+";
        // The longest holds, and of equal ones the last that was mounted.
        if (!found || volume.mountPoint.size() >= found->mountPoint.size()) found = volume;
    }
    return found;
}

}  // namespace reelsweep::filesystem
