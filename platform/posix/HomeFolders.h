// HomeFolders: the standard folders as names under the home folder and the root folder.
//
// The names are the same on every system, so that a user who moves between machines finds logs and
// settings in one place; only Desktop, Documents and Movies follow the user's user-dirs.dirs file,
// since desktops translate them. HOME decides what the home folder is; without a usable HOME the
// user's passwd entry does.
#pragma once

#include "platform/StandardFolders.h"

namespace reelsweep {

class HomeFolders : public StandardFolders {
public:
    std::optional<std::string> path(StandardDirectory directory,
                                    FolderDomain domain) const override;
    std::string homeDirectory() const override;
    std::string temporaryDirectory() const override;
    std::string userName() const override;
    unsigned userIdentifier() const override;
};

}  // namespace reelsweep
