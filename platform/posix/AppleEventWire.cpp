#include "platform/posix/AppleEventWire.h"

#include "base/UniqueDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep {

namespace {

constexpr const char* listSignature = "a(ssv)";
constexpr int wantedSeals = F_SEAL_SHRINK | F_SEAL_WRITE;
// What an item of a list costs at least, so that millions of empty ones meet the limit too.
constexpr std::size_t itemBytes = 64;

// A file in memory that nobody can change any more; none when it cannot be made.
UniqueDescriptor memoryFile(std::string_view bytes) {
    UniqueDescriptor file(::memfd_create("apple-event-data", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!file) return file;
    while (!bytes.empty()) {
        const ssize_t size = ::write(file.get(), bytes.data(), bytes.size());
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0) return UniqueDescriptor();
        bytes.remove_prefix(static_cast<std::size_t>(size));
    }
    if (::fcntl(file.get(), F_ADD_SEALS, wantedSeals | F_SEAL_GROW | F_SEAL_SEAL) < 0) file.reset();
    return file;
}

int appendContent(sd_bus_message* message, const AppleEventDescriptor& descriptor) {
    if (descriptor.isContainer()) {
        if (const int r = sd_bus_message_open_container(message, 'v', listSignature); r < 0)
            return r;
        if (const int r = appendParameters(message, descriptor.items); r < 0) return r;
    } else if (descriptor.data.size() < inlineDataBytes) {
        if (const int r = sd_bus_message_open_container(message, 'v', "ay"); r < 0) return r;
        if (const int r = sd_bus_message_append_array(message, 'y', descriptor.data.data(),
                                                      descriptor.data.size());
            r < 0)
            return r;
    } else {
        const UniqueDescriptor file = memoryFile(descriptor.data);
        if (!file) return -ENOSPC;
        if (const int r = sd_bus_message_open_container(message, 'v', "h"); r < 0) return r;
        const int descriptorNumber = file.get();  // the message keeps a duplicate
        if (const int r = sd_bus_message_append_basic(message, 'h', &descriptorNumber); r < 0)
            return r;
    }
    return sd_bus_message_close_container(message);
}

// Reads descriptors and stops at the first that breaks a rule.
class Reader {
public:
    Reader(sd_bus_message* message, std::size_t maximumBytes)
        : message_(message), left_(maximumBytes) {}

    bool read(AppleEventParameters& parameters, int depth) {
        if (depth > maximumDescriptorDepth) return fail("nests too deeply");
        if (sd_bus_message_enter_container(message_, 'a', "(ssv)") < 0) return malformed();
        for (;;) {
            const int more = sd_bus_message_enter_container(message_, 'r', "ssv");
            if (more == 0) break;
            if (more < 0 || !take(itemBytes)) return malformed();
            if (!readDescriptor(parameters.emplace_back(), depth)) return false;
            if (sd_bus_message_exit_container(message_) < 0) return malformed();
        }
        return sd_bus_message_exit_container(message_) >= 0 || malformed();
    }

    const std::string& problem() const { return problem_; }

private:
    bool readDescriptor(AppleEventDescriptor& descriptor, int depth) {
        const char* keyword = nullptr;
        const char* type = nullptr;
        if (sd_bus_message_read(message_, "ss", &keyword, &type) < 0) return malformed();
        descriptor.keyword = keyword;
        descriptor.type = type;
        if (!isFourCharCode(type) || (*keyword && !isFourCharCode(keyword)))
            return fail("holds a code that has not four characters");
        char kind = 0;
        const char* contents = nullptr;
        if (sd_bus_message_peek_type(message_, &kind, &contents) <= 0 || kind != 'v')
            return malformed();
        // The signature belongs to the message's reading place, which moves.
        const std::string signature = contents;
        if (sd_bus_message_enter_container(message_, 'v', signature.c_str()) < 0)
            return malformed();
        const bool nested = signature == listSignature;
        if (nested != descriptor.isContainer())
            return fail("says " + descriptor.type + " of content of another kind");
        const bool done = nested              ? read(descriptor.items, depth + 1)
                          : signature == "ay" ? readBytes(descriptor.data)
                          : signature == "h"  ? readFile(descriptor.data)
                                              : fail("holds content of the type " + signature);
        return done && (sd_bus_message_exit_container(message_) >= 0 || malformed());
    }

    bool readBytes(std::string& data) {
        const void* bytes = nullptr;
        std::size_t size = 0;
        if (sd_bus_message_read_array(message_, 'y', &bytes, &size) < 0) return malformed();
        if (!take(size)) return false;
        if (size > 0) data.assign(static_cast<const char*>(bytes), size);
        return true;
    }

    // Sealed, or the other side could keep us waiting or change what we have looked at.
    bool readFile(std::string& data) {
        int file = -1;  // belongs to the message
        if (sd_bus_message_read_basic(message_, 'h', &file) < 0) return malformed();
        struct stat status {};
        const int seals = ::fcntl(file, F_GET_SEALS);
        if (seals < 0 || (seals & wantedSeals) != wantedSeals || ::fstat(file, &status) < 0)
            return fail("hands over a file that is not a sealed memory file");
        const auto size = static_cast<std::size_t>(status.st_size);
        if (!take(size)) return false;
        data.resize(size);
        std::size_t at = 0;
        while (at < size) {
            const ssize_t got = ::pread(file, data.data() + at, size - at, static_cast<off_t>(at));
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) return fail("hands over a memory file that cannot be read");
            at += static_cast<std::size_t>(got);
        }
        return true;
    }

    bool take(std::size_t bytes) {
        if (bytes > left_) return fail("is larger than the limit");
        left_ -= bytes;
        return true;
    }
    bool malformed() { return problem_.empty() ? fail("does not have the form a(ssv)") : false; }
    bool fail(std::string problem) {
        problem_ = std::move(problem);
        return false;
    }

    sd_bus_message* message_;
    std::size_t left_;
    std::string problem_;
};

}  // namespace

int appendParameters(sd_bus_message* message, const AppleEventParameters& parameters) {
    if (const int r = sd_bus_message_open_container(message, 'a', "(ssv)"); r < 0) return r;
    for (const AppleEventDescriptor& descriptor : parameters) {
        int r = sd_bus_message_open_container(message, 'r', "ssv");
        if (r >= 0)
            r = sd_bus_message_append(message, "ss", descriptor.keyword.c_str(),
                                      descriptor.type.c_str());
        if (r >= 0) r = appendContent(message, descriptor);
        if (r >= 0) r = sd_bus_message_close_container(message);
        if (r < 0) return r;
    }
    return sd_bus_message_close_container(message);
}

std::string readParameters(sd_bus_message* message, std::size_t maximumBytes,
                           AppleEventParameters& parameters) {
    Reader reader(message, maximumBytes);
    return reader.read(parameters, 1) ? std::string() : reader.problem();
}

bool isFourCharCode(std::string_view code) {
    return code.size() == 4 &&
           std::all_of(code.begin(), code.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

}  // namespace reelsweep
