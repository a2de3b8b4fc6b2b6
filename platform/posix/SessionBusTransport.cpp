#include "platform/posix/SessionBusTransport.h"

#include "platform/posix/AppleEventWire.h"
#include "platform/posix/SessionBus.h"

namespace reelsweep {

namespace {

AppleEventReply failed(std::int32_t error, std::string reason) {
    return {error, std::move(reason), {}};
}

std::string seconds(std::chrono::milliseconds time) {
    const auto count = time.count();
    std::string text = std::to_string(count / 1000);
    if (count % 1000 != 0) text.append(".").append(std::to_string(1000 + count % 1000), 1);
    return text;
}

// What the bus answered in place of a reply.
AppleEventReply failureFrom(const BusError& error, std::chrono::milliseconds timeout) {
    struct Row {
        const char* name;
        std::int32_t number;
        const char* reason;
    };
    constexpr Row rows[] = {
        {SD_BUS_ERROR_SERVICE_UNKNOWN, appleEventError::notRunning, "it does not run"},
        {SD_BUS_ERROR_NAME_HAS_NO_OWNER, appleEventError::notRunning, "it does not run"},
        {SD_BUS_ERROR_UNKNOWN_METHOD, appleEventError::notHandled,
         "it does not speak this version of the protocol"},
        {SD_BUS_ERROR_UNKNOWN_INTERFACE, appleEventError::notHandled,
         "it does not speak this version of the protocol"},
        {SD_BUS_ERROR_UNKNOWN_OBJECT, appleEventError::notHandled,
         "it does not speak this version of the protocol"},
        {SD_BUS_ERROR_NO_REPLY, appleEventError::connectionInvalid,
         "it went away without an answer"},
        {SessionBus::givenUp, appleEventError::userCancelled, "the wait was given up"},
    };
    const std::string_view name = error.name();
    for (const Row& row : rows)
        if (name == row.name) return failed(row.number, row.reason);
    if (name == SD_BUS_ERROR_TIMEOUT)
        return failed(appleEventError::timeout,
                      "no answer within " + seconds(timeout) + " seconds");
    const std::string_view message = error.message();
    return failed(appleEventError::connectionInvalid,
                  std::string(message.empty() ? name : message));
}

}  // namespace

bool SessionBusTransport::isAvailable() const { return bool(SessionBus()); }

std::chrono::milliseconds SessionBusTransport::timeoutOf(const AppleEvent& event) const {
    if (settings_.everyTimeout)
        if (const auto time = settings_.everyTimeout()) return *time;
    return event.timeout.value_or(settings_.defaultTimeout);
}

AppleEventReply SessionBusTransport::send(const AppleEvent& event) {
    const SessionBus bus;
    if (!bus) return failed(appleEventError::connectionInvalid, "there is no session bus");
    const BusMessage message =
        bus.methodCall(event.target, appleEventObjectPath, appleEventInterface, appleEventMethod);
    if (!message.get() || sd_bus_message_append(message.get(), "ss", event.eventClass.c_str(),
                                                event.eventID.c_str()) < 0)
        return failed(appleEventError::paramError, "the event cannot be addressed");
    if (appendParameters(message.get(), event.parameters) < 0)
        return failed(appleEventError::paramError, "the parameters cannot be sent");
    sd_bus_message_set_auto_start(message.get(), event.launchTarget ? 1 : 0);

    const std::chrono::milliseconds timeout = timeoutOf(event);
    BusError error;
    const BusMessage answer = bus.call(message, timeout, error, event.stop);
    if (!answer.get()) return failureFrom(error, timeout);

    AppleEventReply reply;
    if (sd_bus_message_read_basic(answer.get(), 'i', &reply.error) <= 0)
        return failed(appleEventError::corruptData, "the answer does not have the form ia(ssv)");
    const std::string problem =
        readParameters(answer.get(), settings_.maximumBytes, reply.parameters);
    if (!problem.empty()) return failed(appleEventError::corruptData, "the answer " + problem);
    if (reply.error != appleEventError::none) reply.reason = "it refused";
    return reply;
}

}  // namespace reelsweep
