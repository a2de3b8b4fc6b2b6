#include "platform/PropertyListLimits.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace reelsweep {

namespace {

constexpr std::string_view binaryStart = "bplist";

std::string tooLarge(const PropertyListLimits& limits) {
    return "is larger than " + std::to_string(limits.bytes) + " bytes";
}
std::string tooDeep(const PropertyListLimits& limits) {
    return "nests deeper than " + std::to_string(limits.depth) + " levels";
}
std::string tooMany(const PropertyListLimits& limits) {
    return "holds more than " + std::to_string(limits.nodes) + " values";
}

// The parser ends the process over a key with a null character in it.
constexpr const char* nullInText = "holds a null character in a text";

// Counts the tags of a text list. It takes the constructs apart as the parser does; the one that
// it cannot follow, a document type with declarations inside, no property list has.
class TextScan {
public:
    TextScan(std::string_view text, const PropertyListLimits& limits)
        : text_(text), limits_(limits) {}

    std::string problem() {
        if (holdsNull()) return nullInText;
        while ((at_ = text_.find('<', at_)) != std::string_view::npos) {
            if (starts("<?")) {
                skipPast("?>");
            } else if (starts("<!--")) {
                skipPast("-->");
            } else if (starts("<![CDATA[")) {
                skipPast("]]>");
            } else if (starts("<!")) {
                ++at_;
                skipToBracket("[<>");
                if (at_ < text_.size() && text_[at_] != '>')
                    return "declares a document type of its own";
            } else {
                takeTag();
            }
            if (nodes_ > limits_.nodes) return tooMany(limits_);
            if (depth_ > limits_.depth) return tooDeep(limits_);
            if (at_ == std::string_view::npos) break;
        }
        return {};
    }

private:
    // As a byte, or as a reference to the character.
    bool holdsNull() const {
        if (text_.find('\0') != std::string_view::npos) return true;
        for (std::size_t at = 0; (at = text_.find("&#", at)) != std::string_view::npos;) {
            at += 2;
            const std::size_t digit = text_.find_first_not_of("0xX", at);
            if (digit == std::string_view::npos ||
                std::string_view("123456789abcdefABCDEF").find(text_[digit]) ==
                    std::string_view::npos)
                return true;
        }
        return false;
    }
    bool starts(std::string_view start) const { return text_.substr(at_).starts_with(start); }
    void skipPast(std::string_view end) {
        at_ = text_.find(end, at_);
        if (at_ != std::string_view::npos) at_ += end.size();
    }
    // A bracket inside quotes does not end the tag.
    void skipToBracket(std::string_view brackets) {
        bool quoted = false;
        for (; at_ < text_.size(); ++at_) {
            if (text_[at_] == '"') quoted = !quoted;
            if (!quoted && brackets.find(text_[at_]) != std::string_view::npos) return;
        }
    }
    void takeTag() {
        const std::size_t start = ++at_;
        const std::size_t nameEnd = std::min(text_.find_first_of(" \t\r\n<>", start), text_.size());
        at_ = nameEnd;
        skipToBracket("<>");
        std::string_view name = text_.substr(start, nameEnd - start);
        const bool empty = at_ > start && at_ < text_.size() && text_[at_ - 1] == '/';
        if (name.ends_with('/')) name.remove_suffix(1);
        const bool closes = name.starts_with('/');
        if (closes) name.remove_prefix(1);
        if (name == "plist") return;
        if (!closes) ++nodes_;
        if (empty || (name != "array" && name != "dict")) return;
        if (!closes)
            ++depth_;
        else if (depth_ > 0)
            --depth_;
    }

    const std::string_view text_;
    const PropertyListLimits& limits_;
    std::size_t at_ = 0;
    std::uint64_t nodes_ = 0;
    std::uint64_t depth_ = 0;
};

// Counts the objects that a binary list stands for, each as often as it is named.
class BinaryScan {
public:
    BinaryScan(std::string_view bytes, const PropertyListLimits& limits)
        : bytes_(bytes), limits_(limits) {}

    std::string problem() {
        constexpr std::size_t trailerBytes = 32;
        if (bytes_.size() < trailerBytes + 8) return "ends early";
        const std::size_t trailer = bytes_.size() - trailerBytes;
        offsetBytes_ = byte(trailer + 6);
        referenceBytes_ = byte(trailer + 7);
        count_ = number(trailer + 8, 8);
        const std::uint64_t root = number(trailer + 16, 8);
        table_ = number(trailer + 24, 8);
        if (count_ > limits_.nodes) return tooMany(limits_);
        if (offsetBytes_ < 1 || offsetBytes_ > 8 || referenceBytes_ < 1 || referenceBytes_ > 8 ||
            table_ > trailer || count_ * offsetBytes_ > trailer - table_ || root >= count_)
            return damaged_;
        costs_.resize(count_);
        return walk(root);
    }

private:
    struct Cost {
        enum class State : std::uint8_t { unknown, open, known } state = State::unknown;
        std::uint64_t nodes = 1;
        std::uint64_t bytes = 0;
        std::uint32_t depth = 0;
    };
    struct Object {
        std::uint64_t bytes = 0;     ///< of its own
        std::size_t references = 0;  ///< where they start
        std::uint64_t items = 0;     ///< references
        bool isContainer = false;
        std::uint64_t keys = 0;  ///< how many of the references are keys, from the first on
        bool holdsNull = false;  ///< a text
    };
    struct Open {
        std::uint64_t index;
        Object object;
        std::uint64_t next = 0;
    };

