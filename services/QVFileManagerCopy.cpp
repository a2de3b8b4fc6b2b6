// The operations of QVFileManager that read whole files: checksums and the verified copy.
#include "base/BackgroundQueue.h"
#include "base/FinderInfo.h"
#include "services/ConsoleLog.h"
#include "services/QVFileManager.h"
#include "services/QVLog.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>

namespace reelsweep {

namespace {

constexpr std::size_t chunkBytes = 65536;

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File openFile(const std::string& path, const char* mode) {
    return {std::fopen(path.c_str(), mode), &std::fclose};
}

using Buffer = std::unique_ptr<char[]>;

Buffer newBuffer() { return Buffer(new (std::nothrow) char[chunkBytes]); }

QVFileManager::Checksum hashForFile(const std::string& path, Digest::Kind kind,
                                    FileManagerDelegate* delegate) {
    constexpr std::uint64_t askEvery = 52'428'800;
    const File file = openFile(path, "rbe");
    if (!file) {
        // "destination": files are mostly checked after they were copied.
        consoleLog("Error: Unable to open destination file %@. Aborting hash verification...",
                   path);
        return {};
    }
    const Buffer buffer = newBuffer();
    if (!buffer) {
        QVLog::appendLogAndPrint("Error reading file %@ - out of memory", path);
        return {};
    }
    Digest digest(kind);
    std::atomic<bool> stop = false;
    BackgroundQueue calls;
    std::uint64_t sinceAsked = 0;
    while (const std::size_t size = std::fread(buffer.get(), 1, chunkBytes, file.get())) {
        if (stop) return {};
        digest.update({buffer.get(), size});
        sinceAsked += size;
        if (delegate && sinceAsked >= askEvery) {
            sinceAsked = 0;
            calls.add([&] {
                if (!delegate->checksumShouldContinue(path)) stop = true;
            });
        }
    }
    if (std::ferror(file.get())) {
        QVLog::appendLogAndPrint("Error reading file %@ - aborting...", path);
        return {};
    }
    return digest.finish();
}

/// One copy of a source to its destinations.
class VerifiedCopy {
public:
    VerifiedCopy(const std::string& source, const std::vector<std::string>& destinations,
                 int verificationType, FileManagerDelegate* delegate, FileCopySettings settings)
        : source_(source),
          paths_(destinations),
          verify_(verificationType >= 1 && verificationType <= 4),
          kind_(static_cast<Digest::Kind>(verify_ ? verificationType : 1)),
          delegate_(delegate),
          settings_(std::move(settings)),
          sourceDigest_(kind_) {}

    bool run() {
        if (!open() || !copyChunks()) return false;
        const bool whole = closeFiles() && copied_ >= size_;
        if (delegate_) {
            calls_.finish();
            if (stop_) return false;
        }
        if (!whole) {
            consoleLog("Error: copied file size does not match original source %@", source_);
            // Whoever follows the copy learns which of several places has not got all of it.
            if (verify_) compareChecksums();
            return false;
        }
        if (delegate_) delegate_->fileCopyBytesWritten(copied_, settings_);
        if (verify_) compareChecksums();
        copyMetadata();
        if (delegate_) delegate_->fileCopyFinished(settings_);
        return true;
    }

private:
    struct Destination {
        std::string path;
        File file;
        Digest digest;
    };

    bool open() {
        file_ = openFile(source_, "rbe");
        if (!file_) {
            consoleLog("Error: Unable to read source file %@. Aborting copy process...", source_);
            return false;
        }
        size_ = QVFileManager::fileSize(source_).value_or(0);
        for (const std::string& path : paths_) {
            File file = openFile(path, "w+e");
            if (!file) {
                consoleLog("Error: Unable to open destination file %@. Aborting copy process...",
                           path);
                return false;
            }
            // What is read back must come from the file, not from a buffer of ours.
            (void)std::setvbuf(file.get(), nullptr, _IONBF, 0);
            destinations_.push_back({path, std::move(file), Digest(kind_)});
        }
        buffer_ = newBuffer();
        readBack_ = newBuffer();
        if (buffer_ && readBack_) return true;
        QVLog::appendLogAndPrint("Error copying file %@ - out of memory", source_);
        return false;
    }

    bool copyChunks() {
        while (!stop_) {
            const std::size_t size = std::fread(buffer_.get(), 1, chunkBytes, file_.get());
            if (std::ferror(file_.get())) {
                QVLog::appendLogAndPrint("Error reading file %@ - aborting...", source_);
                return false;
            }
            if (size == 0) return true;
            if (verify_) sourceDigest_.update({buffer_.get(), size});
            for (Destination& destination : destinations_) {
                if (std::fwrite(buffer_.get(), 1, size, destination.file.get()) < size)
                    QVLog::appendLog("Error writing file %@: %i", destination.path,
                                     std::ferror(destination.file.get()));
                if (verify_) readChunkBack(destination, size);
            }
            copied_ += size;
            reportProgress(size);
        }
        return false;
    }

