#include "platform/UserDefaults.h"

namespace reelsweep {

UserDefaults::UserDefaults(std::string applicationDomain)
    : applicationDomain_(std::move(applicationDomain)) {}

void UserDefaults::registerDefaults(const PropertyList::Dictionary& defaults) {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, value] : defaults) registered_.insert_or_assign(key, value);
}

std::optional<PropertyList> UserDefaults::objectForKey(std::string_view key) const {
    const PropertyList::Dictionary values = domain(applicationDomain_);
    if (const auto found = values.find(key); found != values.end()) return found->second;
    const std::lock_guard lock(mutex_);
    if (const auto found = registered_.find(key); found != registered_.end()) return found->second;
    return {};
}

std::int64_t UserDefaults::integerForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    return value ? value->integerValue() : 0;
}

bool UserDefaults::boolForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    return value && value->boolValue();
}

std::vector<std::string> UserDefaults::stringArrayForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    const auto* items = value ? value->as<PropertyList::Array>() : nullptr;
    std::vector<std::string> texts;
    if (!items) return texts;
    for (const PropertyList& item : *items) {
        const auto* text = item.as<std::string>();
        if (!text) return {};
        texts.push_back(*text);
    }
    return texts;
}

std::error_code UserDefaults::setObject(std::string_view key, PropertyList value) {
    return update(applicationDomain_, [&](PropertyList::Dictionary& values) {
        values.insert_or_assign(std::string(key), std::move(value));
    });
}

std::error_code UserDefaults::removeObject(std::string_view key) {
    return update(applicationDomain_, [&](PropertyList::Dictionary& values) {
        if (const auto found = values.find(key); found != values.end()) values.erase(found);
    });
}

}  // namespace reelsweep
