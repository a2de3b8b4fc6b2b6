#include "xml/SplicedSave.h"

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <utility>

namespace reelsweep {

namespace {

std::optional<std::string> bytesOf(int descriptor, std::uint64_t begin, std::uint64_t end) {
    std::string bytes(static_cast<std::size_t>(end - begin), '\0');
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t got = pread(descriptor, bytes.data() + done, bytes.size() - done,
                                  static_cast<off_t>(begin + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return {};
        done += static_cast<std::size_t>(got);
    }
    return bytes;
}

}  // namespace

SplicedSave::SplicedSave(std::string path, const FileIdentity& identity, UniqueDescriptor input,
                         SplicePlace place)
    : path_(std::move(path)),
      identity_(identity),
      input_(std::move(input)),
      place_(std::move(place)) {}

std::optional<SplicedSave> SplicedSave::ofFile(const std::string& path, const XMLOutline& outline,
                                               const ParentBytes& parent) {
    // Looked at twice: opening what took the file's place may wait forever.
    if (!outline.file.known() || FileIdentity::ofFile(path) != outline.file) return {};
    UniqueDescriptor input(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (FileIdentity::ofDescriptor(input.get()) != outline.file) return {};
    std::optional<SplicePlace> place = SplicePlace::afterLastChild(
        parent,
        [&](std::uint64_t begin, std::uint64_t end) { return bytesOf(input.get(), begin, end); });
    if (!place) return {};
    return SplicedSave(path, outline.file, std::move(input), std::move(*place));
}

void SplicedSave::writeHead(AtomicFile& output) const {
    output.expectSourceUnchanged(path_, identity_);
    output.copyFrom(input_.get(), 0, place_.offset);
}

void SplicedSave::writeChild(const XMLNode& child, ByteSink& sink) const {
    writeChild([&](const XMLLayout& layout, ByteSink& to) { serialise(child, layout, to); }, sink);
}

void SplicedSave::writeChild(const std::function<void(const XMLLayout&, ByteSink&)>& produce,
                             ByteSink& sink) const {
    sink.write(place_.before);
    produce(place_.layout, sink);
    sink.write(place_.after);
}

void SplicedSave::writeTail(AtomicFile& output) const {
    output.copyFrom(input_.get(), place_.offset, identity_.bytes - place_.offset);
}

}  // namespace reelsweep
