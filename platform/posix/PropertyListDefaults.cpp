#include "platform/posix/PropertyListDefaults.h"

#include "base/FolderLock.h"

#include <filesystem>

namespace reelsweep {

std::string PropertyListDefaults::filePath(std::string_view domainName) const {
    return folder_ + "/" + std::string(domainName) + ".plist";
}

PropertyList::Dictionary PropertyListDefaults::domain(std::string_view domainName) const {
    const std::optional<PropertyList> file = readPropertyList(filePath(domainName));
    const auto* values = file ? file->as<PropertyList::Dictionary>() : nullptr;
    return values ? *values : PropertyList::Dictionary{};
}

std::error_code PropertyListDefaults::update(
    std::string_view domainName, const std::function<void(PropertyList::Dictionary&)>& change) {
    if (folder_.empty()) return std::make_error_code(std::errc::no_such_file_or_directory);
    std::error_code error;
    std::filesystem::create_directories(folder_, error);
    if (error) return error;
    const FolderLock lock(folder_, std::chrono::seconds(10));
    PropertyList::Dictionary values;
    const std::string file = filePath(domainName);
    if ((error = dictionaryForChange(file, values))) return error;
    change(values);
    return writePropertyList(file, values);
}

}  // namespace reelsweep
