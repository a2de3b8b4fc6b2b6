// QVOSDetect: which version of the operating system this is.
//
// On Linux that is the version of the kernel. Stateless. Thread rule: any thread.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace reelsweep {

struct OSVersion {
    long major = 0;
    long minor = 0;
    long bugfix = 0;

    auto operator<=>(const OSVersion&) const = default;
};

class QVOSDetect {
public:
    /// The version of the running system. When the system does not tell, the system console says so
    /// and the answer is 10.5.0.
    static OSVersion version();
    /// "MAJOR.MINOR.BUGFIX"
    static std::string osVersionString();
    static std::string osxVersion() { return osVersionString(); }

    /// The running system is of the version or a newer one.
    static bool isOSVersionAtLeast(long major, long minor, long bugfix);

    static bool isLeopardOrHigher() { return isOSVersionAtLeast(10, 5, 0); }
    static bool isSnowLeopardOrHigher() { return isOSVersionAtLeast(10, 6, 0); }
    static bool isLionOrHigher() { return isOSVersionAtLeast(10, 7, 0); }
    static bool isMountainLionOrHigher() { return isOSVersionAtLeast(10, 8, 0); }
    static bool isMavericksOrHigher() { return isOSVersionAtLeast(10, 9, 0); }
    static bool isYosemiteOrHigher() { return isOSVersionAtLeast(10, 10, 0); }
    static bool isElCapitanOrHigher() { return isOSVersionAtLeast(10, 11, 0); }
    static bool isSierraOrHigher() { return isOSVersionAtLeast(10, 12, 0); }

    /// The numbers at the start of a release such as "6.1.0-18-amd64"; missing ones are 0. Empty
    /// when it starts with no number.
    static std::optional<OSVersion> versionFromRelease(std::string_view release);
};

}  // namespace reelsweep
