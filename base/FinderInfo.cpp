#include "base/FinderInfo.h"

#include <sys/xattr.h>
#include <array>

namespace reelsweep {

namespace {

constexpr const char* attributeName = "user.com.apple.FinderInfo";
constexpr std::size_t finderInfoBytes = 32;

std::uint32_t codeAt(const std::array<unsigned char, finderInfoBytes>& info, std::size_t offset) {
    std::uint32_t code = 0;
    for (std::size_t i = 0; i < 4; ++i) code = (code << 8) | info[offset + i];
    return code;
}

void putCode(std::array<unsigned char, finderInfoBytes>& info, std::size_t offset,
             std::uint32_t code) {
    for (std::size_t i = 0; i < 4; ++i)
        info[offset + i] = static_cast<unsigned char>(code >> (8 * (3 - i)));
}

}  // namespace

std::optional<HFSCodes> readHFSCodes(const std::string& path) {
    std::array<unsigned char, finderInfoBytes> info{};
    const ssize_t got = getxattr(path.c_str(), attributeName, info.data(), info.size());
    if (got < 8) return {};
    return HFSCodes{codeAt(info, 0), codeAt(info, 4)};
}

bool writeHFSCodes(int descriptor, HFSCodes codes) {
    std::array<unsigned char, finderInfoBytes> info{};
    putCode(info, 0, codes.type);
    putCode(info, 4, codes.creator);
    return fsetxattr(descriptor, attributeName, info.data(), info.size(), 0) == 0;
}

std::optional<FinderInfoBytes> readFinderInfo(const std::string& path) {
    FinderInfoBytes info{};
    if (getxattr(path.c_str(), attributeName, info.data(), info.size()) < 0) return {};
    return info;
}

bool writeFinderInfo(const std::string& path, const FinderInfoBytes& info) {
    return setxattr(path.c_str(), attributeName, info.data(), info.size(), 0) == 0;
}

}  // namespace reelsweep
