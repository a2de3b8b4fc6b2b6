// FileSystem: plain operations on files and folders, without logging and without second attempts.
//
// A link is an item of its own unless an operation says that it is followed. Errors are answered as
// codes, none means done. Thread rule: plain functions, any thread.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace reelsweep::filesystem {

using Date = std::chrono::sys_time<std::chrono::nanoseconds>;

/// Something is there, were it only a link that leads nowhere.
bool itemExists(const std::string& path);

/// The names in a folder, sorted; empty when it cannot be read.
std::vector<std::string> namesIn(const std::string& folder);

/// Moves an item; what is at the destination already is an error. Between volumes it is copied
/// whole before the source goes.
std::error_code move(const std::string& from, const std::string& to);

/// Copies an item with all that is in it, with permissions, dates and extended attributes. What is
/// at the destination already is an error; nothing stays there when the copy fails.
std::error_code copy(const std::string& from, const std::string& to);

/// Removes an item with all that is in it.
std::error_code remove(const std::string& path);

/// The flag that keeps an item from being changed, by anyone. Nothing where the file system has
/// none.
std::optional<bool> isImmutable(const std::string& path);
std::error_code setImmutable(const std::string& path, bool immutable);

/// Of what a link leads to. Nothing when there is no item; no creation date where none is kept.
std::optional<Date> modificationDate(const std::string& path);
std::optional<Date> creationDate(const std::string& path);
std::error_code setModificationDate(const std::string& path, Date date);

/// An extended attribute, under the name that it has on an Apple volume.
std::error_code readAttribute(const std::string& path, const std::string& name, std::string& value);
std::error_code writeAttribute(const std::string& path, const std::string& name,
                               const std::string& value);

/// The folder on which the path's volume is mounted (for a path where nothing is: that of the next
/// folder above it), and the kind of its file system; "hfs+" and "apfs" are Apple's.
struct Volume {
    std::string mountPoint;
    std::string kind;
    std::string device;
};
std::optional<Volume> volumeOf(const std::string& path);

}  // namespace reelsweep::filesystem
