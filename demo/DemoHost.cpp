#include "demo/DemoHost.h"

#include "base/PercentEscapes.h"
#include "platform/posix/AppleEventWire.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include <unistd.h>

namespace reelsweep::demo {

namespace fs = std::filesystem;

namespace {

constexpr const char* identifier = "com.apple.FinalCutPro";
constexpr std::int32_t eventFailed = -10000;
constexpr std::size_t maximumBytes = std::size_t{1} << 30;

// What happens, for whoever watches.
void say(const std::string& line) { std::cout << line << std::endl; }

std::string textOf(const AppleEventParameters& parameters, std::string_view keyword) {
    for (const AppleEventDescriptor& parameter : parameters)
        if (parameter.keyword == keyword) return parameter.data;
    return {};
}

std::string nameOf(const std::string& path) { return fs::path(path).filename(); }

}  // namespace

bool DemoHost::openAll() {
    std::vector<std::string> paths;
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end;
         entry.increment(error))
        if (entry->path().extension() == ".fcp") paths.push_back(entry->path());
    if (error) {
        std::cerr << "reelsweep-demo-host: " << folder_ << ": " << error.message() << std::endl;
        return false;
    }
    std::sort(paths.begin(), paths.end());
    for (const std::string& path : paths) openProject(path);
    return true;
}

void DemoHost::openProject(const std::string& path) {
    say((projects_.open(path) ? "opened project " : "cannot open ") + nameOf(path));
}

int DemoHost::run() {
    sd_bus* const bus = bus_.get();
    const std::string applicationPath = applicationObjectPath(identifier);
    if (!bus ||
        sd_bus_add_object(bus, nullptr, appleEventObjectPath, &DemoHost::handleMessage, this) < 0 ||
        sd_bus_add_object(bus, nullptr, applicationPath.c_str(), &DemoHost::handleMessage, this) <
            0 ||
        sd_bus_request_name(bus, identifier, 0) < 0) {
        std::cerr << "reelsweep-demo-host: no session bus, or one runs already" << std::endl;
        return 1;
    }
    say("ready");
    for (;;) {
        const int processed = sd_bus_process(bus, nullptr);
        if (processed < 0) return processed == -ECONNRESET || processed == -ENOTCONN ? 0 : 1;
        sendLateReplies();
        constexpr std::uint64_t tick = 20000;  // microseconds
        if (processed == 0) sd_bus_wait(bus, lateReplies_.empty() ? UINT64_MAX : tick);
    }
}

int DemoHost::handleMessage(sd_bus_message* message, void* host, sd_bus_error*) {
    auto& self = *static_cast<DemoHost*>(host);
    if (sd_bus_message_is_method_call(message, appleEventInterface, appleEventMethod) > 0)
        return self.handleEvent(message);
    if (sd_bus_message_is_method_call(message, "org.freedesktop.Application", "Open") > 0)
        return self.handleOpen(message);
    return 0;  // the library says that there is no such method
}

int DemoHost::handleOpen(sd_bus_message* message) {
    constexpr std::string_view scheme = "file://";
    const char* uri = nullptr;
    if (sd_bus_message_enter_container(message, 'a', "s") < 0) return -EINVAL;
    while (sd_bus_message_read_basic(message, 's', &uri) > 0) {
        const std::string_view text = uri;
        if (text.starts_with(scheme))
            openProject(pathWithoutPercentEscapes(text.substr(scheme.size())));
    }
    return sd_bus_reply_method_return(message, nullptr);
}

int DemoHost::handleEvent(sd_bus_message* message) {
    const char* eventClass = nullptr;
    const char* eventID = nullptr;
    AppleEventParameters parameters;
    if (sd_bus_message_read(message, "ss", &eventClass, &eventID) < 0 ||
        !readParameters(message, maximumBytes, parameters).empty())
        return reply(message, {appleEventError::corruptData}, {});
    const Fault fault = faultFor(eventID);
    if (fault.kind == "die") ::_exit(1);
    if (fault.kind == "drop") return 1;
    if (fault.kind == "refuse") return reply(message, {eventFailed}, fault);
    const bool known = std::string_view(eventClass) == "KeyG";
    return reply(message, known ? answer(eventID, parameters) : Answer{appleEventError::notHandled},
                 fault);
}

