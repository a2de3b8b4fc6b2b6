#include "base/UUID.h"

#include <array>
#include <random>

namespace reelsweep {

std::string newUUID() {
    std::random_device random;
    std::array<unsigned, 16> bytes;
    for (unsigned& byte : bytes) byte = random() & 0xFF;
    bytes[6] = (bytes[6] & 0x0F) | 0x40;  // version 4: random
    bytes[8] = (bytes[8] & 0x3F) | 0x80;
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        for (const unsigned digit : {bytes[i] >> 4, bytes[i] & 0x0F})
            text += "0123456789ABCDEF"[digit];
    }
    return text;
}

}  // namespace reelsweep
