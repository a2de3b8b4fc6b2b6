#include "hosts/QVAppleEvents.h"

#include "base/PercentEscapes.h"
#include "base/TextEncoding.h"
#include "platform/Platform.h"
#include "services/ConsoleLog.h"
#include "services/QVException.h"
#include "timeline/QVXMLParser.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <thread>
#include <utility>

namespace reelsweep {

namespace {

using Data = QVAppleEvents::Data;

constexpr const char* notRunning = "Error: Final Cut Pro is not running.";
constexpr std::chrono::seconds importTimeout{600};
constexpr std::size_t longestPath = 4096;

// Runs an operation; an exception is logged under the operation's name and answered as `failed`.
template <class Operation, class Answer>
Answer guarded(const char* method, Answer failed, Operation operation) {
    try {
        return operation();
    } catch (const std::exception& exception) {
        QVException::logException(exception, method);
        return failed;
    }
}

// One path for a file, whatever way it is named; nothing when there is no such file.
std::optional<std::string> fileReference(const std::string& path) {
    std::error_code error;
    const auto canonical = std::filesystem::canonical(path, error);
    if (error || path.empty()) return {};
    return canonical.string();
}

// The path that a file reference stands for; nothing when it stands for none.
std::optional<std::string> pathOfReference(const AppleEventDescriptor& reference) {
    const bool isPath = reference.data.starts_with('/') && reference.data.size() <= longestPath &&
                        reference.data.find('\0') == std::string::npos;
    return isPath ? std::optional(reference.data) : std::nullopt;
}

bool isUTF8(std::string_view bytes) {
    // A replacement character that was not there says that something could not be decoded.
    return decodedText(bytes, TextEncoding::utf8) == bytes;
}

// Of the innermost Stoppable.
thread_local std::stop_token currentStop;

AppleEvent eventTo(const char* eventID) {
    AppleEvent event{QVAppleEvents::finalCutProIdentifier, "KeyG", eventID};
    event.stop = currentStop;
    return event;
}

// False when the transport could not carry so much.
bool put(AppleEvent& event, const char* keyword, const char* type, std::string data) {
    if (data.size() > Platform::current().appleEvents->maximumBytes()) return false;
    event.parameters.push_back({keyword, type, std::move(data)});
    return true;
}

// Sends an event from a thread of its own, while the main thread goes on with what people do. An
// answer may take minutes.
AppleEventReply sendBesideMainThread(const AppleEvent& event) {
    AppleEventTransport& transport = *Platform::current().appleEvents;
    MainThread& mainThread = *Platform::current().mainThread;
    AppleEventReply reply;
    std::exception_ptr error;
    bool done = false;  // the main thread's
    std::jthread sender([&] {
        try {
            reply = transport.send(event);
        } catch (...) {
            error = std::current_exception();
        }
        mainThread.post([&done] { done = true; });
    });
    {
        // What is handled meanwhile has stops of its own.
        const QVAppleEvents::Stoppable others{std::stop_token()};
        while (!done) mainThread.pumpOne(std::chrono::milliseconds(100));
    }
    sender.join();
    if (error) std::rethrow_exception(error);
    return reply;
}

// A failure's reason stands on a line before the operation's own message.
AppleEventReply send(const AppleEvent& event) {
    AppleEventReply reply = Platform::current().mainThread->isMainThread()
                                ? sendBesideMainThread(event)
                                : Platform::current().appleEvents->send(event);
    if (reply.error != appleEventError::none)
        consoleLog("Apple event %@: %@ (%d)", event.eventID, reply.reason, reply.error);
    return reply;
}

bool open(const std::string& projectPath, LaunchOption option) {
    if (currentStop.stop_requested()) return false;
    return Platform::current().workspace->openFileWithIdentifier(
        projectPath, QVAppleEvents::finalCutProIdentifier, option);
}

// The XML of a reply; nothing, said on the console, when it holds none.
std::optional<Data> xmlOfReply(const AppleEventReply& reply) {
    const AppleEventDescriptor* const xml = reply.find("xmlD");
    if (!xml || xml->type != "utf8") {
        consoleLog("Error getting XML information");
        return {};
    }
    if (!isUTF8(xml->data)) {
        consoleLog("Error retrieving XML data");
        return {};
    }
    return QVAppleEvents::formatData(xml->data);
}

// Whether the event can go out, and what it took to get there.
struct Readiness {
    bool ready = false;
    bool openedProject = false;
};

Readiness makeReady(const std::string& projectPath, bool launchFCP) {
    if (!QVAppleEvents::isFCPRunning()) {
        if (!launchFCP) return {};
        open(projectPath, LaunchOption::async);
    }
    if (QVAppleEvents::isProjectOpen(projectPath)) return {true, false};
    if (!launchFCP) {
        consoleLog("Error: project is not open.");
        return {};
    }
    // After a launch this asks a second time: Final Cut Pro drops what it was asked for while its
    // splash screen was up.
    open(projectPath, LaunchOption::async);
    return {true, true};
}

// Sends an event about a project, or about one of its items. Nothing, said on the console, when it
// failed.
std::optional<AppleEventReply> ask(const char* eventID, const std::string& projectPath,
                                   const std::string* item, bool launchFCP) {
    if (!Platform::current().appleEvents->isAvailable()) {
        consoleLog("Error creating app description");
        return {};
    }
    AppleEvent event = eventTo(eventID);
    event.launchTarget = launchFCP;
    if (auto reference = fileReference(projectPath)) {
        if (!put(event, "fcpP", "fsrf", std::move(*reference))) {
            consoleLog("Error adding project file to AppleEvent query");
            return {};
        }
        if (item && !put(event, "fcIU", "utf8", *item)) {
            consoleLog("Error adding destination project file to AppleEvent query");
            return {};
        }
    }
    AppleEventReply reply = send(event);
    if (reply.error != appleEventError::none) {
        consoleLog("Error sending AppleEvent");
        return {};
    }
    return reply;
}

std::optional<Data> fetch(const char* eventID, const std::string& projectPath,
                          const std::string* item, bool launchFCP, bool closeProject) {
    const Readiness readiness = makeReady(projectPath, launchFCP);
    if (!readiness.ready) return {};
    const auto reply = ask(eventID, projectPath, item, launchFCP);
    if (!reply) return {};
    auto data = xmlOfReply(*reply);
    if (data && closeProject && readiness.openedProject)
        QVAppleEvents::closeProject(projectPath, true);
    return data;
}

// Save and close: the project twice, as a reference and as a URL, and a flag.
bool sendAboutFile(const char* eventID, const std::string& projectPath, AppleEventDescriptor flag) {
    if (!QVAppleEvents::isFCPRunning()) {
        consoleLog(notRunning);
        return false;
    }
    AppleEvent event = eventTo(eventID);
    if (auto reference = fileReference(projectPath)) {
        if (!put(event, "fcpP", "fsrf", std::move(*reference))) {
            consoleLog("Error adding source project file to AppleEvent query");
            return false;
        }
        if (!put(event, "fcpU", "furl", percentEscapedPath(projectPath))) {
            consoleLog("Error adding destination project file to AppleEvent query");
            return false;
        }
        if (!put(event, flag.keyword.c_str(), flag.type.c_str(), std::move(flag.data))) {
            consoleLog("Error adding overwrite flag to AppleEvent query");
            return false;
        }
    }
    if (send(event).error == appleEventError::none) return true;
    consoleLog("Error sending AppleEvent");
    return false;
}

// A 32-bit number as the wire has it: the most significant byte first.
std::string longData(std::uint32_t value) {
    std::string data;
    for (int shift = 24; shift >= 0; shift -= 8)
        data += static_cast<char>((value >> static_cast<unsigned>(shift)) & 0xFFU);
    return data;
}

}  // namespace

QVAppleEvents::Stoppable::Stoppable(std::stop_token stop)
    : outer_(std::exchange(currentStop, std::move(stop))) {}

QVAppleEvents::Stoppable::~Stoppable() { currentStop = std::move(outer_); }

bool QVAppleEvents::isFCPRunning() {
    const auto running = Platform::current().workspace->runningApplicationIdentifiers();
    return std::find(running.begin(), running.end(), finalCutProIdentifier) != running.end();
}

std::optional<std::vector<std::string>> QVAppleEvents::listOfOpenFCPProjects() {
    using Paths = std::optional<std::vector<std::string>>;
    return guarded("+[QVAppleEvents listOfOpenFCPProjects]", Paths(), []() -> Paths {
        if (!isFCPRunning()) {
            consoleLog(notRunning);
            return {};
        }
        const auto paths = openFCPProjects();
        return paths ? *paths : std::vector<std::string>();
    });
}

Result<std::vector<std::string>> QVAppleEvents::openFCPProjects() {
    using Paths = Result<std::vector<std::string>>;
    const auto failure = [](const char* reason) {
        return Failure{FailureCode::inputUnreadable, reason, "", 0, 0, ""};
    };
    const Paths unlisted = failure("Final Cut Pro did not list its projects");
    return guarded("+[QVAppleEvents openFCPProjects]", unlisted, [&]() -> Paths {
        if (!isFCPRunning()) return failure("Final Cut Pro is not running");
        std::vector<std::string> paths;
        const AppleEventReply reply = send(eventTo("fcLP"));
        const AppleEventDescriptor* const list = reply.find("fcOP");
        if (reply.error != appleEventError::none || !list || list->type != "list") return unlisted;
        for (const AppleEventDescriptor& record : list->items) {
            const auto reference =
                std::find_if(record.items.begin(), record.items.end(),
                             [](const auto& item) { return item.keyword == "fcPf"; });
            if (record.type != "reco" || reference == record.items.end() ||
                reference->type != "fsrf")
                break;
            if (auto path = pathOfReference(*reference)) paths.push_back(std::move(*path));
        }
        return paths;
    });
}

bool QVAppleEvents::isProjectOpen(const std::string& projectPath) {
    return isAmong(listOfOpenFCPProjects().value_or(std::vector<std::string>()), projectPath);
}

bool QVAppleEvents::isAmong(const std::vector<std::string>& paths, const std::string& path) {
    const auto reference = fileReference(path);
    return std::any_of(paths.begin(), paths.end(), [&](const std::string& other) {
        return other == path || (reference && fileReference(other) == reference);
    });
}

bool QVAppleEvents::sendXMLToFCP(std::string_view xml, const std::string& projectPath) {
    return guarded("+[QVAppleEvents sendXMLToFCP:projectPath:]", false, [&] {
        if (!Platform::current().appleEvents->isAvailable()) {
            consoleLog("Error creating AEDescription: %d", appleEventError::connectionInvalid);
            return false;
        }
        AppleEvent event = eventTo("iXML");
        event.timeout = importTimeout;
        auto reference = fileReference(projectPath);
        if (reference && !put(event, "fcpP", "fsrf", std::move(*reference))) {
            consoleLog("Error creating project FSRef: %d", appleEventError::paramError);
            return false;
        }
        if (!put(event, "xmlD", "utf8", escapeCharactersInXMLString(xml))) {
            consoleLog("Error adding XML data to event: %d", appleEventError::paramError);
            return false;
        }
        const AppleEventReply reply = send(event);
        if (reply.error == appleEventError::none) return true;
        consoleLog("Error sending AppleEvent: %d", reply.error);
        return false;
    });
}

std::optional<std::string> QVAppleEvents::getProjectXML(const std::string& projectPath,
                                                        bool launchFCP, bool closeProject) {
    return getProjectXMLData(projectPath, launchFCP, closeProject);
}

std::optional<Data> QVAppleEvents::getProjectXMLData(const std::string& projectPath, bool launchFCP,
                                                     bool closeProject) {
    return guarded("+[QVAppleEvents getProjectXMLData:launchFCP:closeProject:]",
                   std::optional<Data>(),
                   [&] { return fetch("eXML", projectPath, nullptr, launchFCP, closeProject); });
}

std::optional<std::string> QVAppleEvents::getItemXML(const std::string& item,
                                                     const std::string& projectPath, bool launchFCP,
                                                     bool /*closeProject*/) {
    // The flag is ignored: people go on editing the project that they asked an item of.
    return getItemXMLData(item, projectPath, launchFCP);
}

std::optional<Data> QVAppleEvents::getItemXMLData(const std::string& item,
                                                  const std::string& projectPath, bool launchFCP,
                                                  bool closeProject) {
    return guarded("+[QVAppleEvents getItemXMLData:forProject:launchFCP:closeProject:]",
                   std::optional<Data>(),
                   [&] { return fetch("gXML", projectPath, &item, launchFCP, closeProject); });
}

std::optional<std::string> QVAppleEvents::getTOC(const std::string& projectPath, bool launchFCP) {
    return getTOCData(projectPath, launchFCP);
}

std::optional<Data> QVAppleEvents::getTOCData(const std::string& projectPath, bool launchFCP) {
    using Answer = std::optional<Data>;
    return guarded("+[QVAppleEvents getTOCData:launchFCP:]", Answer(), [&]() -> Answer {
        if (!isFCPRunning()) {
            if (!launchFCP) return {};
            open(projectPath, LaunchOption::async);
        }
        // Lists are fetched while documents open, so nothing comes to the front and nothing is said
        // of a project that is not open.
        if (!isProjectOpen(projectPath)) {
            if (!launchFCP) return {};
            open(projectPath, LaunchOption::withoutActivation);
        }
        const auto reply = ask("eTCX", projectPath, nullptr, launchFCP);
        return reply ? xmlOfReply(*reply) : Answer();
    });
}

std::optional<SequenceListing> QVAppleEvents::sequencesInProject(const std::string& projectPath,
                                                                 bool launchFCP) {
    const auto data = finalCutProMajorVersion() < 7 ? getProjectXMLData(projectPath, launchFCP)
                                                    : getTOCData(projectPath, launchFCP);
    if (!data || data->empty()) return {};
    Result<XMLDocument> parsed = XMLDocument::parse(*data, projectPath);
    if (!parsed) {
        consoleLog("Error: %@", parsed.failure().description());
        return {};
    }
    SequenceListing listing{std::make_shared<XMLDocument>(std::move(*parsed)), {}};
    listing.document->node().forEachDescendant({"sequence"}, [&](XMLNode sequence) {
        if (sequence.child("name")) listing.sequences.push_back(sequence);
    });
    return listing;
}

void QVAppleEvents::openItem(const std::string& item, const std::string& projectPath,
                             bool launchFCP) {
    guarded("+[QVAppleEvents openItem:forProject:launchFCP:]", false, [&] {
        return makeReady(projectPath, launchFCP).ready &&
               ask("fcOI", projectPath, &item, launchFCP).has_value();
    });
}

bool QVAppleEvents::saveProject(const std::string& projectPath) {
    return guarded("+[QVAppleEvents saveProject:]", false, [&] {
        return sendAboutFile("sfcP", projectPath, {"fsOF", "bool", "\x01"});
    });
}

void QVAppleEvents::closeProject(const std::string& projectPath, bool saveChanges) {
    guarded("+[QVAppleEvents closeProject:saveChanges:]", false, [&] {
        return sendAboutFile("cfcP", projectPath, {"fcCF", "long", longData(saveChanges ? 0 : 1)});
    });
}

}  // namespace reelsweep