DemoHost::Answer DemoHost::answer(const std::string& eventID,
                                  const AppleEventParameters& parameters) {
    const std::string path = textOf(parameters, "fcpP");
    const std::string uuid = textOf(parameters, "fcIU");
    const auto withXML = [](const std::optional<std::string>& xml) {
        return xml ? Answer{appleEventError::none, {{"xmlD", "utf8", *xml}}} : Answer{eventFailed};
    };
    const auto done = [&](bool succeeded, const std::string& what) {
        if (succeeded) say(what + nameOf(path));
        return Answer{succeeded ? appleEventError::none : eventFailed};
    };
    if (eventID == "fcLP") return listProjects();
    if (eventID == "eXML") return withXML(projects_.projectXML(path));
    if (eventID == "eTCX") return withXML(projects_.tableOfContents(path));
    if (eventID == "gXML") return withXML(projects_.itemXML(path, uuid));
    if (eventID == "iXML")
        return done(projects_.importXML(path, textOf(parameters, "xmlD")), "imported into ");
    if (eventID == "fcOI") return showItem(path, uuid);
    if (eventID == "sfcP") {
        const std::string destination = pathWithoutPercentEscapes(textOf(parameters, "fcpU"));
        return done(projects_.save(path, destination), "saved ");
    }
    if (eventID == "cfcP") {
        const std::string discard = textOf(parameters, "fcCF");
        return done(projects_.close(path, discard == std::string(4, '\0')), "closed ");
    }
    return {appleEventError::notHandled};
}

DemoHost::Answer DemoHost::listProjects() const {
    AppleEventDescriptor list{"fcOP", "list"};
    for (const std::string& path : projects_.openPaths())
        list.items.push_back({"", "reco", "", {{"fcPf", "fsrf", path}}});
    return {appleEventError::none, {list}};
}

DemoHost::Answer DemoHost::showItem(const std::string& path, const std::string& uuid) {
    const std::optional<std::string> name = projects_.itemName(path, uuid);
    if (!name) return {eventFailed};
    say("opened " + *name + " in " + nameOf(path));
    std::ofstream(folder_ + "/opened-items", std::ios::app)
        << nameOf(path) << ": " << *name << "\n";
    return {};
}

DemoHost::Fault DemoHost::faultFor(const std::string& eventID) const {
    std::ifstream file(folder_ + "/faults");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string event;
        Fault fault;
        words >> event >> fault.kind >> fault.seconds;
        if (event == eventID || event == "*") return fault;
    }
    return {};
}

int DemoHost::reply(sd_bus_message* message, Answer answer, const Fault& fault) {
    if (fault.kind == "empty") answer.parameters.clear();
    for (AppleEventDescriptor& parameter : answer.parameters) {
        if (fault.kind == "nul") parameter.data += '\0';
        if (fault.kind == "binary") parameter.data = "<xmeml>\xFF\xFE</xmeml>";
        if (fault.kind == "blank") parameter.data.clear();
        if (fault.kind == "hollow") parameter.data = "<xmeml/>";
        if (fault.kind == "mistyped") parameter = {parameter.keyword, "TEXT", "text"};
    }
    BusMessage reply;
    if (sd_bus_message_new_method_return(message, reply.out()) < 0) return -ENOMEM;
    int appended = 0;
    if (fault.kind == "foreign") {
        appended = sd_bus_message_append(reply.get(), "s", "something else");
    } else {
        appended = sd_bus_message_append(reply.get(), "i", answer.error);
        if (appended >= 0) appended = appendParameters(reply.get(), answer.parameters);
    }
    if (appended < 0) return appended;
    if (fault.kind == "slow") {
        const auto wait = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
            std::chrono::duration<double>(fault.seconds));
        lateReplies_.push_back({std::chrono::steady_clock::now() + wait, std::move(reply)});
        return 1;
    }
    const int sent = sd_bus_send(bus_.get(), reply.get(), nullptr);
    return sent < 0 ? sent : 1;
}

void DemoHost::sendLateReplies() {
    const auto now = std::chrono::steady_clock::now();
    std::erase_if(lateReplies_, [&](const LateReply& late) {
        if (late.due > now) return false;
        sd_bus_send(bus_.get(), late.reply.get(), nullptr);
        return true;
    });
}

}  // namespace reelsweep::demo

int main(int argc, char** argv) {
    constexpr const char* usage = "usage: reelsweep-demo-host [--open-all] [FOLDER]\n";
    bool openAll = false;
    std::vector<std::string> folders;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--help") {
            std::cout << usage;
            return 0;
        }
        if (argument == "--open-all")
            openAll = true;
        else
            folders.push_back(argument);
    }
    if (folders.size() > 1 || (!folders.empty() && folders[0].starts_with("-"))) {
        std::cerr << usage;
        return 2;
    }
    reelsweep::demo::DemoHost host(folders.empty() ? "." : folders[0]);
    if (openAll && !host.openAll()) return 1;
    return host.run();
}
