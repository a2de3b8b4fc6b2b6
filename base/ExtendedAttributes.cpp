#include "base/ExtendedAttributes.h"

#include <sys/xattr.h>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

namespace reelsweep {

namespace {

// The answer of a call that is asked for the size first; empty and errno when it fails.
template <class Call>
std::vector<char> whole(Call call) {
    for (;;) {
        std::vector<char> bytes;
        ssize_t size = call(nullptr, 0);
        if (size <= 0) return bytes;
        bytes.resize(static_cast<std::size_t>(size));
        size = call(bytes.data(), bytes.size());
        if (size < 0 && errno == ERANGE) continue;  // it grew meanwhile
        bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        return bytes;
    }
}

bool isCopied(std::string_view name) {
    return name.starts_with("user.") || name == "system.posix_acl_access";
}

}  // namespace

std::error_code copyExtendedAttributes(int from, int to) {
    const std::vector<char> names =
        whole([&](char* bytes, std::size_t size) { return ::flistxattr(from, bytes, size); });
    for (std::size_t at = 0; at < names.size();) {
        const char* const name = names.data() + at;
        at += std::strlen(name) + 1;
        if (!isCopied(name)) continue;
        errno = 0;
        const std::vector<char> value = whole(
            [&](char* bytes, std::size_t size) { return ::fgetxattr(from, name, bytes, size); });
        if (errno == ENODATA) continue;  // somebody took it away
        if (::fsetxattr(to, name, value.data(), value.size(), 0) != 0 && errno != EOPNOTSUPP &&
            errno != EPERM)
            return {errno, std::generic_category()};
    }
    return {};
}

}  // namespace reelsweep
