// Replies of a host on the session bus. The input is a row of steps that put a message together, so
// that it can break every rule that a message of the bus can break; then the bridge reads it.

#include "fuzz/Quiet.h"
#include "hosts/QVAppleEvents.h"
#include "platform/Platform.h"
#include "platform/posix/AppleEventWire.h"
#include "platform/posix/QueueMainThread.h"
#include "platform/posix/SessionBus.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>

using namespace reelsweep;

namespace {

constexpr std::size_t mostBytes = 4096;

// The steps of an input, one after the other.
class Steps {
public:
    Steps(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    bool done() const { return left_ == 0; }
    std::uint8_t next() {
        if (done()) return 0;
        --left_;
        return *data_++;
    }
    std::string bytes(std::size_t count) {
        count = std::min(count, left_);
        std::string taken(reinterpret_cast<const char*>(data_), count);
        data_ += count;
        left_ -= count;
        return taken;
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

// A bus that never answers: messages can be made for it, and none goes out.
sd_bus* silentBus() {
    static sd_bus* const bus = [] {
        std::array<int, 2> ends{};
        require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()) == 0);
        sd_bus* made = nullptr;
        require(sd_bus_new(&made) >= 0 && sd_bus_set_fd(made, ends[0], ends[0]) >= 0 &&
                sd_bus_start(made) >= 0);
        return made;
    }();
    return bus;
}

void appendFile(sd_bus_message* message, const std::string& contents, bool sealed) {
    const int file = ::memfd_create("data", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    require(file >= 0);
    require(::write(file, contents.data(), contents.size()) >= 0);
    if (sealed) ::fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_WRITE | F_SEAL_GROW);
    sd_bus_message_append_basic(message, 'h', &file);
    ::close(file);
}

std::string word(Steps& steps, std::initializer_list<const char*> words) {
    const std::size_t index = steps.next();
    if (index < words.size()) return words.begin()[index];
    return steps.bytes(index % 8);
}

void appendContent(sd_bus_message* message, Steps& steps, int depth);

void appendList(sd_bus_message* message, Steps& steps, int depth) {
    if (sd_bus_message_open_container(message, 'a', "(ssv)") < 0) return;
    for (int items = steps.next() % 8; items > 0 && !steps.done(); --items) {
        sd_bus_message_open_container(message, 'r', "ssv");
        const std::string keyword = word(steps, {"", "xmlD", "fcOP", "fcPf", "fcpP"});
        const std::string type = word(steps, {"utf8", "list", "reco", "fsrf", "long"});
        if (sd_bus_message_append(message, "ss", keyword.c_str(), type.c_str()) < 0)
            sd_bus_message_append(message, "ss", "", "utf8");  // it was no text
        appendContent(message, steps, depth);
        sd_bus_message_close_container(message);
    }
    sd_bus_message_close_container(message);
}

void appendContent(sd_bus_message* message, Steps& steps, int depth) {
    static constexpr std::array kinds = {"ay", "a(ssv)", "h", "h", "s", "u", "as"};
    const std::size_t kind = steps.next() % kinds.size();
    if (sd_bus_message_open_container(message, 'v', kinds[kind]) < 0) return;
    const std::string bytes = kind == 1 ? "" : steps.bytes(steps.next());
    const auto number = static_cast<std::uint32_t>(bytes.size());
    if (kind == 0) sd_bus_message_append_array(message, 'y', bytes.data(), bytes.size());
    if (kind == 1 && depth < 20) appendList(message, steps, depth + 1);
    if (kind == 1 && depth >= 20) sd_bus_message_append(message, "a(ssv)", 0);
    if (kind == 2 || kind == 3) appendFile(message, bytes, kind == 2);
    if (kind == 4) sd_bus_message_append_basic(message, 's', "text");
    if (kind == 5) sd_bus_message_append_basic(message, 'u', &number);
    if (kind == 6) sd_bus_message_append(message, "as", 1, "text");
    sd_bus_message_close_container(message);
}

std::size_t bytesIn(const AppleEventParameters& parameters, int depth) {
    require(depth <= maximumDescriptorDepth);
    std::size_t bytes = 0;
    for (const AppleEventDescriptor& descriptor : parameters) {
        require(isFourCharCode(descriptor.type));
        require(descriptor.isContainer() ? descriptor.data.empty() : descriptor.items.empty());
        bytes += descriptor.data.size();
        if (descriptor.isContainer()) bytes += bytesIn(descriptor.items, depth + 1);
    }
    return bytes;
}

class Answering final : public AppleEventTransport {
public:
    AppleEventReply send(const AppleEvent&) override { return reply; }
    bool isAvailable() const override { return true; }
    std::size_t maximumBytes() const override { return mostBytes; }
    AppleEventReply reply;
};

// Final Cut Pro runs, and nothing else happens.
class Desktop final : public Workspace {
public:
    std::vector<std::string> runningApplicationIdentifiers() const override {
        return {QVAppleEvents::finalCutProIdentifier};
    }
    std::optional<std::string> applicationPath(std::string_view) const override { return {}; }
    std::optional<std::string> runningExecutable(std::string_view) const override { return {}; }
    bool openURL(const std::string&) override { return true; }
    bool openFile(const std::string&) override { return true; }
    bool openFile(const std::string&, const std::string&) override { return true; }
    bool openFileWithIdentifier(const std::string&, std::string_view, LaunchOption) override {
        return true;
    }
    bool openApplication(const std::string&) override { return true; }
    bool isFilePackage(const std::string&) const override { return false; }
    std::error_code recycle(const std::string&) override { return {}; }
};

class Silence final : public Console {
public:
    void print(std::string_view) override {}
    void log(std::string_view) override {}
};

Answering& installHost() {
    static Answering* const host = [] {
        auto made = std::make_unique<Answering>();
        Answering* const answering = made.get();
        Platform::current().appleEvents = std::move(made);
        Platform::current().workspace = std::make_unique<Desktop>();
        Platform::current().console = std::make_unique<Silence>();
        // Somebody else's, so that replies are read here and not on a thread for each.
        std::thread([] {
            Platform::current().mainThread = std::make_unique<QueueMainThread>();
        }).join();
        return answering;
    }();
    return *host;
}

void readAsTheBridgeDoes() {
    const std::string project = temporaryPath("film.fcp");
    if (const auto paths = QVAppleEvents::listOfOpenFCPProjects())
        for (const std::string& path : *paths)
            require(path.starts_with('/') && path.find('\0') == std::string::npos);
    QVAppleEvents::getProjectXML(project, true, true);
    if (const auto listing = QVAppleEvents::sequencesInProject(project, true))
        for (const XMLNode& sequence : listing->sequences) require(bool(sequence.child("name")));
    QVAppleEvents::saveProject(project);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    installQuietPlatform();
    Answering& host = installHost();
    Steps steps(data, size);
    const auto error = static_cast<std::int8_t>(steps.next());
    sd_bus_message* made = nullptr;
    require(sd_bus_message_new_method_call(silentBus(), &made, nullptr, "/", "a.b", "C") >= 0);
    const BusMessage message(made);
    appendList(made, steps, 0);
    if (sd_bus_message_seal(made, 1, 0) < 0 || sd_bus_message_rewind(made, 1) < 0) return 0;
    host.reply = {};
    host.reply.error = error;
    const std::string problem = readParameters(made, mostBytes, host.reply.parameters);
    if (!problem.empty()) return 0;
    require(bytesIn(host.reply.parameters, 1) <= mostBytes);
    readAsTheBridgeDoes();
    return 0;
}
