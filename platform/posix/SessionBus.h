// SessionBus: a connection to the message bus of the user's session.
//
// Only a bus that runs as this process's own user is spoken to.
// Owner: the caller. Thread rule: one thread at a time.
#pragma once

#include <chrono>
#include <cstdint>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <systemd/sd-bus.h>

namespace reelsweep {

/// One reference to a message; null when there is none.
class BusMessage {
public:
    BusMessage() = default;
    explicit BusMessage(sd_bus_message* message) : message_(message) {}
    ~BusMessage() { sd_bus_message_unref(message_); }
    BusMessage(BusMessage&& other) noexcept : message_(std::exchange(other.message_, nullptr)) {}
    BusMessage& operator=(BusMessage&& other) noexcept {
        std::swap(message_, other.message_);
        return *this;
    }

    sd_bus_message* get() const { return message_; }
    /// For functions that hand out a reference. There must be none yet.
    sd_bus_message** out() { return &message_; }

private:
    sd_bus_message* message_ = nullptr;
};

/// An error that the bus or the other side answered.
class BusError {
public:
    BusError() = default;
    ~BusError() { sd_bus_error_free(&error_); }
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;

    sd_bus_error* out() { return &error_; }
    std::string_view name() const { return error_.name ? error_.name : ""; }
    std::string_view message() const { return error_.message ? error_.message : ""; }

private:
    sd_bus_error error_{};
};

class SessionBus {
public:
    static constexpr const char* givenUp = "com.quorvane.Error.GivenUp";

    /// Connects. Where there is no session bus, or it belongs to somebody else, the object is not
    /// connected.
    SessionBus();
    ~SessionBus();
    SessionBus(SessionBus&& other) noexcept : bus_(std::exchange(other.bus_, nullptr)) {}
    SessionBus& operator=(SessionBus&& other) noexcept {
        std::swap(bus_, other.bus_);
        return *this;
    }

    explicit operator bool() const { return bus_ != nullptr; }
    sd_bus* get() const { return bus_; }

    /// A new call; null when it cannot be made.
    BusMessage methodCall(std::string_view destination, std::string_view path,
                          const char* interface, const char* method) const;
    /// Sends a call and waits for its reply. Answers null and fills the error when there is none. A
    /// stop ends the wait; the error is then named givenUp.
    BusMessage call(const BusMessage& message, std::chrono::microseconds timeout, BusError& error,
                    const std::stop_token& stop = {}) const;

    /// The well-known names that are owned now.
    std::vector<std::string> ownedNames() const { return names("ListNames"); }
    /// True for a name that is owned, or that the bus can start an application for.
    bool knows(std::string_view name) const;
    /// The process that owns a name; 0 when nobody does.
    pid_t ownerOf(std::string_view name) const;

private:
    std::vector<std::string> names(const char* question) const;

    sd_bus* bus_ = nullptr;
};

/// How long questions to the bus itself may take.
inline constexpr std::chrono::seconds busAnswerTimeout{5};

/// The object path of an application, as desktop systems derive it from its identifier:
/// "/com/apple/FinalCutPro".
std::string applicationObjectPath(std::string_view identifier);

}  // namespace reelsweep
