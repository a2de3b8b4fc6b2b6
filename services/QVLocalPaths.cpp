#include "services/QVLocalPaths.h"

#include "base/Text.h"
#include "base/UUID.h"
#include "platform/Platform.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>

#include <unistd.h>

namespace reelsweep {

namespace {

std::string appendingComponent(std::string_view folder, std::string_view component) {
    std::string path(folder);
    if (!path.ends_with('/') && !component.starts_with('/')) path += '/';
    return path += component;
}

QVLocalPaths::Path inDomain(StandardDirectory directory, bool user) {
    return QVLocalPaths::pathForDirectory(directory,
                                          user ? FolderDomain::user : FolderDomain::local);
}

QVLocalPaths::Path inLibrary(bool user, std::string_view component) {
    const QVLocalPaths::Path library = QVLocalPaths::libraryDirectory(user);
    if (!library) return {};
    return appendingComponent(*library, component);
}

bool isUnder(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) &&
           (path.size() == folder.size() || folder.ends_with('/') || path[folder.size()] == '/');
}

/// The folders that protect themselves.
std::array<QVLocalPaths::Path, 18> standardFolders() {
    using Paths = QVLocalPaths;
    return {Paths::applicationDirectory(true),
            Paths::applicationDirectory(false),
            Paths::adminApplicationDirectory(true),
            Paths::adminApplicationDirectory(false),
            Paths::documentDirectory(true),
            Paths::documentDirectory(false),
            Paths::libraryDirectory(true),
            Paths::libraryDirectory(false),
            Paths::prefsDirectory(true),
            Paths::prefsDirectory(false),
            Paths::cacheDirectory(true),
            Paths::cacheDirectory(false),
            Paths::appSupportDirectory(true),
            Paths::appSupportDirectory(false),
            Paths::desktopDirectory(),
            Paths::userDirectory(),
            Paths::systemLibraryDirectory(),
            Paths::localDocumentationDirectory()};
}

}  // namespace

QVLocalPaths::Path QVLocalPaths::pathForDirectory(StandardDirectory directory,
                                                  FolderDomain domain) {
    const StandardFolders& folders = *Platform::current().folders;
    Path path = folders.path(directory, domain);
    if (!path || domain != FolderDomain::user || folders.userIdentifier() != 0) return path;
    // Programs that act as root for a user keep to that user's home, while the system answers with
    // root's own.
    const std::string home = userDirectory();
    if (isUnder(*path, home)) return path;
    std::string_view rest = *path;
    for (const std::string_view rootHome : {"/var/root", "/private/var/root"})
        if (rest.starts_with(rootHome)) rest.remove_prefix(rootHome.size());
    return appendingComponent(home, rest);
}

QVLocalPaths::Path QVLocalPaths::applicationDirectory(bool user) {
    return inDomain(StandardDirectory::applications, user);
}
QVLocalPaths::Path QVLocalPaths::adminApplicationDirectory(bool user) {
    return inDomain(StandardDirectory::adminApplications, user);
}
QVLocalPaths::Path QVLocalPaths::documentDirectory(bool user) {
    return inDomain(StandardDirectory::documents, user);
}
QVLocalPaths::Path QVLocalPaths::libraryDirectory(bool user) {
    return inDomain(StandardDirectory::library, user);
}
QVLocalPaths::Path QVLocalPaths::prefsDirectory(bool user) {
    return inLibrary(user, "Preferences");
}
QVLocalPaths::Path QVLocalPaths::cacheDirectory(bool user) {
    return inDomain(StandardDirectory::caches, user);
}
QVLocalPaths::Path QVLocalPaths::appSupportDirectory(bool user) {
    return inDomain(StandardDirectory::applicationSupport, user);
}
QVLocalPaths::Path QVLocalPaths::logDirectory(bool user) { return inLibrary(user, "Logs"); }
QVLocalPaths::Path QVLocalPaths::movieDirectory() {
    return inDomain(StandardDirectory::movies, true);
}
QVLocalPaths::Path QVLocalPaths::desktopDirectory() {
    return inDomain(StandardDirectory::desktop, true);
}
QVLocalPaths::Path QVLocalPaths::systemLibraryDirectory() {
    return pathForDirectory(StandardDirectory::library, FolderDomain::system);
}
QVLocalPaths::Path QVLocalPaths::localDocumentationDirectory() {
    return inDomain(StandardDirectory::documentation, false);
}

QVLocalPaths::Path QVLocalPaths::darwinCacheDirectory() {
    constexpr int darwinUserCacheDirectory = 65538;
    std::array<char, 1024> buffer{};
    if (::confstr(darwinUserCacheDirectory, buffer.data(), buffer.size()) == 0) return {};
    return std::string(buffer.data());
}

std::string QVLocalPaths::userDirectory() { return Platform::current().folders->homeDirectory(); }

std::string QVLocalPaths::username() { return Platform::current().folders->userName(); }

std::string QVLocalPaths::trashDirectory() { return appendingComponent(userDirectory(), ".Trash"); }

std::string QVLocalPaths::tempDirectory() {
    return Platform::current().folders->temporaryDirectory();
}

std::string QVLocalPaths::uuid() { return newUUID(); }

