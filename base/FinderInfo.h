// The HFS type and creator codes of a file, as volumes that are shared with a Mac keep them.
//
// They stand in the first eight bytes of the Finder information, an extended attribute.
// Thread rule: plain functions, any thread.
#pragma once

#include <array>
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

/// The Finder information as it is stored.
using FinderInfoBytes = std::array<unsigned char, 32>;

/// Nothing when the item has none or the file system keeps none. False when it could not be stored.
std::optional<FinderInfoBytes> readFinderInfo(const std::string& path);
bool writeFinderInfo(const std::string& path, const FinderInfoBytes& info);

}  // namespace reelsweep
