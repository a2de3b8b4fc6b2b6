#include "base/Format.h"

#include "base/Text.h"
#include "base/Utf16.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace reelsweep {

namespace {

// A format is a log line's; a wider field is a mistake, and must not cost gigabytes.
constexpr int maximumWidth = 4096;
constexpr int maximumPrecision = 100;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

void TextBuffer::grow(std::size_t more) {
    const std::size_t needed = size_ + more;
    std::string larger(std::max(needed, capacity_ * 2), '\0');
    std::memcpy(larger.data(), data_, size_);
    heap_ = std::move(larger);
    data_ = heap_.data();
    capacity_ = heap_.size();
}

/// One pass over one format.
class Formatter {
public:
    Formatter(TextBuffer& out, std::string_view format, std::span<const FormatArgument> arguments)
        : out_(out), rest_(format), arguments_(arguments) {}

    void run() {
        while (!rest_.empty()) {
            const std::size_t percent = std::min(rest_.find('%'), rest_.size());
            out_.append(rest_.substr(0, percent));
            rest_.remove_prefix(percent);
            if (!rest_.empty()) directive();
        }
    }

private:
    /// What stands between % and the conversion character.
    struct Layout {
        bool left = false;
        bool zeros = false;
        bool plus = false;
        bool space = false;
        bool alternate = false;
        int width = 0;
        int precision = -1;  ///< -1: none given
    };

    const FormatArgument* next() {
        return used_ < arguments_.size() ? &arguments_[used_++] : nullptr;
    }

    char peek(std::size_t i) const { return i < rest_.size() ? rest_[i] : '\0'; }

    /// A number in the format, or * for one among the arguments.
    int number(std::size_t& i, int limit) {
        if (peek(i) == '*') {
            ++i;
            const FormatArgument* const argument = next();
            const auto* const value =
                argument ? std::get_if<std::int64_t>(&argument->value_) : nullptr;
            return value ? static_cast<int>(std::clamp<std::int64_t>(*value, -limit, limit)) : 0;
        }
        int value = 0;
        for (; isDigit(peek(i)); ++i) value = std::min(limit, value * 10 + (peek(i) - '0'));
        return value;
    }

    /// Handles the directive at the start of the rest.
    void directive() {
        // The plain ones, which nearly every format consists of.
        if (rest_.size() > 1 && std::string_view("@id").find(rest_[1]) != std::string_view::npos) {
            const char conversion = rest_[1];
            rest_.remove_prefix(2);
            if (const FormatArgument* const argument = next())
                convert(conversion, Layout{}, *argument);
            return;
        }
        const std::size_t firstUnused = used_;
        Layout layout;
        std::size_t i = 1;
        for (bool flag = true; flag;) {
            switch (peek(i)) {
                case '-': layout.left = true; break;
                case '0': layout.zeros = true; break;
                case '+': layout.plus = true; break;
                case ' ': layout.space = true; break;
                case '#': layout.alternate = true; break;
                default: flag = false;
            }
            if (flag) ++i;
        }
        layout.width = number(i, maximumWidth);
        if (layout.width < 0) {
            layout.left = true;
            layout.width = -layout.width;
        }
        if (peek(i) == '.') {
            ++i;
            layout.precision = std::max(-1, number(i, maximumPrecision));
        }
        while (peek(i) != '\0' &&
               std::string_view("hlqLztj").find(peek(i)) != std::string_view::npos)
            ++i;
        const char conversion = peek(i);
        if (conversion == '%') {
            out_.append("%");
        } else if (conversion == '\0' || std::string_view("@diuxXofFeEgGsScCp").find(conversion) ==
                                             std::string_view::npos) {
            // Not a directive: it prints itself and takes no argument.
            used_ = firstUnused;
            out_.append("%");
            rest_.remove_prefix(1);
            return;
        } else if (const FormatArgument* const argument = next()) {
            convert(conversion, layout, *argument);
        }
        rest_.remove_prefix(i + 1);
    }

    void convert(char conversion, const Layout& layout, const FormatArgument& argument) {
        if (const auto* string = std::get_if<std::string_view>(&argument.value_))
            return text(*string, layout);
        if (const auto* number = std::get_if<std::int64_t>(&argument.value_)) {
            const bool negative = *number < 0;
            const auto bits = static_cast<std::uint64_t>(*number);
            return integer(conversion, layout, negative ? 0 - bits : bits, negative);
        }
        if (const auto* number = std::get_if<std::uint64_t>(&argument.value_))
            return integer(conversion, layout, *number, false);
        if (const auto* number = std::get_if<double>(&argument.value_))
            return real(conversion, layout, *number);
        if (const auto* described = std::get_if<FormatArgument::Described>(&argument.value_))
            return text(described->describe(described->object), layout);
        text("(null)", layout);
    }

