#include "cli/StandardStreams.h"

#include "base/UniqueDescriptor.h"
#include "platform/Platform.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace reelsweep {

namespace {

// Writes all bytes; answers the error, or 0.
int writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

}  // namespace

std::optional<std::size_t> standardOutputColumns() {
    winsize size{};
    if (::isatty(STDOUT_FILENO) != 1 || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 ||
        size.ws_col == 0)
        return {};
    return size.ws_col;
}

bool StandardOutput::write(std::string_view bytes) {
    if (error_ == 0) error_ = writeAll(STDOUT_FILENO, bytes);
    return error_ == 0;
}

Outcome StandardOutput::finish() const {
    if (error_ == 0) return Done{};
    return Failure{FailureCode::outputFailed,
                   std::string("could not be written: ") + std::strerror(error_),
                   "standard output",
                   0,
                   0,
                   ""};
}

Result<SpoolFile> SpoolFile::create() {
    std::string name = Platform::current().folders->temporaryDirectory() + "/reelsweep-XXXXXX";
    const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0)
        return Failure{FailureCode::outputFailed,
                       std::string("could not be created: ") + std::strerror(errno),
                       name,
                       0,
                       0,
                       ""};
    ::unlink(name.c_str());
    return SpoolFile(descriptor);
}

SpoolFile::~SpoolFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

bool SpoolFile::write(std::string_view bytes) {
    if (error_ == 0) error_ = writeAll(descriptor_, bytes);
    return error_ == 0;
}

Failure SpoolFile::failure(int error) const {
    return {FailureCode::outputFailed, std::strerror(error), "temporary file", 0, 0, ""};
}

Outcome SpoolFile::appendStandardInput() { return append(STDIN_FILENO, "standard input"); }

Outcome SpoolFile::appendPipe(const std::string& path) {
    const UniqueDescriptor pipe(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return append(pipe.get(), path);
}

Outcome SpoolFile::append(int descriptor, const std::string& name) {
    std::array<char, 1 << 16> buffer;
    for (;;) {
        const ssize_t size = ::read(descriptor, buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR) continue;
        if (size < 0)
            return Failure{FailureCode::inputUnreadable,
                           std::string("could not be read: ") + std::strerror(errno),
                           name,
                           0,
                           0,
                           ""};
        if (size == 0) return Done{};
        if (!write({buffer.data(), static_cast<std::size_t>(size)})) return failure(error_);
    }
}

Outcome SpoolFile::copyTo(ByteSink& sink) const { return copyTo(sink, 0, size()); }

Outcome SpoolFile::copyTo(ByteSink& sink, std::uint64_t start, std::uint64_t size) const {
    if (error_ != 0) return failure(error_);
    std::array<char, 1 << 16> buffer;
    for (const std::uint64_t end = start + size; start < end;) {
        const std::size_t piece = std::min<std::uint64_t>(buffer.size(), end - start);
        const ssize_t read = ::pread(descriptor_, buffer.data(), piece, static_cast<off_t>(start));
        if (read < 0 && errno == EINTR) continue;
        if (read < 0) return failure(errno);
        if (read == 0) return failure(EIO);
        if (!sink.write({buffer.data(), static_cast<std::size_t>(read)})) return Done{};
        start += static_cast<std::uint64_t>(read);
    }
    return Done{};
}

std::uint64_t SpoolFile::size() const {
    struct stat status {};
    return ::fstat(descriptor_, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

std::string SpoolFile::path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

}  // namespace reelsweep
