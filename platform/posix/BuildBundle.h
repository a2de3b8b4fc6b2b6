// BuildBundle: the program's identity as it was built; see CMakeLists.txt for the values.
#pragma once

#include "platform/Bundle.h"

namespace reelsweep {

class BuildBundle final : public Bundle {
public:
    std::optional<std::string> identifier() const override;
    std::optional<std::string> infoValue(std::string_view key) const override;
    std::optional<std::string> executablePath() const override;
    /// A program without a bundle comes with what lies beside it.
    std::optional<std::string> bundlePath() const override;
    std::optional<std::string> resourcePath(std::string_view name,
                                            std::string_view type) const override;
};

}  // namespace reelsweep
