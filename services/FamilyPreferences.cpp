#include "services/FamilyPreferences.h"

#include "platform/PropertyList.h"
#include "services/QVLocalPaths.h"

namespace reelsweep {

bool familyPreferenceIsOne(std::string_view key) {
    const std::optional<std::string> folder = QVLocalPaths::prefsDirectory(true);
    if (!folder) return false;
    const auto preferences = readPropertyList(*folder + "/com.quorvane.global.plist");
    const PropertyList* const value = preferences ? preferences->find(key) : nullptr;
    if (!value) return false;
    // The number has to equal true, so 2 does not count, and of the texts only "1" does.
    if (const auto* text = value->as<std::string>()) return *text == "1";
    if (const auto* flag = value->as<bool>()) return *flag;
    if (const auto* number = value->as<std::int64_t>()) return *number == 1;
    if (const auto* real = value->as<double>()) return *real == 1.0;
    return false;
}

}  // namespace reelsweep
