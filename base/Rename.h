// renameWithoutReplacing: a new name for an item, which destroys nothing.
#pragma once

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace reelsweep {

/// Gives an item another name on the same volume. Something at the new name is the error
/// file_exists. Answers the error, or none. Any thread.
inline std::error_code renameWithoutReplacing(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    if (errno == EINVAL || errno == ENOSYS) {
        // Some file systems lack that rename; a hard link never replaces either.
        if (::link(from.c_str(), to.c_str()) == 0 && ::unlink(from.c_str()) == 0) return {};
        if (errno != EPERM && errno != EOPNOTSUPP) return {errno, std::generic_category()};
        // Folders have no second name: one that is taken is at least seen.
        if (::faccessat(AT_FDCWD, to.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0)
            return std::make_error_code(std::errc::file_exists);
        if (std::rename(from.c_str(), to.c_str()) == 0) return {};
    }
    return {errno, std::generic_category()};
}

}  // namespace reelsweep
