#include "services/PrivateFolder.h"

#include "services/FileSystem.h"
#include "services/QVLocalPaths.h"

#include <stdlib.h>
#include <cerrno>
#include <filesystem>

namespace reelsweep {

PrivateFolder::PrivateFolder(const std::string& start)
    : path_(QVLocalPaths::stripTrailingSlash(QVLocalPaths::tempDirectory()) + "/" + start +
            ".XXXXXX") {
    std::filesystem::create_directories(std::filesystem::path(path_).parent_path(), error_);
    if (!error_ && !::mkdtemp(path_.data())) error_.assign(errno, std::generic_category());
}

PrivateFolder::~PrivateFolder() {
    if (!error_ && !kept_) (void)filesystem::remove(path_);
}

}  // namespace reelsweep
