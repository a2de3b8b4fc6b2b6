// LibArchiver: zip archives through libarchive.
#pragma once

#include "platform/Archiver.h"

namespace reelsweep {

class LibArchiver final : public Archiver {
public:
    std::string compress(const std::string& source, const std::string& archive,
                         bool includeParent) override;
    std::string decompress(const std::string& archive, const std::string& folder) override;
};

}  // namespace reelsweep
