// Bundle: what this program knows about itself.
//
// Owner: Platform. Thread rule: any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace reelsweep {

class Bundle {
public:
    virtual ~Bundle() = default;

    /// The reverse-domain name of the program; also its user-defaults domain.
    virtual std::optional<std::string> identifier() const = 0;

    /// A value of the information dictionary, such as "CFBundleVersion" or
    /// "CFBundleShortVersionString"; empty when the program has no such value.
    virtual std::optional<std::string> infoValue(std::string_view key) const = 0;

    /// The absolute path of the running executable; empty when it cannot be found out.
    virtual std::optional<std::string> executablePath() const = 0;

    /// The absolute path of the folder that holds the program and what comes with it.
    virtual std::optional<std::string> bundlePath() const = 0;

    /// The absolute path of an item that comes with the program, such as "Bug Reporter" of the type
    /// "app"; empty when there is none.
    virtual std::optional<std::string> resourcePath(std::string_view name,
                                                    std::string_view type) const = 0;
};

}  // namespace reelsweep
