#include "services/QVOSDetect.h"

#include "base/Format.h"
#include "platform/Platform.h"

#include <cerrno>
#include <charconv>

#include <sys/utsname.h>

namespace reelsweep {

std::optional<OSVersion> QVOSDetect::versionFromRelease(std::string_view release) {
    OSVersion version;
    const char* position = release.data();
    const char* const end = position + release.size();
    for (long* const number : {&version.major, &version.minor, &version.bugfix}) {
        const auto read = std::from_chars(position, end, *number);
        if (read.ec != std::errc()) break;
        if (read.ptr == end || *read.ptr != '.') return version;
        position = read.ptr + 1;
    }
    if (position == release.data()) return {};
    return version;
}

OSVersion QVOSDetect::version() {
    utsname system{};
    const long error = ::uname(&system) == 0 ? EINVAL : errno;
    if (const auto version = versionFromRelease(system.release)) return *version;
    Platform::current().console->log(formatText("Unable to obtain system version: %ld", error));
    return {10, 5, 0};
}

std::string QVOSDetect::osVersionString() {
    const OSVersion system = version();
    return formatText("%li.%li.%li", system.major, system.minor, system.bugfix);
}

bool QVOSDetect::isOSVersionAtLeast(long major, long minor, long bugfix) {
    return version() >= OSVersion{major, minor, bugfix};
}

}  // namespace reelsweep
