// PropertyList: the value that preference files hold, and reading and writing such files.
//
// Owner: the caller; a plain value. Thread rule: none for values; files may be read and written
// from any thread, since a write replaces the whole file at once.
#pragma once

#include "platform/PropertyListLimits.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace reelsweep {

class PropertyList {
public:
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList, std::less<>>;
    using Data = std::vector<std::uint8_t>;
    using Date = std::chrono::sys_time<std::chrono::microseconds>;

    /// An empty dictionary.
    PropertyList() : value_(Dictionary{}) {}
    PropertyList(bool value) : value_(value) {}
    template <class Integer>
    requires(std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>)
        PropertyList(Integer value)
        : value_(static_cast<std::int64_t>(value)) {}
    PropertyList(double value) : value_(value) {}
    PropertyList(const char* value) : value_(std::string(value)) {}
    PropertyList(std::string value) : value_(std::move(value)) {}
    PropertyList(Data value) : value_(std::move(value)) {}
    PropertyList(Date value) : value_(value) {}
    PropertyList(Array value) : value_(std::move(value)) {}
    PropertyList(Dictionary value) : value_(std::move(value)) {}

    /// The value when it is of the type T (bool, std::int64_t, double, std::string, Data, Date,
    /// Array or Dictionary), else null. Owned by this object.
    template <class T>
    const T* as() const {
        return std::get_if<T>(&value_);
    }
    template <class T>
    T* as() {
        return std::get_if<T>(&value_);
    }

    /// The value for a key when this is a dictionary that has the key, else null.
    const PropertyList* find(std::string_view key) const;

    /// The whole number in a number, a boolean (1 or 0) or the leading digits of a text; else 0.
    std::int64_t integerValue() const;
    /// True for a true boolean, a number other than 0, and a text that starts with Y, y, T, t or a
    /// digit from 1 to 9 (after a sign and zeros).
    bool boolValue() const;

    bool operator==(const PropertyList&) const = default;

private:
    std::variant<Dictionary, Array, bool, std::int64_t, double, std::string, Data, Date> value_;
};

/// What reading a property list came to.
struct PropertyListFile {
    enum class State {
        read,
        missing,     ///< there is no such file
        damaged,     ///< it is no property list, or one beyond the limits
        unreadable,  ///< it is there, and this process cannot read it now
    };
    State state = State::missing;
    PropertyList value = {};
    std::string problem = {};    ///< what is wrong, for a person; empty for read and missing
    std::error_code error = {};  ///< why it is unreadable
};

/// Reads an XML or binary property list.
PropertyListFile loadPropertyList(const std::string& path);

/// The value of a file that could be read, else empty. A damaged file is told in the log, once.
std::optional<PropertyList> readPropertyList(const std::string& path);

/// The dictionary in a file, to be changed and written back; empty when there is no file. A damaged
/// file, or one that holds something else, is set aside as PATH.broken (PATH.broken.2 and so on if
/// there are earlier ones). One that cannot be read now stays as it is and is an error: whoever
/// wrote to it would lose what it holds. The system console says so in both cases.
std::error_code dictionaryForChange(const std::string& path, PropertyList::Dictionary& values);

/// The value of an XML or binary property list. `problem` says what is wrong when there is none.
std::optional<PropertyList> parsePropertyList(std::string_view bytes, std::string& problem,
                                              const PropertyListLimits& limits = {});

/// The value as an XML property list; empty when it cannot be one.
std::string propertyListText(const PropertyList& value);

/// Writes an XML property list; the file is replaced as a whole or left as it was. Creates the
/// folder when it does not exist. Answers the error, or none.
std::error_code writePropertyList(const std::string& path, const PropertyList& value);

}  // namespace reelsweep
