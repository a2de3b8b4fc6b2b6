// Whole-file writing that never leaves half a file: write a sibling, sync it, rename it into place.
//
// Owner: the caller. Thread rule: each AtomicFile belongs to one thread at a time.
#pragma once

#include "base/Failure.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace reelsweep {

/// Something that takes bytes in order.
class ByteSink {
public:
    virtual ~ByteSink() = default;
    /// Takes all the bytes. False when they could not be taken; the caller may then stop.
    virtual bool write(std::string_view bytes) = 0;
};

/// What a file was at a moment: enough to notice that somebody wrote it since.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t bytes = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;

    bool known() const { return inode != 0; }
    bool operator==(const FileIdentity&) const = default;
    /// The file's identity now; not known() when there is none.
    static FileIdentity ofFile(const std::string& path);
    static FileIdentity ofDescriptor(int descriptor);
};

enum class Overwrite {
    never,   ///< an existing file is an error, also one that appears while we write
    always,  ///< replaced
};

/// A file that appears at its path only when it is whole.
///
/// The permissions and extended attributes of a replaced file are kept (its owner too, where the
/// process may set it); a symbolic link is followed, so that the link stays. Without commit() the
/// path is left untouched. The sibling of a save that was killed goes with the next save there.
class AtomicFile final : public ByteSink {
public:
    /// Nothing is touched yet.
    AtomicFile(std::string path, Overwrite overwrite);
    ~AtomicFile() override;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Creates the sibling file. Fails with outputFailed: the folder does not exist or cannot be
    /// written, the path is a folder or a device, or a file is there and must not be replaced.
    Outcome open();
    /// Refuse to commit when the file at the path is not this one any more.
    void expectUnchanged(const FileIdentity& identity) { expected_ = identity; }
    /// Refuse to commit also when the file at `path`, which this one is made from, is not that one
    /// any more.
    void expectSourceUnchanged(std::string path, const FileIdentity& identity);
    bool write(std::string_view bytes) override;
    /// Writes `bytes` bytes of another open file, from `offset` on; that one's file offset stays.
    /// The system copies them without showing them to the program, where it can. False when not all
    /// of them could be read and written.
    bool copyFrom(int source, std::uint64_t offset, std::uint64_t bytes);
    /// The sibling file while it is open, for setting attributes on it; else -1.
    int descriptor() const { return descriptor_; }
    /// Syncs and renames. Fails with outputFailed; the path is then as it was.
    Outcome commit();

private:
    Failure failure(const std::string& what, int error) const;
    Failure changed(const std::string& path) const;
    bool sourceChanged() const;
    void discard();

    std::string path_;       ///< as the caller named it, for messages
    std::string target_;     ///< with symbolic links resolved
    std::string temporary_;  ///< the sibling, while it exists
    FileIdentity expected_;
    std::string sourcePath_;
    FileIdentity expectedSource_;
    Overwrite overwrite_;
    int descriptor_ = -1;
    int error_ = 0;  ///< of the first write that failed
};

}  // namespace reelsweep
