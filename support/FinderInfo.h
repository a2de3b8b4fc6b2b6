// The HFS type and creator codes of a file, as volumes that are shared with a Mac keep them.
//
// They stand in the first eight bytes of the Finder information, an extended attribute.
// Thread rule: plain functions, any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace reelsweep {

struct HFSCodes {
    std::uint32_t type = 0;  ///< four characters, the first in the highest byte
    std::uint32_t creator = 0;
};

/// Nothing when the file has none or the file system keeps none.
std::optional<HFSCodes> readHFSCodes(const std::string& path);

/// Sets the codes of an open file. False where the file system keeps none; the file is good
/// without.
bool writeHFSCodes(int descriptor, HFSCodes codes);

}  // namespace reelsweep
