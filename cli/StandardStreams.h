// Standard input and output as files: bytes in, bytes out, and every error told.
//
// Thread rule: each object belongs to one thread at a time.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace reelsweep {

/// A path of "-" on the command line means standard input or output.
inline constexpr std::string_view standardStreamPath = "-";

/// How wide the terminal is that standard output goes to; nothing when it goes elsewhere.
std::optional<std::size_t> standardOutputColumns();

/// Standard output. What it took is gone: there is no way back after the first byte.
class StandardOutput final : public ByteSink {
public:
    bool write(std::string_view bytes) override;
    /// Fails with outputFailed when a write failed since this object was made.
    Outcome finish() const;

private:
    int error_ = 0;
};

/// A nameless file in the temporary folder, gone with the process whatever ends it.
class SpoolFile final : public ByteSink {
public:
    /// Fails with outputFailed when the temporary folder cannot be written.
    static Result<SpoolFile> create();
    SpoolFile(SpoolFile&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)), error_(other.error_) {}
    SpoolFile& operator=(SpoolFile&&) = delete;
    ~SpoolFile() override;

    bool write(std::string_view bytes) override;
    /// Takes in all that standard input, or a pipe at a path, has. Fails with inputUnreadable or
    /// outputFailed.
    Outcome appendStandardInput();
    Outcome appendPipe(const std::string& path);
    /// Hands everything to a sink, until that refuses; the sink knows its own error. Fails with
    /// outputFailed when the spooled bytes are not whole.
    Outcome copyTo(ByteSink& sink) const;
    /// The same for `size` bytes from `start`.
    Outcome copyTo(ByteSink& sink, std::uint64_t start, std::uint64_t size) const;
    /// How many bytes it holds, whoever of those that share the file wrote them.
    std::uint64_t size() const;
    int descriptor() const { return descriptor_; }
    /// Of the first write that failed; 0 for none.
    int error() const { return error_; }
    /// A path under which this process can open the file for reading.
    std::string path() const;

private:
    explicit SpoolFile(int descriptor) : descriptor_(descriptor) {}
    Failure failure(int error) const;
    Outcome append(int descriptor, const std::string& name);

    int descriptor_;
    int error_ = 0;
};

}  // namespace reelsweep
