// QVLocalPaths: the standard folders of the user and the machine, temporary names, and the test
// that keeps destructive file operations away from protected folders.
//
// Stateless. The folders need not exist; an empty answer means that there is no such folder, or
// that the user has no home. Where an operation takes `user`, true asks for the folder in the
// user's home, false for that of the machine.
// Thread rule: any thread.
#pragma once

#include "platform/StandardFolders.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace reelsweep {

class QVLocalPaths {
public:
    using Path = std::optional<std::string>;

    /// The folder as the system knows it. For root the user's folder lies under userDirectory().
    static Path pathForDirectory(StandardDirectory directory, FolderDomain domain);

    static Path applicationDirectory(bool user);
    static Path adminApplicationDirectory(bool user);
    static Path documentDirectory(bool user);
    static Path libraryDirectory(bool user);
    static Path prefsDirectory(bool user);
    static Path cacheDirectory(bool user);
    static Path appSupportDirectory(bool user);
    static Path logDirectory(bool user);
    static Path movieDirectory();
    static Path desktopDirectory();
    static Path systemLibraryDirectory();
    static Path localDocumentationDirectory();
    /// The operating system's own cache folder for the user, where it has one.
    static Path darwinCacheDirectory();

    /// The home folder; empty when unknown.
    static std::string userDirectory();
    /// The login name; empty when unknown.
    static std::string username();
    static std::string trashDirectory();
    static std::string tempDirectory();

    /// A new globally unique string, in the form of a UUID.
    static std::string uuid();
    /// A text of that many random letters a to z and digits. Two calls in the same instant may give
    /// the same text; where that matters, see uuid.
    static std::string randomString(std::size_t length);
    /// A path for a new temporary file, which is not created.
    static std::string tempFile();

    /// The path with a slash at its end; an empty path stays empty.
    static std::string ensureTrailingSlash(std::string_view path);
    /// The path without a slash at its end; "/" stays.
    static std::string stripTrailingSlash(std::string_view path);

    /// True for a folder that must not be removed or replaced. The standard folders protect
    /// themselves, not what is in them; the folders of the system also protect what is in them,
    /// unless exactMatch.
    static bool isPathSystemDirectory(std::string_view path, bool exactMatch = false);

    /// The same test for whoever is about to destroy something: also true when the path, once ".",
    /// "..", doubled slashes and symbolic links are followed, is such a folder, and when it is one
    /// of the standard folders under another name.
    static bool leadsToSystemDirectory(std::string_view path, bool exactMatch = false);
    /// True for an item that must not be removed or moved: leadsToSystemDirectory with exactMatch,
    /// but a link counts as itself, not as what it leads to.
    static bool isProtectedItem(std::string_view path);
    /// What Linux has in other places than isPathSystemDirectory knows: /etc, /boot, /lib and the
    /// like and /usr with all in them (but not what is in /usr/local), /home, /root, and every
    /// folder above the user's home. For an absolute path without links.
    static bool isLinuxSystemDirectory(std::string_view path);

    /// True for a path inside a Time Machine backup.
    static bool isPathOnTimeMachineVolume(std::string_view path);
};

}  // namespace reelsweep
