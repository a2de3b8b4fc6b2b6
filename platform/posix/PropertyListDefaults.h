// PropertyListDefaults: settings as one property-list file a domain in the Preferences folder.
#pragma once

#include "platform/UserDefaults.h"

namespace reelsweep {

class PropertyListDefaults final : public UserDefaults {
public:
    /// The folder is made when something is stored; with an empty folder (a user without a home)
    /// storing fails.
    PropertyListDefaults(std::string applicationDomain, std::string preferencesFolder)
        : UserDefaults(std::move(applicationDomain)), folder_(std::move(preferencesFolder)) {}

    PropertyList::Dictionary domain(std::string_view domainName) const override;

protected:
    std::error_code update(std::string_view domainName,
                           const std::function<void(PropertyList::Dictionary&)>& change) override;

private:
    std::string filePath(std::string_view domainName) const;

    const std::string folder_;
};

}  // namespace reelsweep
