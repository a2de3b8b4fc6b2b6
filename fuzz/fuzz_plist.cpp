// Property lists, text and binary: preferences, and the Info.plist of any application.

#include "fuzz/Quiet.h"
#include "platform/PropertyList.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

using namespace reelsweep;

namespace {

struct Size {
    std::uint64_t nodes = 1;
    std::uint32_t depth = 0;
};

void add(Size& size, const PropertyList& item, std::uint64_t key) {
    Size part;
    if (const auto* items = item.as<PropertyList::Array>()) {
        part.depth = 1;
        for (const PropertyList& inner : *items) add(part, inner, 0);
    } else if (const auto* entries = item.as<PropertyList::Dictionary>()) {
        part.depth = 1;
        for (const auto& [name, inner] : *entries) add(part, inner, 1);
    }
    size.nodes += part.nodes + key;
    size.depth = std::max(size.depth, part.depth + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    installQuietPlatform();
    // Small enough for inputs of a few hundred bytes to reach them.
    constexpr PropertyListLimits limits{2048, 8, 64};
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::string problem;
    const auto value = parsePropertyList(bytes, problem, limits);
    require(value.has_value() == problem.empty());
    if (!value) return 0;
    Size whole;
    add(whole, *value, 0);
    require(whole.nodes - 1 <= limits.nodes);
    require(whole.depth - 1 <= limits.depth);
    // What was read can be kept, and is then the same for good.
    const auto again = parsePropertyList(propertyListText(*value), problem);
    require(again.has_value());
    require(propertyListText(*again) == propertyListText(*value));
    return 0;
}
