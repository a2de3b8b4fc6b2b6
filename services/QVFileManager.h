// QVFileManager: what programs need of files again and again.
//
// Stateless. Nothing is thrown; a failure is logged and answered as false or nothing. Operations
// that take shouldAuth try once more with the administrator's rights (see QVAuthorization.h) when
// the plain attempt fails and the flag is set; the person at the machine may be asked then.
// Removing, trashing and moving refuse the folders of the system and the user's standard folders.
//
// Operations that take a time-out in seconds wait until the file system shows their result. On the
// main thread they keep handling interface events meanwhile.
// Thread rule: any thread for everything.
#pragma once

#include "platform/PropertyList.h"
#include "services/Digest.h"
#include "services/FileSystem.h"

#include <any>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// What accompanies the calls of a copy: "source", "destinations", "operationtype" ("copy"), and
/// after a verified copy "sourceChecksum", "destChecksum" and "destChecksums".
struct FileCopySettings {
    PropertyList::Dictionary values;
    std::any object;
    std::any object2;
};

/// Whoever follows a long operation. Calls come one after the other, on a thread of their own, and
/// never after the operation has returned.
class FileManagerDelegate {
public:
    virtual ~FileManagerDelegate() = default;
    /// Asked after every 50 MiB; false ends the checksum, which then has no result.
    virtual bool checksumShouldContinue(const std::string& /*path*/) { return true; }
    virtual void fileCopyBytesWritten(std::uint64_t /*bytes*/, const FileCopySettings&) {}
    /// False ends the copy.
    virtual bool fileCopyShouldContinue(const FileCopySettings&) { return true; }
    virtual void fileCopyVerificationFailed(const FileCopySettings&, const std::string& /*file*/) {}
    virtual void fileCopyFinished(const FileCopySettings&) {}
};

class QVFileManager {
public:
    using Path = std::string;
    using Paths = std::vector<std::string>;
    using Date = filesystem::Date;

    // What is there. Links are followed, except by isSymbolicLinkAtPath.

    static bool fileExistsAtPath(const Path& path);
    static bool isDirectoryAtPath(const Path& path);
    /// True for a folder that people handle as one file, such as an application.
    static bool isPackageAtPath(const Path& path);
    static bool isSymbolicLinkAtPath(const Path& path);
    /// False for a path in /Volumes whose volume is not there.
    static bool isDriveMountedForPath(const Path& path);
    static bool isVolumeMountedForPath(const Path& path);
    /// The folder on which the path's volume is mounted.
    static std::optional<Path> volumeMountPointForPath(const Path& path);
    static std::optional<Date> modificationDateForFile(const Path& path);
    static std::optional<Date> creationDateForFile(const Path& path);
    /// Bytes.
    static std::optional<std::uint64_t> fileSize(const Path& path);
    /// A folder with nothing but what file managers leave behind counts as empty.
    static bool isFolderEmpty(const Path& path);

    // Names.

    /// The path, or with " 2", " 3" and so on before the extension the first at which nothing is.
    static Path uniqueFilename(const Path& path);
    /// The name without a leading dot, white space at its ends and colons; without slashes too when
    /// includeSlashes.
    static std::string validateFilename(std::string_view name, bool includeSlashes = true);
    /// The existing paths that fit a pattern with "*" and "?" in its components; a pattern without
    /// "*" is answered as it is. A relative pattern starts at the base folder, or at "/".
    static Paths filesMatchingWildcardPath(const Path& pattern,
                                           const std::optional<Path>& basePath = {},
                                           bool searchSubdirs = false);
    /// A size in bytes as people read it, in units of 1024.
    static std::string formatFileSize(double bytes);

    // Making, moving, copying.

    static bool createDirectory(const Path& path, bool shouldAuth = true);
    static bool createDirectory(const Path& path, double timeout);
    /// Makes and answers the folder below the destination that stands for the source's own.
    static std::optional<Path> createDirectoryStructure(const Path& source,
                                                        const Path& destination);
    static bool createEmptyFile(const Path& path);
    /// What is at the destination is an error, unless the second attempt is allowed, which
    /// replaces.
    static bool moveFile(const Path& source, const Path& destination, bool shouldAuth = true);
    static bool moveFile(const Path& source, const Path& destination, double timeout);
    static bool copyFile(const std::optional<Path>& source, const std::optional<Path>& destination,
                         bool shouldAuth = true);
    static bool copyFile(const std::optional<Path>& source, const std::optional<Path>& destination,
                         double timeout);
    /// All items are tried; true when none failed. The time-out holds for each.
    static bool copyContentsOfDirectory(const Path& source, const Path& destination,
                                        double timeout);

    // Trashing and removing. Nothing there is success.