    void character(std::uint64_t codePoint, const Layout& layout) {
        std::string utf8;
        appendUtf8(utf8,
                   static_cast<std::uint32_t>(std::min<std::uint64_t>(codePoint, UINT32_MAX)));
        text(utf8, layout);
    }

    void text(std::string_view value, const Layout& layout) {
        if (layout.precision >= 0) {
            std::size_t end = 0;
            for (int left = layout.precision; left > 0 && end < value.size(); --left) {
                ++end;
                while (end < value.size() && continuesCharacter(value[end])) ++end;
            }
            value = value.substr(0, end);
        }
        pad({}, value, layout, false);
    }

    void integer(char conversion, const Layout& layout, std::uint64_t magnitude, bool negative) {
        switch (conversion) {
            case 'c':
            case 'C': return character(negative ? UINT32_MAX : magnitude, layout);
            case 'f':
            case 'F':
            case 'e':
            case 'E':
            case 'g':
            case 'G': {
                const double value = static_cast<double>(magnitude);
                return real(conversion, layout, negative ? -value : value);
            }
            default: break;
        }
        int base = 10;
        if (conversion == 'x' || conversion == 'X' || conversion == 'p') base = 16;
        if (conversion == 'o') base = 8;
        // In the other bases a negative number shows its 64 bits, as everywhere in C.
        if (base != 10 && negative) {
            magnitude = 0 - magnitude;
            negative = false;
        }
        std::array<char, 24> digits;
        const auto end =
            std::to_chars(digits.data(), digits.data() + digits.size(), magnitude, base).ptr;
        if (conversion == 'X')
            std::transform(digits.data(), end, digits.data(),
                           [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
        const std::string_view number(digits.data(), static_cast<std::size_t>(end - digits.data()));
        if (layout.width == 0 && layout.precision < 0 && base == 10) {
            out_.append(sign(negative, layout));
            out_.append(number);
            return;
        }
        std::string prefix(base == 10 ? sign(negative, layout) : std::string_view{});
        if (conversion == 'p' || (layout.alternate && base == 16 && magnitude != 0))
            prefix = conversion == 'X' ? "0X" : "0x";
        const auto precision = static_cast<std::size_t>(std::max(0, layout.precision));
        if (precision > number.size()) prefix.append(precision - number.size(), '0');
        pad(prefix, number, layout, layout.zeros && layout.precision < 0);
    }

    void real(char conversion, const Layout& layout, double value) {
        const bool negative = std::signbit(value);
        const bool finite = std::isfinite(value);
        auto style = std::chars_format::general;
        int precision = layout.precision;
        switch (conversion) {
            case '@': break;
            case 'e':
            case 'E': style = std::chars_format::scientific; [[fallthrough]];
            case 'g':
            case 'G': precision = precision < 0 ? 6 : precision; break;
            case 'd':
            case 'i':
            case 'u':
                value = std::trunc(value);
                precision = 0;
                style = std::chars_format::fixed;
                break;
            default: precision = precision < 0 ? 6 : precision; style = std::chars_format::fixed;
        }
        // Room for the longest finite number with the longest fraction.
        std::array<char, std::numeric_limits<double>::max_exponent10 + maximumPrecision + 16>
            digits;
        const double magnitude = std::fabs(value);
        char* const last = digits.data() + digits.size();
        const auto end = precision < 0
                             ? std::to_chars(digits.data(), last, magnitude).ptr
                             : std::to_chars(digits.data(), last, magnitude, style, precision).ptr;
        pad(sign(negative, layout), {digits.data(), static_cast<std::size_t>(end - digits.data())},
            layout, layout.zeros && finite);
    }

    static std::string_view sign(bool negative, const Layout& layout) {
        if (negative) return "-";
        if (layout.plus) return "+";
        return layout.space ? " " : "";
    }

    /// Prefix and value in a field of the layout's width.
    void pad(std::string_view prefix, std::string_view value, const Layout& layout, bool zeros) {
        std::size_t fill = 0;
        if (layout.width > 0) {
            const auto width = static_cast<std::size_t>(layout.width);
            const std::size_t length = prefix.size() + characterCount(value);
            fill = width > length ? width - length : 0;
        }
        if (!layout.left && !zeros) out_.append(fill, ' ');
        out_.append(prefix);
        if (!layout.left && zeros) out_.append(fill, '0');
        out_.append(value);
        if (layout.left) out_.append(fill, ' ');
    }

    TextBuffer& out_;
    std::string_view rest_;
    std::span<const FormatArgument> arguments_;
    std::size_t used_ = 0;
};

void formatInto(TextBuffer& buffer, std::string_view format,
                std::span<const FormatArgument> arguments) {
    Formatter(buffer, format, arguments).run();
}

}  // namespace reelsweep
