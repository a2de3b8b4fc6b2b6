#include "platform/PropertyList.h"

#include "base/FileReplacement.h"

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include <plist/plist.h>

namespace reelsweep {

namespace {

struct NodeFree {
    void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, NodeFree>;

// The library hands out memory of malloc.
struct MemoryFree {
    void operator()(char* memory) const { std::free(memory); }
};
using Memory = std::unique_ptr<char, MemoryFree>;

// Dates in property lists count from the start of 2001.
constexpr std::chrono::seconds dateEpoch{978307200};

template <class Visit>
void forEachInDictionary(plist_t dictionary, Visit visit) {
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(dictionary, &iterator);
    if (!iterator) return;
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(dictionary, iterator, &key, &item);
        if (!key) break;
        const Memory keyOwner(key);
        visit(key, item);
    }
    std::free(iterator);
}

PropertyList fromNode(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return value != 0;
        }
        case PLIST_UINT: {
            std::uint64_t value = 0;
            plist_get_uint_val(node, &value);
            return static_cast<std::int64_t>(value);
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return value;
        }
        case PLIST_DATE: {
            std::int32_t seconds = 0;
            std::int32_t microseconds = 0;
            plist_get_date_val(node, &seconds, &microseconds);
            return PropertyList::Date(dateEpoch + std::chrono::seconds(seconds) +
                                      std::chrono::microseconds(microseconds));
        }
        case PLIST_DATA: {
            std::uint64_t size = 0;
            const char* const bytes = plist_get_data_ptr(node, &size);
            return PropertyList::Data(bytes, bytes + size);
        }
        case PLIST_ARRAY: {
            PropertyList::Array items;
            const std::uint32_t count = plist_array_get_size(node);
            items.reserve(count);
            for (std::uint32_t i = 0; i < count; ++i)
                items.push_back(fromNode(plist_array_get_item(node, i)));
            return items;
        }
        case PLIST_DICT: {
            PropertyList::Dictionary items;
            forEachInDictionary(node, [&](const char* key, plist_t item) {
                items.insert_or_assign(key, fromNode(item));
            });
            return items;
        }
        case PLIST_STRING: {
            std::uint64_t size = 0;
            const char* const text = plist_get_string_ptr(node, &size);
            return text ? std::string(text, size) : std::string();
        }
        default: return std::string();  // keyed-archive references; no preference file has them
    }
}

plist_t toNode(const PropertyList& value) {
    if (const auto* flag = value.as<bool>()) return plist_new_bool(*flag ? 1 : 0);
    if (const auto* number = value.as<std::int64_t>())
        return plist_new_uint(static_cast<std::uint64_t>(*number));
    if (const auto* real = value.as<double>()) return plist_new_real(*real);
    if (const auto* text = value.as<std::string>()) return plist_new_string(text->c_str());
    if (const auto* data = value.as<PropertyList::Data>())
        return plist_new_data(reinterpret_cast<const char*>(data->data()), data->size());
    if (const auto* date = value.as<PropertyList::Date>()) {
        const auto since = date->time_since_epoch() - dateEpoch;
        const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
        return plist_new_date(static_cast<std::int32_t>(seconds.count()),
                              static_cast<std::int32_t>((since - seconds).count()));
    }
    if (const auto* items = value.as<PropertyList::Array>()) {
        const plist_t array = plist_new_array();
        for (const PropertyList& item : *items) plist_array_append_item(array, toNode(item));
        return array;
    }
    const plist_t dictionary = plist_new_dict();
    for (const auto& [key, item] : *value.as<PropertyList::Dictionary>())
        plist_dict_set_item(dictionary, key.c_str(), toNode(item));
    return dictionary;
}

}  // namespace

const PropertyList* PropertyList::find(std::string_view key) const {
    const auto* items = as<Dictionary>();
    if (!items) return nullptr;
    const auto found = items->find(key);
    return found == items->end() ? nullptr : &found->second;
}

std::int64_t PropertyList::integerValue() const {
    if (const auto* flag = as<bool>()) return *flag ? 1 : 0;
    if (const auto* number = as<std::int64_t>()) return *number;
    if (const auto* real = as<double>()) {
        constexpr double limit = 9.2e18;
        return *real > -limit && *real < limit ? static_cast<std::int64_t>(*real) : 0;
    }
    if (const auto* text = as<std::string>()) {
        std::int64_t number = 0;
        const std::size_t start = text->find_first_not_of(" \t\r\n");
        if (start != std::string::npos)
            std::from_chars(text->data() + start, text->data() + text->size(), number);
        return number;
    }
    return 0;
}

bool PropertyList::boolValue() const {
    if (const auto* real = as<double>()) return *real != 0;
    if (const auto* text = as<std::string>()) {
        std::size_t first = text->find_first_not_of(" \t\r\n");
        if (first != std::string::npos && ((*text)[first] == '+' || (*text)[first] == '-')) ++first;
        first = text->find_first_not_of('0', first);
        return first < text->size() &&
               std::string_view("YyTt123456789").find((*text)[first]) != std::string_view::npos;
    }
    return integerValue() != 0;
}

std::optional<PropertyList> readPropertyList(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return {};
    // Through a stream: copying from the file's iterators would throw for a folder.
    std::ostringstream copy;
    if (!(copy << file.rdbuf())) return {};
    const std::string bytes = std::move(copy).str();
    if (bytes.size() > UINT32_MAX) return {};
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    const Node owner(root);
    if (!owner) return {};
    return fromNode(root);
}

std::error_code writePropertyList(const std::string& path, const PropertyList& value) {
    const Node root(toNode(value));
    char* text = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(root.get(), &text, &size);
    const Memory owner(text);
    if (!text) return std::make_error_code(std::errc::invalid_argument);
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error) return error;
    FileReplacement file(path);
    file.write({text, size});
    return file.commit(FileReplacement::Durable::yes);
}

}  // namespace reelsweep
