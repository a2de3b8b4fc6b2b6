#include "platform/posix/SessionBusApplications.h"

#include "base/PercentEscapes.h"
#include "platform/posix/SessionBus.h"

#include <filesystem>
#include <mutex>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

bool sendOpen(const SessionBus& bus, const std::string& uri, std::string_view identifier,
              LaunchOption option) {
    const BusMessage request = bus.methodCall(identifier, applicationObjectPath(identifier),
                                              "org.freedesktop.Application", "Open");
    const int activate = option == LaunchOption::async ? 1 : 0;
    return request.get() &&
           sd_bus_message_append(request.get(), "asa{sv}", 1, uri.c_str(), 1, "activate", "b",
                                 activate) >= 0 &&
           sd_bus_message_set_expect_reply(request.get(), 0) >= 0 &&
           sd_bus_send(bus.get(), request.get(), nullptr) >= 0 && sd_bus_flush(bus.get()) >= 0;
}

}  // namespace

bool openFileOverSessionBus(const std::string& path, std::string_view identifier,
                            LaunchOption option) {
    // One connection that stays: the bus drops a message that waits for an application to start
    // when its sender is gone.
    static std::mutex mutex;
    static SessionBus bus;
    const std::lock_guard lock(mutex);
    if (bus.ownedNames().empty()) bus = SessionBus();
    if (!bus.knows(identifier)) return false;
    std::error_code error;
    // The name that events give the file too, whatever way the user named it.
    fs::path file = fs::canonical(path, error);
    if (error) file = fs::absolute(path, error);
    return sendOpen(bus, "file://" + percentEscapedPath(file.string()), identifier, option);
}

std::optional<std::string> executableOnSessionBus(std::string_view identifier) {
    const pid_t process = SessionBus().ownerOf(identifier);
    if (process <= 0) return {};
    std::error_code error;
    const fs::path path = fs::read_symlink("/proc/" + std::to_string(process) + "/exe", error);
    return error ? std::nullopt : std::optional(path.string());
}

}  // namespace reelsweep
