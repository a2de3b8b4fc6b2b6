#include "services/SystemInfo.h"

#include <fstream>
#include <string_view>

#include <sys/utsname.h>
#include <unistd.h>

namespace reelsweep {

namespace {

/// The distribution's name and version, or empty.
std::string releaseName() {
    constexpr std::string_view key = "PRETTY_NAME=";
    std::ifstream file("/etc/os-release");
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with(key)) continue;
        std::string name = line.substr(key.size());
        if (name.size() >= 2 && name.front() == '"' && name.back() == '"')
            name = name.substr(1, name.size() - 2);
        return name;
    }
    return {};
}

}  // namespace

std::string operatingSystemVersionString() {
    utsname system{};
    std::string kernel;
    if (::uname(&system) == 0) kernel = std::string(system.sysname) + " " + system.release;
    const std::string release = releaseName();
    if (release.empty()) return kernel;
    return kernel.empty() ? release : release + " (" + kernel + ")";
}

long processorCount() {
    const long count = ::sysconf(_SC_NPROCESSORS_ONLN);
    return count > 0 ? count : 1;
}

std::uint64_t physicalMemory() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageBytes = ::sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || pageBytes <= 0) return 0;
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageBytes);
}

}  // namespace reelsweep
