// AppleEventTransport: carries one event to another application and its reply back.
//
// An event has a class, an identifier and parameters in order. Classes, identifiers, keywords and
// types are codes of four characters, such as "KeyG".
// Owner: Platform. Thread rule: any thread; the calling thread blocks until the reply is there, the
// time-out has passed, or the wait is given up.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// A typed value. A `list` or `reco` (record) holds items and no data; everything else holds data
/// and no items.
struct AppleEventDescriptor {
    std::string keyword;  ///< empty for an item of a list
    std::string type;
    std::string data = {};  ///< bytes
    std::vector<AppleEventDescriptor> items = {};

    bool isContainer() const { return type == "list" || type == "reco"; }
};

using AppleEventParameters = std::vector<AppleEventDescriptor>;

struct AppleEvent {
    std::string target;  ///< bundle identifier of the application
    std::string eventClass;
    std::string eventID;
    AppleEventParameters parameters = {};
    /// How long to wait for the reply; none: as long as the transport waits by default.
    std::optional<std::chrono::milliseconds> timeout = {};
    /// An application that does not run yet may be started for the event. Without it, an event to
    /// such an application fails.
    bool launchTarget = false;
    /// Ends the wait for the reply. What the target does with the event then is its affair.
    std::stop_token stop = {};
};

/// Error numbers of a reply, as the editing platform counts them. A host may answer others.
namespace appleEventError {
inline constexpr std::int32_t none = 0;
inline constexpr std::int32_t paramError = -50;          ///< a parameter that no event can hold
inline constexpr std::int32_t userCancelled = -128;      ///< the wait was given up
inline constexpr std::int32_t notRunning = -600;         ///< nobody runs under the target's name
inline constexpr std::int32_t connectionInvalid = -609;  ///< no way to the target, or it went away
inline constexpr std::int32_t notHandled = -1708;        ///< the target does not know the event
inline constexpr std::int32_t timeout = -1712;
inline constexpr std::int32_t corruptData = -1702;  ///< the reply breaks the rules of the transport
}  // namespace appleEventError

struct AppleEventReply {
    std::int32_t error = appleEventError::none;
    std::string reason = {};  ///< what the error was, for a person; empty when there was none
    AppleEventParameters parameters = {};

    /// The first parameter with the keyword; null when there is none.
    const AppleEventDescriptor* find(std::string_view keyword) const {
        for (const AppleEventDescriptor& parameter : parameters)
            if (parameter.keyword == keyword) return &parameter;
        return nullptr;
    }
};

class AppleEventTransport {
public:
    virtual ~AppleEventTransport() = default;

    /// Sends the event and waits for its reply. Never throws for what the other side does.
    virtual AppleEventReply send(const AppleEvent& event) = 0;
    /// True when there is a way to send events at all.
    virtual bool isAvailable() const = 0;
    /// The most bytes that all the data of one event, or of one reply, may have.
    virtual std::size_t maximumBytes() const = 0;
};

}  // namespace reelsweep
