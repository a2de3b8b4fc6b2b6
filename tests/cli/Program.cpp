#include "tests/cli/Program.h"

#include "tests/timeline/Timeline.h"
#include "timeline/QVXMLParser.h"
#include "xml/XMLDocument.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <regex>

namespace reelsweep::test {

namespace fs = std::filesystem;

std::string Workplace::write(const std::string& name, std::string_view contents) const {
    writeFile(folder_ / name, contents);
    return name;
}

bool Workplace::has(const std::string& name) const { return fs::exists(folder_ / name); }

std::string Workplace::listing() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(path())) names.insert(entry.path().filename());
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    return text;
}

Program::Program(const Workplace& workplace, std::vector<std::string> arguments,
                 const Surroundings& surroundings) {
    writeFile(streams_ / "in", surroundings.input);
    if (surroundings.errorIsTerminal) {
        terminal_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (terminal_ < 0 || ::grantpt(terminal_) != 0 || ::unlockpt(terminal_) != 0)
            throw std::runtime_error("no terminal to be had");
    }
    process_ = ::fork();
    if (process_ < 0) throw std::runtime_error("cannot start a process");
    if (process_ == 0) becomeProgram(workplace, arguments, surroundings);
}

void Program::becomeProgram(const Workplace& workplace, const std::vector<std::string>& arguments,
                            const Surroundings& surroundings) const {
    const auto redirect = [](int descriptor, const std::string& path, int flags) {
        const int file = ::open(path.c_str(), flags | O_NOCTTY, 0600);
        if (file < 0 || ::dup2(file, descriptor) < 0) ::_exit(99);
    };
    const std::string output =
        surroundings.outputPath.empty() ? streams_ / "out" : surroundings.outputPath;
    redirect(STDIN_FILENO, streams_ / "in", O_RDONLY);
    redirect(STDOUT_FILENO, output, O_WRONLY | O_CREAT);
    redirect(STDERR_FILENO, terminal_ >= 0 ? ::ptsname(terminal_) : streams_ / "err",
             O_RDWR | O_CREAT);
    if (surroundings.fileSizeLimit > 0) {
        const auto bytes = static_cast<rlim_t>(surroundings.fileSizeLimit);
        const rlimit limit{bytes, bytes};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ::setenv("HOME", workplace.home().c_str(), 1);
    ::setenv("TERM", "xterm", 1);
    std::vector<char*> pointers;
    std::string name = "reelsweep-cli";
    pointers.push_back(name.data());
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    if (::chdir(workplace.path().c_str()) == 0) ::execv(REELSWEEP_CLI, pointers.data());
    ::_exit(99);
}

Program::~Program() {
    if (process_ > 0) {
        send(SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
    if (terminal_ >= 0) ::close(terminal_);
}

// False at the end: reading fails once nobody holds the other side any more.
bool Program::readTerminal() {
    std::array<char, 4096> buffer;
    const ssize_t size = ::read(terminal_, buffer.data(), buffer.size());
    if (size > 0) terminalText_.append(buffer.data(), static_cast<std::size_t>(size));
    return size > 0;
}

bool Program::waitForText(std::string_view text) {
    while (terminalText_.find(text) == std::string::npos)
        if (!readTerminal()) return false;
    return true;
}

void Program::send(int signal) const { ::kill(process_, signal); }

std::vector<pid_t> Program::children() const {
    const std::string process = std::to_string(process_);
    std::ifstream file("/proc/" + process + "/task/" + process + "/children");
    return {std::istream_iterator<pid_t>(file), {}};
}

Ended Program::wait() {
    if (terminal_ >= 0)
        while (readTerminal()) {
        }
    int status = 0;
    ::waitpid(process_, &status, 0);
    process_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
            contentsOf(streams_ / "out"),
            terminal_ >= 0 ? terminalText_ : contentsOf(streams_ / "err")};
}

Ended run(const Workplace& workplace, std::vector<std::string> arguments,
          const Surroundings& surroundings) {
    return Program(workplace, std::move(arguments), surroundings).wait();
}

namespace {

// Gives the sequences of the notation names and uuids of their own.
std::vector<std::string> numbered(const std::vector<std::string>& timelines) {
    std::vector<std::string> sequences;
    for (const std::string& timeline : timelines) {
        std::string xml = sequenceXML(timeline);
        const std::string number = std::to_string(sequences.size() + 1);
        xml.replace(xml.find(">1234<"), 6, ">U" + number + "<");
        xml.replace(xml.find(">Harbour<"), 9, ">Reel " + number + "<");
        sequences.push_back(std::move(xml));
    }
    return sequences;
}

}  // namespace

std::string project(const std::vector<std::string>& timelines) {
    return projectXML(numbered(timelines));
}

std::string sequencesOf(const std::string& bytes) {
    const Result<XMLDocument> document = XMLDocument::parse(bytes);
    if (!document) return document.failure().description();
    std::string text;
    const auto sequences = QVXMLParser::nodesForQuery(".//sequence", document->node());
    for (const XMLNode& sequence : *sequences)
        text += QVXMLParser::nameForNode(sequence).value_or("?") + ": " + notation(sequence) + "\n";
    // The items of a copy have ids of their own; who reads a test wants the names.
    return std::regex_replace(text, std::regex("-Tidied(\\[)"), "$1");
}

std::string withoutProject(const std::vector<std::string>& timelines) {
    std::string xml = "<xmeml version=\"5\">";
    for (const std::string& sequence : numbered(timelines)) xml += sequence;
    return xml + "</xmeml>";
}

const std::string& longProject() {
    static const std::string xml = [] {
        std::string timeline;
        for (const char* const track : {"V1:", "V2:", "V3:"}) {
            timeline += std::string(" ") + track;
            for (int clip = 0; clip < 5000; ++clip)
                timeline += " C[" + std::to_string(clip * 100) + "," +
                            std::to_string(clip * 100 + 60) + ")'M";
        }
        return project(std::vector<std::string>(4, timeline));
    }();
    return xml;
}

}  // namespace reelsweep::test
