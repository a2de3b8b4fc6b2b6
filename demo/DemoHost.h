// DemoHost: plays the editing application on the session bus, for tests and for trying the native
// flow without one.
//
// It answers the eight events of docs/hosts.md for the projects that it has open, and opens files
// that it is asked to (org.freedesktop.Application). What it opened for the user it writes into the
// file "opened-items" of its folder, a line an item. The file "faults" there, read anew for every
// event, makes it misbehave: lines of an event ("iXML", or "*" for all) and a fault:
//
//   slow SECONDS   answers late                  drop          never answers
//   refuse         answers an error number       die           ends before it answers
//   nul            ends the data with a NUL byte  binary        data that is no UTF-8
//   mistyped       data of another type           foreign       an answer of another form
//   empty          an answer without parameters  blank         data without a byte
//   hollow         a document that holds nothing
//
// Thread rule: one thread.
#pragma once

#include "demo/HostProjects.h"
#include "platform/AppleEventTransport.h"
#include "platform/posix/SessionBus.h"

#include <chrono>
#include <string>
#include <vector>

namespace reelsweep::demo {

class DemoHost {
public:
    explicit DemoHost(std::string folder) : folder_(std::move(folder)) {}

    /// Opens every project file (*.fcp) of the folder. False, said on standard error, when the
    /// folder cannot be read.
    bool openAll();
    /// Serves events until the bus goes away. Answers the exit status.
    int run();

private:
    struct Fault {
        std::string kind;
        double seconds = 0;
    };
    struct Answer {
        std::int32_t error = appleEventError::none;
        AppleEventParameters parameters = {};
    };
    struct LateReply {
        std::chrono::steady_clock::time_point due;
        BusMessage reply;
    };

    static int handleMessage(sd_bus_message* message, void* host, sd_bus_error*);
    int handleEvent(sd_bus_message* message);
    int handleOpen(sd_bus_message* message);
    Answer answer(const std::string& eventID, const AppleEventParameters& parameters);
    Answer listProjects() const;
    Answer showItem(const std::string& path, const std::string& uuid);
    Fault faultFor(const std::string& eventID) const;
    int reply(sd_bus_message* message, Answer answer, const Fault& fault);
    void sendLateReplies();
    void openProject(const std::string& path);

    std::string folder_;
    SessionBus bus_;
    HostProjects projects_;
    std::vector<LateReply> lateReplies_;
};

}  // namespace reelsweep::demo