    std::uint8_t byte(std::size_t at) const { return static_cast<std::uint8_t>(bytes_[at]); }
    std::uint64_t number(std::size_t at, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) value = value << 8U | byte(at + i);
        return value;
    }

    std::optional<Object> objectAt(std::uint64_t index) const {
        std::uint64_t at = number(table_ + index * offsetBytes_, offsetBytes_);
        if (at >= table_) return {};
        const unsigned kind = byte(at) >> 4U;
        std::uint64_t size = byte(at++) & 0x0FU;
        if (kind < 4 || kind == 8) return Object{16, 0, 0, false};  // numbers and the like
        if (size == 0x0F) {
            if (at >= table_ || byte(at) >> 4U != 1) return {};
            const std::size_t width = std::size_t{1} << (byte(at++) & 0x0FU);
            if (width > 8 || width > table_ - at) return {};
            size = number(at, width);
            at += width;
        }
        const bool isDictionary = kind == 0x0D;
        const bool isContainer = isDictionary || kind == 0x0A || kind == 0x0C;
        const std::uint64_t width = isContainer ? referenceBytes_ * (isDictionary ? 2U : 1U)
                                    : kind == 6 ? 2
                                                : 1;
        if (size > (table_ - at) / width) return {};
        if (!isContainer) {
            const std::string_view content = bytes_.substr(at, size * width);
            return Object{size * width, 0, 0, false, 0, isText(kind) && holdsNull(content, width)};
        }
        return Object{0, at, isDictionary ? size * 2 : size, true, isDictionary ? size : 0, false};
    }

    static bool isText(unsigned kind) { return kind == 5 || kind == 6; }
    static bool holdsNull(std::string_view text, std::uint64_t width) {
        for (std::size_t at = 0; at < text.size(); at += width)
            if (text.substr(at, width).find_first_not_of('\0') == std::string_view::npos)
                return true;
        return false;
    }

    // Without recursion: the list may nest as deep as it has objects.
    std::string walk(std::uint64_t root) {
        std::vector<Open> path;
        if (!enter(path, root)) return damaged_;
        for (;;) {
            Open& top = path.back();
            Cost& cost = costs_[top.index];
            if (top.next == top.object.items) {
                cost.state = Cost::State::known;
                if (cost.depth > limits_.depth) return tooDeep(limits_);
                path.pop_back();
                if (path.empty()) return {};
                continue;
            }
            const std::uint64_t item =
                number(top.object.references + top.next * referenceBytes_, referenceBytes_);
            if (item >= count_) return damaged_;
            if (top.next < top.object.keys)
                if (const auto key = objectAt(item); !key || key->holdsNull) return nullInText;
            const Cost& part = costs_[item];
            if (part.state == Cost::State::open) return "holds itself";
            if (part.state == Cost::State::unknown) {
                if (path.size() > limits_.depth) return tooDeep(limits_);
                if (!enter(path, item)) return damaged_;
                continue;
            }
            ++top.next;
            cost.nodes += part.nodes;
            cost.bytes += part.bytes;
            cost.depth = std::max(cost.depth, part.depth + 1);
            if (cost.nodes > limits_.nodes) return tooMany(limits_);
            if (cost.bytes > limits_.bytes) return tooLarge(limits_);
        }
    }

    bool enter(std::vector<Open>& path, std::uint64_t index) {
        const auto object = objectAt(index);
        if (!object) return false;
        Cost& cost = costs_[index];
        cost.state = Cost::State::open;
        cost.bytes = object->bytes;
        cost.depth = object->isContainer ? 1 : 0;
        path.push_back({index, *object});
        return true;
    }

    static constexpr const char* damaged_ = "refers to what is not there";
    const std::string_view bytes_;
    const PropertyListLimits& limits_;
    std::size_t offsetBytes_ = 0;
    std::size_t referenceBytes_ = 0;
    std::uint64_t count_ = 0;
    std::uint64_t table_ = 0;
    std::vector<Cost> costs_;
};

}  // namespace

std::string problemWithSize(std::string_view bytes, const PropertyListLimits& limits) {
    if (bytes.size() > limits.bytes) return tooLarge(limits);
    if (bytes.starts_with(binaryStart)) return BinaryScan(bytes, limits).problem();
    return TextScan(bytes, limits).problem();
}

}  // namespace reelsweep