    static bool trashFile(const Path& path, bool shouldAuth = true);
    static bool trashFile(const Path& path, double timeout);
    static bool trashDirectoryContents(const Path& folder, bool shouldAuth = true);
    static bool trashFilesOfType(std::string_view extension, const Path& folder);
    static bool trashFilesNamed(std::string_view name, const Path& folder);
    static bool removeFile(const Path& path, bool shouldAuth = true);
    static bool removeFile(const Path& path, double timeout);
    static bool removeFolderIfEmpty(const Path& path);

    // Waiting for other programs.

    /// Waits once, for a moment, when there is no file with something in it yet.
    static void waitForFileCreation(const Path& path, double timeout);
    /// Waits until the file has not been changed for 5 seconds.
    static void waitForFileWrites(const Path& path, const std::optional<Path>& lockFile = {});

    // Archives. What is at the destination goes to the Trash first.

    static bool compressFile(const Path& source, const Path& archive, bool includeParent = true);
    static bool decompressFile(const Path& archive, const Path& folder);

    // Attributes.

    static bool isFileLocked(const Path& path);
    static bool lockFile(const Path& path);
    static bool unlockFile(const Path& path);
    /// The items in the folder. True when none failed.
    static bool lockFolder(const Path& folder);
    static bool unlockFolder(const Path& folder);
    static bool setPosixPermissions(unsigned permissions, const Path& file);
    static bool touchFile(const Path& path);
    /// False where the system cannot set a creation date, which no Linux file system can.
    static bool touchFile(const Path& path, Date creationDate);
    static bool setModificationDate(Date date, const Path& path);
    /// Extended attributes as texts, at most 255 bytes; only on Apple's file systems.
    static std::optional<std::string> metadataValueForKey(const std::string& key, const Path& file);
    static bool setMetadataValue(const std::string& value, const std::string& key,
                                 const Path& file);
    /// The progress that a file manager shows on the item, from 0 to 1; below 0 takes it away.
    static void setFinderProgress(double fraction, const Path& file);
    static void removeFinderProgressForFile(const Path& file);
    /// "MountPoint", "FilesystemType" and "DeviceNode" of a volume.
    static std::optional<PropertyList> infoForDiskAtMountpoint(const Path& mountPoint);
    static std::optional<std::string> filesystemForPath(const Path& path);
    static bool isMacFilesystemAtPath(const Path& path);

    /// Red, green and blue, each from 0 to 1.
    struct Color {
        double red = 0;
        double green = 0;
        double blue = 0;
        bool operator==(const Color&) const = default;
    };
    /// The label of an item, from 0 (none) to 7.
    static int finderColorIndexForPath(const Path& path);
    static bool setFinderColorIndex(int index, const Path& path);
    static std::optional<Color> finderColorForColorIndex(int index);
    static std::optional<Color> finderColorForPath(const Path& path);

    // Kept for callers; this system has nothing to do for them.

    static void disableFileSystemCachingForFile(const Path&) {}
    static bool fileIsOpenForWriting(const Path&) { return false; }
    static void notifyFileSystemChanged(const Path&) {}
    static bool registerApplicationWithLaunchServices(const Path&) { return false; }

    /// A reference to an existing item: its path with all links followed.
    static std::optional<std::string> stringToFSRef(const Path& path);
    static std::optional<Path> stringWithFSRef(const std::string& reference);

    // Checksums, as lowercase hexadecimal digits.

    using Checksum = std::optional<std::string>;
    static Checksum md5HashForFile(const Path& path, FileManagerDelegate* delegate = nullptr);
    static Checksum sha1HashForFile(const Path& path, FileManagerDelegate* delegate = nullptr);
    static Checksum sha512HashForFile(const Path& path, FileManagerDelegate* delegate = nullptr);
    static std::string md5HashWithContext(Digest& digest) { return digest.finish(); }
    static std::string sha1HashWithContext(Digest& digest) { return digest.finish(); }
    static std::string sha256HashWithContext(Digest& digest) { return digest.finish(); }
    static std::string sha512HashWithContext(Digest& digest) { return digest.finish(); }

    /// Copies one file to several destinations, reading it once. A verification type from 1 to 4
    /// (see Digest::Kind) reads back every chunk that was written; a difference is told to the
    /// delegate.
    static bool copyFileWithProgress(const Path& source, const Paths& destinations,
                                     int verificationType, FileManagerDelegate* delegate,
                                     const std::any& object = {}, const std::any& object2 = {});
    static bool copyFileWithProgress(const Path& source, const Path& destination,
                                     FileManagerDelegate* delegate, const std::any& object = {},
                                     const std::any& object2 = {});
};

}  // namespace reelsweep
