#include "platform/posix/SessionBus.h"

#include "base/UniqueDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <limits>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace reelsweep {

namespace {

constexpr const char* daemonName = "org.freedesktop.DBus";
constexpr const char* daemonPath = "/org/freedesktop/DBus";

// An address that leads elsewhere, to another user's bus or over a network, is not our session.
bool belongsToThisUser(sd_bus* bus) {
    sd_bus_creds* credentials = nullptr;
    uid_t user = 0;
    const bool known = sd_bus_get_owner_creds(bus, SD_BUS_CREDS_EUID, &credentials) >= 0 &&
                       sd_bus_creds_get_euid(credentials, &user) >= 0;
    sd_bus_creds_unref(credentials);
    return known && user == ::geteuid();
}

using Clock = std::chrono::steady_clock;

// What a call that is waited for is answered, be it an error.
struct WaitedReply {
    BusMessage reply;

    static int take(sd_bus_message* message, void* self, sd_bus_error*) {
        static_cast<WaitedReply*>(self)->reply = BusMessage(sd_bus_message_ref(message));
        return 0;
    }
};

// The place of a call among those that have no reply yet; the call is forgotten with it.
class BusSlot {
public:
    BusSlot() = default;
    ~BusSlot() { sd_bus_slot_unref(slot_); }
    BusSlot(const BusSlot&) = delete;
    BusSlot& operator=(const BusSlot&) = delete;
    sd_bus_slot** out() { return &slot_; }

private:
    sd_bus_slot* slot_ = nullptr;
};

// Becomes readable when a stop is requested, from whatever thread.
class StopSignal {
public:
    explicit StopSignal(const std::stop_token& stop)
        : event_(stop.stop_possible() ? ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK) : -1),
          callback_(stop, [this] {
              const std::uint64_t one = 1;
              [[maybe_unused]] const ssize_t size = ::write(event_.get(), &one, sizeof one);
          }) {}
    int descriptor() const { return event_.get(); }

private:
    const UniqueDescriptor event_;
    const std::stop_callback<std::function<void()>> callback_;
};

// Answers when the bus has something to do, at a stop, or after the time; negative on errors.
int waitForActivity(sd_bus* bus, std::chrono::milliseconds limit, const StopSignal& stop) {
    const int bits = sd_bus_get_events(bus);
    if (bits < 0) return bits;
    std::array<pollfd, 2> waiting{
        {{sd_bus_get_fd(bus), static_cast<short>(bits), 0}, {stop.descriptor(), POLLIN, 0}}};
    constexpr std::chrono::milliseconds longest = std::chrono::hours(1);
    const int time = static_cast<int>(std::min(limit, longest).count());
    const int ready = ::poll(waiting.data(), waiting.size(), time);
    return ready < 0 && errno != EINTR ? -errno : 0;
}

}  // namespace

SessionBus::SessionBus() {
    if (sd_bus_open_user(&bus_) < 0) {
        bus_ = nullptr;
        return;
    }
    if (!belongsToThisUser(bus_)) bus_ = sd_bus_close_unref(bus_);
}

SessionBus::~SessionBus() { sd_bus_flush_close_unref(bus_); }

BusMessage SessionBus::methodCall(std::string_view destination, std::string_view path,
                                  const char* interface, const char* method) const {
    BusMessage message;
    if (!bus_ ||
        sd_bus_message_new_method_call(bus_, message.out(), std::string(destination).c_str(),
                                       std::string(path).c_str(), interface, method) < 0)
        return {};
    return message;
}

BusMessage SessionBus::call(const BusMessage& message, std::chrono::microseconds timeout,
                            BusError& error, const std::stop_token& stop) const {
    if (!bus_ || !message.get()) {
        sd_bus_error_set_const(error.out(), SD_BUS_ERROR_DISCONNECTED, "there is no session bus");
        return {};
    }
    const auto deadline = Clock::now() + timeout;
    WaitedReply waited;
    BusSlot slot;
    int result = sd_bus_call_async(bus_, slot.out(), message.get(), WaitedReply::take, &waited,
                                   std::numeric_limits<std::uint64_t>::max());
    const StopSignal stopSignal(stop);
    while (result >= 0 && !waited.reply.get()) {
        result = sd_bus_process(bus_, nullptr);
        if (result != 0) continue;
        if (stop.stop_requested()) {
            sd_bus_error_set_const(error.out(), givenUp, "the wait was given up");
            return {};
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        result = left.count() > 0 ? waitForActivity(bus_, left, stopSignal) : -ETIMEDOUT;
    }
    if (result < 0) sd_bus_error_set_errno(error.out(), result);
    if (!waited.reply.get()) return {};
    if (sd_bus_message_is_method_error(waited.reply.get(), nullptr) == 0)
        return std::move(waited.reply);
    sd_bus_error_copy(error.out(), sd_bus_message_get_error(waited.reply.get()));
    return {};
}

bool SessionBus::knows(std::string_view name) const {
    for (const char* const question : {"ListNames", "ListActivatableNames"}) {
        const std::vector<std::string> known = names(question);
        if (std::find(known.begin(), known.end(), name) != known.end()) return true;
    }
    return false;
}

std::vector<std::string> SessionBus::names(const char* question) const {
    std::vector<std::string> names;
    BusError error;
    const BusMessage reply =
        call(methodCall(daemonName, daemonPath, daemonName, question), busAnswerTimeout, error);
    if (!reply.get() || sd_bus_message_enter_container(reply.get(), 'a', "s") < 0) return names;
    const char* name = nullptr;
    while (sd_bus_message_read_basic(reply.get(), 's', &name) > 0)
        if (*name != ':') names.emplace_back(name);
    return names;
}

pid_t SessionBus::ownerOf(std::string_view name) const {
    const BusMessage question =
        methodCall(daemonName, daemonPath, daemonName, "GetConnectionUnixProcessID");
    const std::string text(name);
    if (!question.get() || sd_bus_message_append_basic(question.get(), 's', text.c_str()) < 0)
        return 0;
    BusError error;
    const BusMessage reply = call(question, busAnswerTimeout, error);
    std::uint32_t process = 0;
    if (!reply.get() || sd_bus_message_read_basic(reply.get(), 'u', &process) < 0) return 0;
    return static_cast<pid_t>(process);
}

std::string applicationObjectPath(std::string_view identifier) {
    std::string path = "/";
    for (const char c : identifier) path += c == '.' ? '/' : c == '-' ? '_' : c;
    return path;
}

}  // namespace reelsweep
