#include "base/AtomicFile.h"

#include "base/ExtendedAttributes.h"
#include "base/Rename.h"
#include "base/StaleSiblings.h"
#include "base/UniqueDescriptor.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace reelsweep {

namespace {

FileIdentity identityOf(const struct stat& status) {
    FileIdentity identity;
    identity.device = static_cast<std::uint64_t>(status.st_dev);
    identity.inode = static_cast<std::uint64_t>(status.st_ino);
    identity.bytes = static_cast<std::uint64_t>(status.st_size);
    identity.modifiedSeconds = status.st_mtim.tv_sec;
    identity.modifiedNanoseconds = status.st_mtim.tv_nsec;
    return identity;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Follows symbolic links at the path itself, so that a link keeps pointing at the new file.
std::string resolved(const std::string& path) {
    char buffer[PATH_MAX];
    if (realpath(path.c_str(), buffer)) return buffer;
    return path;
}

// A rename within a folder is only on disk when the folder is.
void syncFolder(const std::string& folder) {
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

// The hidden names beside the target, between which process and attempt stand.
std::string siblingStart(const std::string& target) {
    const std::size_t slash = target.rfind('/');
    // A long name must leave room for what is added to it.
    const std::string name = target.substr(slash == std::string::npos ? 0 : slash + 1, 200);
    return "." + name + ".";
}
constexpr const char* siblingEnd = ".tmp";

// A name that no other process and no earlier attempt uses.
std::string siblingName(const std::string& target, unsigned attempt) {
    return folderOf(target) + "/" + siblingStart(target) + std::to_string(getpid()) + "-" +
           std::to_string(attempt) + siblingEnd;
}

std::error_code renameReplacing(const std::string& from, const std::string& to) {
    if (std::rename(from.c_str(), to.c_str()) == 0) return {};
    return {errno, std::generic_category()};
}

constexpr const char* existsAlready = "there is a file already";

// Ways to copy up to `bytes` bytes from a place in one file to the current place in another. Each
// moves the offset, and answers how many bytes went over: 0 at the end, -1 with errno on errors.
using CopyStep = ssize_t (*)(int from, off_t& offset, int to, std::size_t bytes);

ssize_t copyRange(int from, off_t& offset, int to, std::size_t bytes) {
    return copy_file_range(from, &offset, to, nullptr, bytes, 0);
}

ssize_t sendBytes(int from, off_t& offset, int to, std::size_t bytes) {
    return sendfile(to, from, &offset, bytes);
}

ssize_t readAndWrite(int from, off_t& offset, int to, std::size_t bytes) {
    std::array<char, std::size_t{64} * 1024> piece;
    const ssize_t got = pread(from, piece.data(), std::min(bytes, piece.size()), offset);
    if (got <= 0) return got;
    const ssize_t put = ::write(to, piece.data(), static_cast<std::size_t>(got));
    if (put > 0) offset += put;
    return put;
}

}  // namespace

FileIdentity FileIdentity::ofFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? identityOf(status) : FileIdentity();
}

FileIdentity FileIdentity::ofDescriptor(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 ? identityOf(status) : FileIdentity();
}

AtomicFile::AtomicFile(std::string path, Overwrite overwrite)
    : path_(std::move(path)), target_(resolved(path_)), overwrite_(overwrite) {}

AtomicFile::~AtomicFile() { discard(); }

Failure AtomicFile::failure(const std::string& what, int error) const {
    std::string message = what;
    if (error != 0) message += std::string(": ") + std::strerror(error);
    return {FailureCode::outputFailed, message, path_, 0, 0, ""};
}

void AtomicFile::discard() {
    if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
    if (!temporary_.empty()) unlink(std::exchange(temporary_, {}).c_str());
}

Outcome AtomicFile::open() {
    struct stat existing {};
    const bool exists = stat(target_.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode))
        return failure(
            S_ISDIR(existing.st_mode) ? "is a folder, not a file" : "is not a regular file", 0);
    if (exists && overwrite_ == Overwrite::never) return failure(existsAlready, 0);

