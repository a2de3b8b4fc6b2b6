#include "platform/posix/DesktopTrash.h"

#include "base/Rename.h"
#include "base/UniqueDescriptor.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

std::error_code lastError() { return {errno, std::generic_category()}; }

bool statusOf(const fs::path& path, struct stat& status) {
    return ::lstat(path.c_str(), &status) == 0;
}

/// A trash folder, and the folder to which the paths in its notes are relative (empty: absolute).
struct Trash {
    fs::path folder;
    fs::path top;
};

fs::path dataHome(const std::string& homeFolder) {
    const char* const set = std::getenv("XDG_DATA_HOME");
    return set && *set == '/' ? fs::path(set) : fs::path(homeFolder) / ".local/share";
}

/// The highest folder above the item on the item's volume.
fs::path volumeTop(fs::path folder, dev_t device) {
    struct stat status {};
    while (folder != folder.root_path() && statusOf(folder.parent_path(), status) &&
           status.st_dev == device)
        folder = folder.parent_path();
    return folder;
}

/// A folder of this user's own, made when it is not there; a link is none, since it may lead into
/// somebody else's.
bool ownFolder(const fs::path& folder) {
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return false;
    struct stat status {};
    if (!statusOf(folder, status)) return false;
    errno = ENOTDIR;
    return S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

bool hasPlaces(const Trash& trash) {
    return ownFolder(trash.folder / "files") && ownFolder(trash.folder / "info");
}

/// The trash of the home; whether it can be used shows later.
Trash homeTrash(const std::string& homeFolder) {
    std::error_code error;
    Trash trash{dataHome(homeFolder) / "Trash", {}};
    fs::create_directories(trash.folder.parent_path(), error);
    return trash;
}

/// The trash for items on the volume; an empty folder and errno when there is none.
Trash trashFor(const fs::path& parent, dev_t device, const std::string& homeFolder) {
    Trash trash = homeTrash(homeFolder);
    struct stat status {};
    if (ownFolder(trash.folder) && statusOf(trash.folder, status) && status.st_dev == device)
        return trash;
    const std::string user = std::to_string(::geteuid());
    trash.top = volumeTop(parent, device);
    const fs::path shared = trash.top / ".Trash";
    trash.folder = shared / user;
    if (statusOf(shared, status) && S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) &&
        ownFolder(trash.folder))
        return trash;
    trash.folder = trash.top / (".Trash-" + user);
    if (!ownFolder(trash.folder)) trash.folder.clear();
    return trash;
}

std::string percentEncoded(std::string_view path) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~/";
    std::string text;
    for (const char character : path) {
        if (plain.find(character) != std::string_view::npos) {
            text += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        text += '%';
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 0x0F];
    }
    return text;
}

/// The note by which the item is restored.
std::string noteFor(const fs::path& original) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 32> date{};
    (void)std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &local);
    return "[Trash Info]\nPath=" + percentEncoded(original.string()) +
           "\nDeletionDate=" + date.data() + "\n";
}

std::string numberedName(const std::string& whole, int number) {
    const fs::path name(whole);
    if (number == 1) return whole;
    return name.stem().string() + " " + std::to_string(number) + name.extension().string();
}

/// Writes the note and moves the item, under the first name that is free in both places.
std::error_code moveInto(const Trash& trash, const fs::path& item, const std::string& note,
                         const Workspace::TrashName& chooseName, const Workspace::Mover& move) {
    for (int number = 1;; ++number) {
        const std::string name = chooseName(item.filename().string(), number);
        const fs::path info = trash.folder / "info" / (name + ".trashinfo");
        const UniqueDescriptor file(
            ::open(info.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!file && errno == EEXIST) continue;
        if (!file) return lastError();
        std::error_code error;
        const ssize_t written = ::write(file.get(), note.data(), note.size());
        if (written != static_cast<ssize_t>(note.size()))
            error = written < 0 ? lastError() : std::make_error_code(std::errc::no_space_on_device);
        else
            error = move(item.string(), (trash.folder / "files" / name).string());
        if (!error) return {};
        ::unlink(info.c_str());
        if (error != std::errc::file_exists) return error;
    }
}

struct Item {
    fs::path path;  ///< without links above the item itself
    dev_t device = 0;
};

std::error_code find(const std::string& path, Item& item) {
    fs::path given(path);
    if (!given.has_filename()) given = given.parent_path();
    std::error_code error;
    const fs::path parent =
        fs::canonical(given.has_parent_path() ? given.parent_path() : ".", error);
    if (error) return error;
    item.path = parent / given.filename();
    struct stat status {};
    if (!statusOf(item.path, status)) return lastError();
    item.device = status.st_dev;
    return {};
}

}  // namespace

std::error_code moveToDesktopTrash(const std::string& path, const std::string& homeFolder) {
    Item item;
    if (const std::error_code error = find(path, item)) return error;
    const Trash trash = trashFor(item.path.parent_path(), item.device, homeFolder);
    if (trash.folder.empty() || !hasPlaces(trash)) return lastError();
    const fs::path noted = trash.top.empty() ? item.path : item.path.lexically_relative(trash.top);
    return moveInto(trash, item.path, noteFor(noted), numberedName, renameWithoutReplacing);
}

std::error_code moveToDesktopTrash(const std::string& path, const std::string& homeFolder,
                                   const Workspace::TrashName& name, const Workspace::Mover& move) {
    Item item;
    if (const std::error_code error = find(path, item)) return error;
    const Trash trash = homeTrash(homeFolder);
    if (!ownFolder(trash.folder) || !hasPlaces(trash)) return lastError();
    return moveInto(trash, item.path, noteFor(item.path), name, move);
}

}  // namespace reelsweep
