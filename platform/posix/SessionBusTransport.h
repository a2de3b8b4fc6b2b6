// SessionBusTransport: Apple events over the session bus.
//
// An application is addressed by its bundle identifier as bus name; it offers the interface
// com.quorvane.AppleEvents1 (hosts/com.quorvane.AppleEvents1.xml, docs/hosts.md).
// Every event has a connection of its own, so threads do not wait for each other.
#pragma once

#include "platform/AppleEventTransport.h"

#include <functional>
#include <utility>

namespace reelsweep {

class SessionBusTransport final : public AppleEventTransport {
public:
    struct Settings {
        /// For events that say nothing about it.
        std::chrono::milliseconds defaultTimeout = std::chrono::seconds(60);
        /// What it answers, when anything, stands in place of an event's time-out.
        std::function<std::optional<std::chrono::milliseconds>()> everyTimeout = {};
        std::size_t maximumBytes = std::size_t{1} << 30;
    };

    SessionBusTransport() = default;
    explicit SessionBusTransport(Settings settings) : settings_(std::move(settings)) {}

    AppleEventReply send(const AppleEvent& event) override;
    bool isAvailable() const override;
    std::size_t maximumBytes() const override { return settings_.maximumBytes; }

private:
    std::chrono::milliseconds timeoutOf(const AppleEvent& event) const;

    Settings settings_;
};

}  // namespace reelsweep
