#include "platform/posix/SessionBus.h"

#include <algorithm>

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
                            BusError& error) const {
    BusMessage reply;
    if (!bus_ || !message.get()) {
        sd_bus_error_set_const(error.out(), SD_BUS_ERROR_DISCONNECTED, "there is no session bus");
        return reply;
    }
    // A time-out of 0 would mean the library's own.
    const auto microseconds =
        static_cast<std::uint64_t>(std::max<std::int64_t>(1, timeout.count()));
    sd_bus_call(bus_, message.get(), microseconds, error.out(), reply.out());
    return reply;
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
