#include "hosts/QVPremiereEvents.h"

#include "base/AtomicFile.h"
#include "base/Log.h"
#include "hosts/QVPremiere.h"
#include "platform/ApplicationBundle.h"
#include "platform/Platform.h"
#include "services/ConsoleLog.h"
#include "services/QVAlert.h"
#include "services/QVFileManager.h"
#include "services/QVLocalPaths.h"
#include "services/QVTaskEx.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

constexpr const char* notFound = "Premiere Pro not found on this computer.";
constexpr std::chrono::seconds launchWait{3};
constexpr std::chrono::seconds exportStart{5};
constexpr std::chrono::microseconds toolkitEnd{500};
constexpr double toolkitTimeout = 30.0;  // seconds

bool isPremiereRunning() {
    const auto running = Platform::current().workspace->runningApplicationIdentifiers();
    return std::find(running.begin(), running.end(), QVPremiere::identifier) != running.end();
}

std::string applicationsFolder() {
    return QVLocalPaths::applicationDirectory(false).value_or("/Applications");
}

std::string premiereFolder(const std::string& suite) {
    return applicationsFolder() + "/Adobe Premiere Pro CS" + suite;
}

Outcome writeText(const std::string& path, const std::string& text) {
    AtomicFile file(path, Overwrite::never);
    if (Outcome opened = file.open(); !opened) return opened;
    file.write(text);
    return file.commit();
}

void launchPremiere(const std::string& suite) {
    Platform::current().workspace->openApplication(premiereFolder(suite) +
                                                   "/Adobe Premiere Pro CS" + suite + ".app");
    std::this_thread::sleep_for(launchWait);
}

// The file with the script; nothing, said in the log, when it could not be written.
std::optional<std::string> writeScript(const std::string& text) {
    const std::string folder =
        QVLocalPaths::documentDirectory(true).value_or("") + "/Adobe Scripts";
    std::error_code error;
    if (!fs::exists(folder, error)) QVFileManager::createDirectory(folder);
    const std::string path = QVFileManager::uniqueFilename(folder + "/QV_Script.jsx");
    if (const Outcome written = writeText(path, text); !written) {
        Log::append("Unable to write script file to disk: %@", written.failure().description());
        return {};
    }
    return path;
}

// Runs a new toolkit in the background with the script and waits for its end.
void runToolkit(const std::string& suite, const std::string& script) {
    const std::string toolkit =
        QVLocalPaths::adminApplicationDirectory(false).value_or("/Applications/Utilities") +
        "/Adobe Utilities-CS" + suite + ".localized/ExtendScript Toolkit CS" + suite +
        "/ExtendScript Toolkit.app";
#ifdef __APPLE__
    QVTaskEx::runTask("/usr/bin/open", {"-W", "-g", "-n", "-a", toolkit, script}, toolkitTimeout);
#else
    // No program opens application bundles here, so the one inside is run itself.
    if (const auto program = ApplicationBundle::executablePath(toolkit))
        QVTaskEx::runTask(*program, {script}, toolkitTimeout);
#endif
}

}  // namespace

void QVPremiereEvents::openProject(const std::string& path, bool shouldLaunch) {
    executeScript("app.openDocument('" + path + "')", shouldLaunch);
}

void QVPremiereEvents::exportFCPXML(const std::string& path, bool shouldLaunch) {
    executeScript("app.project.exportFinalCutProXML('" + path + "')", shouldLaunch);
    std::this_thread::sleep_for(exportStart);
}

void QVPremiereEvents::openFCPXML(const std::string& path, bool shouldLaunch) {
    executeScript("app.openFCPXML('" + path + "')", shouldLaunch);
}

void QVPremiereEvents::executeScript(const std::string& statement, bool shouldLaunch) {
    createQeObject();
    const QVPremiere::Versions versions = QVPremiere::premiereVersions();
    if (versions.empty()) {
        Log::append(notFound);
        return;
    }
    const std::string suite = QVPremiere::suiteNumber(versions.back());
    if (!isPremiereRunning()) {
        if (!shouldLaunch) {
            Log::append("Error: Premiere Pro is not running.");
            return;
        }
        launchPremiere(suite);
    }
    const std::string version = runningPremiereVersion().value_or("6.0");
    const auto script = writeScript(scriptText(statement, version));
    if (!script) return;
    consoleLog("start");
    runToolkit(suite, *script);
    consoleLog("end");
    std::this_thread::sleep_for(toolkitEnd);
    std::error_code error;
    fs::remove(*script, error);
    if (error) Log::append("Error deleting script: %@", error.message());
}

void QVPremiereEvents::createQeObject() {
    const QVPremiere::Versions versions = QVPremiere::premiereVersions();
    if (versions.empty()) {
        Log::append(notFound);
        return;
    }
    bool created = false;
    for (const std::string& version : versions) {
        const std::string path =
            premiereFolder(QVPremiere::suiteNumber(version)) + "/extendscriptprqe.txt";
        std::error_code error;
        if (fs::exists(path, error)) continue;
        if (const Outcome written = writeText(path, ""); written)
            created = true;
        else
            Log::append("Unable to create qe file: %@", written.failure().description());
    }
    if (created && isPremiereRunning())
        QVAlert::alertSheet("Premiere Pro now configured",
                            "Please close and relaunch Adobe Premiere Pro in order to use it with "
                            "this application.",
                            WindowRef());
}

std::optional<std::string> QVPremiereEvents::runningPremiereVersion() {
    if (!isPremiereRunning()) return {};
    const auto executable =
        Platform::current().workspace->runningExecutable(QVPremiere::identifier);
    if (executable) {
        // BUNDLE/Contents/MacOS/PROGRAM
        const fs::path bundle = fs::path(*executable).parent_path().parent_path().parent_path();
        const std::string version =
            ApplicationBundle::infoValue(bundle.string(), "CFBundleVersion").value_or("");
        if (version.find('.') != std::string::npos) return QVPremiere::twoParts(version);
    }
    Log::append("Unknown Premiere version.");
    return {};
}

std::string QVPremiereEvents::scriptText(const std::string& statement, const std::string& version) {
    return "#target \"premierepro-" + version +
           "\"\n\n"
           "BridgeTalk.prototype.sendSync = function(timeout) {\nvar self = this;"
           "self.onResult = function(res) {\nthis.result = res.body;\nthis.complete = true;\n}"
           "self.complete = false;\nself.send();\n\n"
           "if (timeout) {\nfor (var i = 0; i < timeout; i++) {\n"
           "BridgeTalk.pump(); // process any outstanding messages\n"
           "if (!self.complete) {\n$.sleep(1000);\n} else {\nbreak;\n}\n}\n}"
           "\n\nvar res = self.result;\nself.result = self.complete = self.onResult = undefined;\n"
           "return res;\n};"
           "var bt = new BridgeTalk;\nbt.target = \"premierepro-" +
           version + "\"\nbt.body = \"" + statement +
           "\";bt.onResult = function(obj) {\n};\nbt.sendSync(90);";
}

}  // namespace reelsweep