    removeStaleSiblings(folderOf(target_), siblingStart(target_), siblingEnd);
    // Made with the usual creation mode, so a new file gets what the user's mask leaves.
    for (unsigned attempt = 0; attempt < 100 && descriptor_ < 0; ++attempt) {
        temporary_ = siblingName(target_, attempt);
        descriptor_ = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor_ < 0 && errno != EEXIST) break;
    }
    if (descriptor_ < 0) {
        const int error = errno;
        temporary_.clear();
        return failure("could not be created", error);
    }
    markInUse(descriptor_);
    if (exists) {
        // Only root may give files away; for others the new file is theirs.
        if (fchown(descriptor_, existing.st_uid, existing.st_gid) != 0 && errno != EPERM)
            return failure("could not be given its owner", errno);
        if (fchmod(descriptor_, existing.st_mode & 07777) != 0)
            return failure("could not be given its permissions", errno);
        // After the permissions, which would change an access list.
        const UniqueDescriptor old(::open(target_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (old)
            if (const std::error_code error = copyExtendedAttributes(old.get(), descriptor_))
                return failure("could not be given its extended attributes", error.value());
    }
    return Done{};
}

bool AtomicFile::write(std::string_view bytes) {
    while (error_ == 0 && !bytes.empty()) {
        const ssize_t put = ::write(descriptor_, bytes.data(), bytes.size());
        if (put < 0 && errno == EINTR) continue;
        if (put < 0)
            error_ = errno;
        else
            bytes.remove_prefix(static_cast<std::size_t>(put));
    }
    return error_ == 0;
}

bool AtomicFile::copyFrom(int source, std::uint64_t offset, std::uint64_t bytes) {
    off_t at = static_cast<off_t>(offset);
    const off_t end = at + static_cast<off_t>(bytes);
    // The first two work between some file systems only, and say so in many ways. What is wrong
    // with the files themselves comes out at the last.
    constexpr std::array<CopyStep, 3> steps{copyRange, sendBytes, readAndWrite};
    for (std::size_t step = 0; error_ == 0 && at < end;) {
        const ssize_t put =
            steps[step](source, at, descriptor_, static_cast<std::size_t>(end - at));
        if (put > 0 || (put < 0 && errno == EINTR)) continue;
        if (step + 1 < steps.size())
            ++step;
        else
            error_ = put < 0 ? errno : EIO;
    }
    return error_ == 0;
}

void AtomicFile::expectSourceUnchanged(std::string path, const FileIdentity& identity) {
    sourcePath_ = std::move(path);
    expectedSource_ = identity;
}

bool AtomicFile::sourceChanged() const {
    return expectedSource_.known() && FileIdentity::ofFile(sourcePath_) != expectedSource_;
}

Failure AtomicFile::changed(const std::string& path) const {
    Failure failure =
        this->failure("was changed by another program since it was read; nothing was written", 0);
    failure.file = path;
    return failure;
}

Outcome AtomicFile::commit() {
    // A source that was cut meanwhile is also one that could not be copied.
    if (error_ != 0 && sourceChanged()) return changed(sourcePath_);
    if (error_ != 0) return failure("could not be written", error_);
    if (fsync(descriptor_) != 0) return failure("could not be written", errno);
    if (close(std::exchange(descriptor_, -1)) != 0) return failure("could not be written", errno);
    if (expected_.known() && FileIdentity::ofFile(target_) != expected_) return changed(path_);
    if (sourceChanged()) return changed(sourcePath_);
    const std::error_code error = overwrite_ == Overwrite::never
                                      ? renameWithoutReplacing(temporary_, target_)
                                      : renameReplacing(temporary_, target_);
    if (error)
        return error == std::errc::file_exists
                   ? failure(existsAlready, 0)
                   : failure("could not be put in place", error.value());
    temporary_.clear();
    syncFolder(folderOf(target_));
    return Done{};
}

}  // namespace reelsweep