std::string QVLocalPaths::randomString(std::size_t length) {
    constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
    // Seeded at every call, which other users of the generator can tell.
    std::srand(static_cast<unsigned>(std::clock()) * static_cast<unsigned>(std::time(nullptr)));
    std::string text(length, ' ');
    for (char& character : text)
        character = alphabet[static_cast<std::size_t>(std::rand()) % alphabet.size()];
    return text;
}

std::string QVLocalPaths::tempFile() {
    return appendingComponent(tempDirectory(), uuid() + randomString(8));
}

std::string QVLocalPaths::ensureTrailingSlash(std::string_view path) {
    std::string result(path);
    if (!result.empty() && result.back() != '/') result += '/';
    return result;
}

std::string QVLocalPaths::stripTrailingSlash(std::string_view path) {
    if (path.size() >= 2 && path.ends_with('/')) path.remove_suffix(1);
    return std::string(path);
}

bool QVLocalPaths::isPathSystemDirectory(std::string_view path, bool exactMatch) {
    if (path == "/") return true;
    if (characterCount(path) < 3) return false;
    if (path.ends_with('/')) {
        // Cuts the slash and the character before it: "/usr/" is compared as "/us" and so is not
        // protected. Callers have come to rely on it, so it stays.
        path.remove_suffix(1);
        path.remove_suffix(lastCharacterBytes(path));
    }
    const std::array<Path, 18> standard = standardFolders();
    if (std::find(standard.begin(), standard.end(), path) != standard.end()) return true;
    constexpr std::array<std::string_view, 6> fixed{"/Users/Shared", "/usr",  "/var",
                                                    "/bin",          "/sbin", "/System"};
    if (std::find(fixed.begin(), fixed.end(), path) != fixed.end()) return true;
    if (exactMatch) return false;
    if (path.starts_with("/usr/")) return !path.starts_with("/usr/local/");
    constexpr std::array<std::string_view, 5> prefixes{"/var/", "/bin/", "/sbin/", "/private/var/",
                                                       "/System/"};
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [path](std::string_view prefix) { return path.starts_with(prefix); });
}

bool QVLocalPaths::isLinuxSystemDirectory(std::string_view path) {
    // Everything in these but the administrator's own /usr/local.
    constexpr std::array<std::string_view, 5> whole{"/etc", "/boot", "/usr", "/bin", "/sbin"};
    if (isUnder(path, "/usr/local")) return path == "/usr/local";
    // /lib, /lib64 and the like.
    if (path.starts_with("/lib")) return true;
    if (std::any_of(whole.begin(), whole.end(), [&](auto folder) { return isUnder(path, folder); }))
        return true;
    if (path == "/home" || path == "/root") return true;
    // Who takes away a folder above the home takes the home.
    const std::string home = userDirectory();
    std::error_code error;
    return isUnder(home, path) ||
           isUnder(std::filesystem::weakly_canonical(home, error).string(), path);
}

bool QVLocalPaths::isProtectedItem(std::string_view path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path given(path);
    const std::string name = given.filename().string();
    // A slash or a dot at the end means what the link leads to.
    const bool isLink = !name.empty() && name != "." && name != ".." &&
                        fs::is_symlink(fs::symlink_status(given, error));
    if (!isLink) return leadsToSystemDirectory(path, true);
    // The link itself, wherever it leads: /bin is one on some systems, and stays.
    const fs::path absolute = fs::absolute(given, error);
    if (error) return true;
    const fs::path folder = fs::weakly_canonical(absolute.parent_path(), error);
    const std::string plain = (folder / name).string();
    if (isPathSystemDirectory(path, true) || isPathSystemDirectory(plain, true) ||
        isLinuxSystemDirectory(plain))
        return true;
    const auto standard = standardFolders();
    return std::any_of(standard.begin(), standard.end(), [&](const Path& other) {
        return other && fs::path(*other).filename() == name &&
               fs::equivalent(fs::path(*other).parent_path(), folder, error);
    });
}

bool QVLocalPaths::leadsToSystemDirectory(std::string_view path, bool exactMatch) {
    namespace fs = std::filesystem;
    if (isPathSystemDirectory(path, exactMatch)) return true;
    std::error_code error;
    const fs::path absolute = fs::absolute(fs::path(path), error);
    if (path.empty() || error) return false;
    const std::string plain = stripTrailingSlash(absolute.lexically_normal().string());
    const fs::path resolved = fs::weakly_canonical(absolute, error);
    if (isPathSystemDirectory(plain, exactMatch) || isLinuxSystemDirectory(plain)) return true;
    // What cannot be followed (a loop of links, a folder that may not be entered) leads nowhere.
    if (error) return false;
    const std::string end = stripTrailingSlash(resolved.string());
    if (isPathSystemDirectory(end, exactMatch) || isLinuxSystemDirectory(end)) return true;
    const auto standard = standardFolders();
    return std::any_of(standard.begin(), standard.end(), [&](const Path& folder) {
        return folder && !folder->empty() && fs::equivalent(*folder, resolved, error);
    });
}

bool QVLocalPaths::isPathOnTimeMachineVolume(std::string_view path) {
    if (!path.starts_with("/Volumes/")) return false;
    return (std::string(path) + "/").find("/Backups.backupdb/") != std::string::npos;
}

}  // namespace reelsweep
