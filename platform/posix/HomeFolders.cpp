#include "platform/posix/HomeFolders.h"

#include <cstdlib>
#include <fstream>
#include <string_view>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace reelsweep {

namespace {

/// The value of an environment variable that must hold an absolute path; empty when it does not.
std::string absolutePathFromEnvironment(const char* name) {
    const char* const value = std::getenv(name);
    if (!value || *value != '/') return {};
    std::string path = value;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

/// A text of the current user's passwd entry; empty when there is no entry.
std::string passwdText(char* passwd::*field) {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return {};
    return found->*field ? found->*field : "";
}

/// The value of a line such as XDG_DESKTOP_DIR="$HOME/Schreibtisch". Empty when the line is about
/// something else or not of that form: an absolute path or one below $HOME, in double quotes.
std::optional<std::string> userDirValue(std::string_view line, std::string_view key,
                                        const std::string& home) {
    const std::size_t nameStart = line.find_first_not_of(" \t");
    if (nameStart == std::string_view::npos) return {};
    line.remove_prefix(nameStart);
    if (!line.starts_with(key)) return {};
    line.remove_prefix(key.size());
    const std::size_t open = line.find_first_not_of(" \t=");
    if (open == std::string_view::npos || line[open] != '"' ||
        line.substr(0, open).find('=') == std::string_view::npos)
        return {};
    std::string value;
    std::size_t i = open + 1;
    for (; i < line.size() && line[i] != '"'; ++i) {
        if (line[i] == '\\' && i + 1 < line.size()) ++i;
        value += line[i];
    }
    if (i == line.size()) return {};
    if (value == "$HOME" || value.starts_with("$HOME/"))
        value = home + value.substr(5);
    else if (!value.starts_with("/"))
        return {};
    while (value.size() > 1 && value.back() == '/') value.pop_back();
    return value;
}

/// What the user's user-dirs.dirs file sets for the key, else empty.
std::optional<std::string> userDir(std::string_view key, const std::string& home) {
    std::string folder = absolutePathFromEnvironment("XDG_CONFIG_HOME");
    if (folder.empty()) folder = home + "/.config";
    std::ifstream file(folder + "/user-dirs.dirs");
    std::optional<std::string> value;
    for (std::string line; std::getline(file, line);)
        if (auto found = userDirValue(line, key, home)) value = found;
    return value;
}

/// The folder's place below the top of a domain, and the key under which user-dirs.dirs moves it.
struct FolderName {
    const char* user;
    const char* local;  ///< null: this machine's domain has none
    const char* userDirKey = nullptr;
};

FolderName nameOf(StandardDirectory directory) {
    switch (directory) {
        case StandardDirectory::applications: return {"/Applications", "/Applications"};
        case StandardDirectory::adminApplications:
            return {"/Applications/Utilities", "/Applications/Utilities"};
        case StandardDirectory::documents:
            return {"/Documents", "/Library/Documents", "XDG_DOCUMENTS_DIR"};
        case StandardDirectory::library: return {"/Library", "/Library"};
        case StandardDirectory::caches: return {"/Library/Caches", "/Library/Caches"};
        case StandardDirectory::applicationSupport:
            return {"/Library/Application Support", "/Library/Application Support"};
        case StandardDirectory::movies: return {"/Movies", nullptr, "XDG_VIDEOS_DIR"};
        case StandardDirectory::desktop: return {"/Desktop", nullptr, "XDG_DESKTOP_DIR"};
        case StandardDirectory::documentation:
            return {"/Library/Documentation", "/Library/Documentation"};
    }
    return {nullptr, nullptr};
}

}  // namespace

std::optional<std::string> HomeFolders::path(StandardDirectory directory,
                                             FolderDomain domain) const {
    const FolderName name = nameOf(directory);
    switch (domain) {
        case FolderDomain::user: {
            const std::string home = homeDirectory();
            if (home.empty()) return {};
            if (name.userDirKey)
                if (auto moved = userDir(name.userDirKey, home)) return moved;
            return (home == "/" ? "" : home) + name.user;
        }
        case FolderDomain::local:
            if (!name.local) return {};
            return name.local;
        case FolderDomain::system:
            if (directory != StandardDirectory::library) return {};
            return "/System/Library";
    }
    return {};
}

std::string HomeFolders::homeDirectory() const {
    std::string home = absolutePathFromEnvironment("HOME");
    return home.empty() ? passwdText(&passwd::pw_dir) : home;
}

std::string HomeFolders::temporaryDirectory() const {
    std::string folder = absolutePathFromEnvironment("TMPDIR");
    return folder.empty() ? "/tmp" : folder;
}

std::string HomeFolders::userName() const {
    std::string name = passwdText(&passwd::pw_name);
    if (!name.empty()) return name;
    const char* const variable = std::getenv("LOGNAME");
    return variable ? variable : "";
}

unsigned HomeFolders::userIdentifier() const { return ::geteuid(); }

}  // namespace reelsweep
