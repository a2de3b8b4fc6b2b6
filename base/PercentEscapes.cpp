#include "base/PercentEscapes.h"

#include <charconv>

namespace reelsweep {

namespace {

constexpr std::string_view legalCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.!~*'();/:@&=+$,";

}  // namespace

std::string percentEscapedPath(std::string_view path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string escaped;
    for (const char c : path) {
        if (legalCharacters.find(c) != std::string_view::npos) {
            escaped += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        escaped += '%';
        escaped += digits[byte >> 4U];
        escaped += digits[byte & 15U];
    }
    return escaped;
}

std::string pathWithoutPercentEscapes(std::string_view text) {
    std::string path;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned char byte = 0;
        const std::string_view digits = text[at] == '%' ? text.substr(at + 1, 2) : "";
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (digits.size() == 2 && error == std::errc() && end == digits.data() + 2) {
            path += static_cast<char>(byte);
            at += 2;
        } else {
            path += text[at];
        }
    }
    return path;
}

}  // namespace reelsweep