    void readChunkBack(Destination& destination, std::size_t size) {
        std::FILE* const file = destination.file.get();
        if (::fseeko(file, static_cast<off_t>(copied_), SEEK_SET) != 0) {
            const int error = errno;
            consoleLog("Error: unable to seek within file %@", destination.path);
            consoleLog("cur pos: %llu", copied_);
            consoleLog("read size: %zu", size);
            consoleLog("errno: %i", error);
            consoleLog("err: %i", std::ferror(file));
            return;
        }
        const std::size_t read = std::fread(readBack_.get(), 1, size, file);
        destination.digest.update({readBack_.get(), read});
        // A stream that was read wants to be positioned before it is written again.
        (void)::fseeko(file, static_cast<off_t>(copied_ + size), SEEK_SET);
    }

    void reportProgress(std::size_t size) {
        constexpr std::uint64_t leastInterval = 20'971'520;
        unreported_ += size;
        if (!delegate_ || unreported_ < std::max(size_ / 500, leastInterval)) return;
        unreported_ = 0;
        calls_.add([this, copied = copied_] {
            delegate_->fileCopyBytesWritten(copied, settings_);
            if (!delegate_->fileCopyShouldContinue(settings_)) stop_ = true;
        });
    }

    /// False when a place could not take everything.
    bool closeFiles() {
        file_.reset();
        bool good = true;
        for (Destination& destination : destinations_) {
            // Some volumes notice only now that there is no room.
            good &= std::ferror(destination.file.get()) == 0;
            good &= std::fclose(destination.file.release()) == 0;
        }
        return good;
    }

    void compareChecksums() {
        const std::string expected = sourceDigest_.finish();
        settings_.values.try_emplace("sourceChecksum", expected);
        PropertyList::Array checksums;
        for (Destination& destination : destinations_) {
            const std::string found = destination.digest.finish();
            checksums.emplace_back(found);
            if (found == expected || !delegate_) continue;
            settings_.values.erase("destChecksum");
            settings_.values.try_emplace("destChecksum", found);
            delegate_->fileCopyVerificationFailed(settings_, destination.path);
        }
        settings_.values.try_emplace("destChecksums", std::move(checksums));
    }

    void copyMetadata() const {
        const auto changed = filesystem::modificationDate(source_);
        const auto info = readFinderInfo(source_);
        for (const Destination& destination : destinations_) {
            std::error_code error;
            if (changed) error = filesystem::setModificationDate(destination.path, *changed);
            if (!error && info && !writeFinderInfo(destination.path, *info))
                error = {errno, std::generic_category()};
            if (error)
                QVLog::appendLog("Error setting metadata for file %@ - %@", destination.path,
                                 error.message());
        }
    }

    const std::string source_;
    const std::vector<std::string> paths_;
    const bool verify_;
    const Digest::Kind kind_;
    FileManagerDelegate* const delegate_;
    FileCopySettings settings_;
    Digest sourceDigest_;
    File file_{nullptr, &std::fclose};
    std::vector<Destination> destinations_;
    Buffer buffer_;
    Buffer readBack_;
    std::uint64_t size_ = 0;
    std::uint64_t copied_ = 0;
    std::uint64_t unreported_ = 0;
    std::atomic<bool> stop_ = false;
    BackgroundQueue calls_;  ///< last: its calls use the rest
};

}  // namespace

QVFileManager::Checksum QVFileManager::md5HashForFile(const Path& path,
                                                      FileManagerDelegate* delegate) {
    return hashForFile(path, Digest::Kind::md5, delegate);
}
QVFileManager::Checksum QVFileManager::sha1HashForFile(const Path& path,
                                                       FileManagerDelegate* delegate) {
    return hashForFile(path, Digest::Kind::sha1, delegate);
}
QVFileManager::Checksum QVFileManager::sha512HashForFile(const Path& path,
                                                         FileManagerDelegate* delegate) {
    return hashForFile(path, Digest::Kind::sha512, delegate);
}

bool QVFileManager::copyFileWithProgress(const Path& source, const Paths& destinations,
                                         int verificationType, FileManagerDelegate* delegate,
                                         const std::any& object, const std::any& object2) {
    if (!fileExistsAtPath(source)) {
        consoleLog("Error: File %@ doesn't exist. Aborting copy process...", source);
        return false;
    }
    if (destinations.empty()) {
        consoleLog("Error: You must have at least one destination. Aborting copy process...");
        return false;
    }
    FileCopySettings settings{{}, object, object2};
    settings.values.try_emplace("source", source);
    settings.values.try_emplace("operationtype", "copy");
    PropertyList::Array paths;
    for (const Path& destination : destinations) {
        std::error_code same;
        // Opening it for writing would empty the source.
        if (std::filesystem::equivalent(source, destination, same)) {
            consoleLog("Error: Unable to open destination file %@. Aborting copy process...",
                       destination);
            return false;
        }
        const Path folder = std::filesystem::path(destination).parent_path().string();
        if (!folder.empty() && !fileExistsAtPath(folder) && !createDirectory(folder, 10.0)) {
            consoleLog(
                "Unable to copy file %@ - destination directory %@ doesn't exist. Aborting copy "
                "process...",
                source, folder);
            return false;
        }
        paths.emplace_back(destination);
    }
    settings.values.try_emplace("destinations", std::move(paths));
    return VerifiedCopy(source, destinations, verificationType, delegate, std::move(settings))
        .run();
}

bool QVFileManager::copyFileWithProgress(const Path& source, const Path& destination,
                                         FileManagerDelegate* delegate, const std::any& object,
                                         const std::any& object2) {
    return copyFileWithProgress(source, Paths{destination}, 0, delegate, object, object2);
}

}  // namespace reelsweep
