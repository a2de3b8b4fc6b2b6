// How descriptors of Apple events stand in messages of the session bus; see docs/hosts.md.
//
// A descriptor is (ssv): keyword, type, content. The content of a list or record is a(ssv); any
// other is the bytes (ay) or, for much data, a sealed memory file that holds them (h).
// Thread rule: a message belongs to one thread.
#pragma once

#include "platform/AppleEventTransport.h"

#include <cstddef>
#include <string>

#include <systemd/sd-bus.h>

namespace reelsweep {

/// The interface, whose name ends in the version of the wire format, and where hosts offer it.
inline constexpr const char* appleEventInterface = "com.quorvane.AppleEvents1";
inline constexpr const char* appleEventObjectPath = "/com/quorvane/AppleEvents";
inline constexpr const char* appleEventMethod = "Send";

/// Data from this size on crosses as a memory file: the bus carries no message above 128 MiB.
inline constexpr std::size_t inlineDataBytes = std::size_t{1} << 20;
/// Lists in records in lists.
inline constexpr int maximumDescriptorDepth = 8;

/// Appends the parameters. Answers 0 or a negative error number of the system.
int appendParameters(sd_bus_message* message, const AppleEventParameters& parameters);

/// Reads parameters from the message's present place. Empty when they were read; else what is wrong
/// with them. All their data together must not exceed `maximumBytes`.
std::string readParameters(sd_bus_message* message, std::size_t maximumBytes,
                           AppleEventParameters& parameters);

/// True for a code: four printable ASCII characters.
bool isFourCharCode(std::string_view code);

}  // namespace reelsweep
