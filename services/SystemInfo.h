// SystemInfo: what the machine is. Thread rule: any thread.
#pragma once

#include <cstdint>
#include <string>

namespace reelsweep {

/// The operating system in its own words: its release name and the kernel's version.
std::string operatingSystemVersionString();

/// The processors that the system can use now; at least 1.
long processorCount();

/// The physical memory in bytes; 0 when unknown.
std::uint64_t physicalMemory();

}  // namespace reelsweep
