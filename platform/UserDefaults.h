// UserDefaults: the settings of the program, kept between runs.
//
// A key is looked up among the values that the user set, then among the registered defaults. Values
// belong to a domain; a domain is a bundle identifier, and each program has its own.
// Owner: Platform. Thread rule: any thread.
#pragma once

#include "platform/PropertyList.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class UserDefaults {
public:
    explicit UserDefaults(std::string applicationDomain);
    virtual ~UserDefaults() = default;

    /// Adds values that hold as long as the user set none. They are not stored.
    void registerDefaults(const PropertyList::Dictionary& defaults);

    /// The set value, else the registered default, else empty.
    std::optional<PropertyList> objectForKey(std::string_view key) const;
    /// objectForKey as a whole number (see PropertyList::integerValue); 0 when there is no value.
    std::int64_t integerForKey(std::string_view key) const;
    /// objectForKey as a boolean (see PropertyList::boolValue); false when there is no value.
    bool boolForKey(std::string_view key) const;
    /// The texts of an array of texts; empty when there is no value or it is something else.
    std::vector<std::string> stringArrayForKey(std::string_view key) const;

    /// Stores a value in the program's domain at once. Answers the error, or none.
    std::error_code setObject(std::string_view key, PropertyList value);
    /// Removes the set value; a registered default shows again. Answers the error, or none.
    std::error_code removeObject(std::string_view key);

    /// All set values of a domain; empty when it has none.
    virtual PropertyList::Dictionary domain(std::string_view domainName) const = 0;

protected:
    /// Changes a domain through the function and stores it, with no other change of the same domain
    /// in between, not even by another process.
    virtual std::error_code update(
        std::string_view domainName,
        const std::function<void(PropertyList::Dictionary&)>& change) = 0;

private:
    const std::string applicationDomain_;
    mutable std::mutex mutex_;
    PropertyList::Dictionary registered_;
};

}  // namespace reelsweep
