#include "platform/PropertyList.h"

#include "base/FileReplacement.h"
#include "base/Log.h"
#include "base/Rename.h"
#include "base/UniqueDescriptor.h"
#include "platform/Platform.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

PropertyList fromNode(plist_t node);

PropertyList::Date dateFrom(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return PropertyList::Date(dateEpoch + std::chrono::seconds(seconds) +
                              std::chrono::microseconds(microseconds));
}

PropertyList::Data dataFrom(plist_t node) {
    std::uint64_t size = 0;
    const char* const bytes = plist_get_data_ptr(node, &size);
    return {bytes, bytes + size};
}

std::string textFrom(plist_t node) {
    std::uint64_t size = 0;
    const char* const text = plist_get_string_ptr(node, &size);
    return text ? std::string(text, size) : std::string();
}

PropertyList::Array arrayFrom(plist_t node) {
    PropertyList::Array items;
    const std::uint32_t count = plist_array_get_size(node);
    items.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i)
        items.push_back(fromNode(plist_array_get_item(node, i)));
    return items;
}

PropertyList::Dictionary dictionaryFrom(plist_t node) {
    PropertyList::Dictionary items;
    forEachInDictionary(
        node, [&](const char* key, plist_t item) { items.insert_or_assign(key, fromNode(item)); });
    return items;
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
        case PLIST_DATE: return dateFrom(node);
        case PLIST_DATA: return dataFrom(node);
        case PLIST_ARRAY: return arrayFrom(node);
        case PLIST_DICT: return dictionaryFrom(node);
        case PLIST_STRING: return textFrom(node);
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

// Settings are read again and again, and what is wrong with them is of interest once.
void logOnce(const std::string& path, const std::string& problem) {
    static std::mutex mutex;
    static std::set<std::string> told;
    if (!Log::hasSink()) return;
    {
        const std::lock_guard lock(mutex);
        if (!told.insert(path).second) return;
    }
    Log::append("The property list %@ is broken: it %@", path, problem);
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

std::optional<PropertyList> parsePropertyList(std::string_view bytes, std::string& problem,
                                              const PropertyListLimits& limits) {
    problem = problemWithSize(bytes, limits);
    if (!problem.empty()) return {};
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    const Node owner(root);
    if (owner) return fromNode(root);
    problem = "is not a property list";
    return {};
}

PropertyListFile loadPropertyList(const std::string& path) {
    using State = PropertyListFile::State;
    const auto unreadable = [](int error) {
        return PropertyListFile{
            State::unreadable, {}, std::strerror(error), {error, std::generic_category()}};
    };
    // Never waits: a pipe in the place of the file has nobody at its other end.
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file) {
        const bool missing = errno == ENOENT || errno == ENOTDIR;
        return missing ? PropertyListFile{} : unreadable(errno);
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) return unreadable(errno);
    if (!S_ISREG(status.st_mode))
        return {State::unreadable,
                {},
                "is not a file",
                std::make_error_code(std::errc::invalid_argument)};
    constexpr PropertyListLimits limits;
    std::string bytes;
    std::array<char, 65536> chunk{};
    while (bytes.size() <= limits.bytes) {
        const ssize_t size = ::read(file.get(), chunk.data(), chunk.size());
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) return unreadable(errno);
        if (size == 0) break;
        bytes.append(chunk.data(), static_cast<std::size_t>(size));
    }
    PropertyListFile result;
    auto value = parsePropertyList(bytes, result.problem, limits);
    result.state = value ? State::read : State::damaged;
    if (value) result.value = std::move(*value);
    return result;
}

std::optional<PropertyList> readPropertyList(const std::string& path) {
    PropertyListFile file = loadPropertyList(path);
    if (file.state == PropertyListFile::State::damaged) logOnce(path, file.problem);
    if (file.state != PropertyListFile::State::read) return {};
    return std::move(file.value);
}

std::error_code dictionaryForChange(const std::string& path, PropertyList::Dictionary& values) {
    using State = PropertyListFile::State;
    values.clear();
    PropertyListFile file = loadPropertyList(path);
    if (file.state == State::missing) return {};
    Console& console = *Platform::current().console;
    if (file.state == State::unreadable) {
        console.log("The preferences could not be read and stay as they are: " + path + ": " +
                    file.problem);
        return file.error;
    }
    if (auto* const found = file.value.as<PropertyList::Dictionary>();
        found && file.state == State::read) {
        values = std::move(*found);
        return {};
    }
    // Nobody's settings are written over because of one bad character.
    std::string aside = path + ".broken";
    std::error_code error = renameWithoutReplacing(path, aside);
    for (int number = 2; error == std::errc::file_exists; ++number) {
        aside = path + ".broken." + std::to_string(number);
        error = renameWithoutReplacing(path, aside);
    }
    if (!error) console.log("The preferences could not be read and were set aside as " + aside);
    return error;
}

std::string propertyListText(const PropertyList& value) {
    const Node root(toNode(value));
    char* text = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(root.get(), &text, &size);
    const Memory owner(text);
    return text ? std::string(text, size) : std::string();
}

std::error_code writePropertyList(const std::string& path, const PropertyList& value) {
    const std::string text = propertyListText(value);
    if (text.empty()) return std::make_error_code(std::errc::invalid_argument);
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error) return error;
    FileReplacement file(path);
    file.write(text);
    return file.commit(FileReplacement::Durable::yes);
}

}  // namespace reelsweep
