// BuildBundle: the program's identity as it was built; see platform/CMakeLists.txt for the values.
#pragma once

#include "platform/Bundle.h"

namespace reelsweep {

class BuildBundle final : public Bundle {
public:
    std::optional<std::string> identifier() const override;
    std::optional<std::string> infoValue(std::string_view key) const override;
    std::optional<std::string> executablePath() const override;
};

}  // namespace reelsweep
