// The bridge to Premiere Pro: versions on disk, the script to the letter, and a stand-in toolkit.
#include "hosts/QVFCPProjectController.h"
#include "hosts/QVPremiere.h"
#include "hosts/QVPremiereEvents.h"
#include "platform/PropertyList.h"
#include "platform/posix/SessionBusWorkspace.h"
#include "tests/support/TestPlatform.h"
#include "tests/timeline/Alerts.h"
#include "tests/timeline/LogCapture.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

class PremiereDesk final : public SessionBusWorkspace {
public:
    std::vector<std::string> runningApplicationIdentifiers() const override {
        return executable.empty() ? Strings() : Strings{QVPremiere::identifier};
    }
    std::optional<std::string> applicationPath(std::string_view) const override { return {}; }
    std::optional<std::string> runningExecutable(std::string_view) const override {
        return executable;
    }
    bool openApplication(const std::string& application) override {
        opened = application;
        return true;
    }
    std::string executable;
    std::string opened;
};

class Premiere : public testing::Test {
protected:
    Premiere() {
        folders = std::exchange(Platform::current().folders, nullptr);
        Platform::current().folders = std::make_unique<TestFolders>(
            TestHome::ordinaryUser, applications / "machine", applications.path());
        auto made = std::make_unique<PremiereDesk>();
        desk = made.get();
        Platform::current().workspace = std::move(made);
        shownAlerts().clear();
    }
    ~Premiere() override { Platform::current().folders = std::move(folders); }
    void installBundle(const std::string& path, const PropertyList::Dictionary& info) const {
        ASSERT_FALSE(writePropertyList(applications / (path + "/Contents/Info.plist"), info));
    }
    void installPremiere(const std::string& suite, const std::string& version) const {
        const std::string name = "Adobe Premiere Pro CS" + suite;
        installBundle(name + "/" + name + ".app", {{"CFBundleVersion", version}});
    }
    void run(const std::string& suite) const {
        const std::string name = "Adobe Premiere Pro CS" + suite;
        desk->executable = applications / (name + "/" + name + ".app/Contents/MacOS/Premiere");
    }
    /// A toolkit that keeps the scripts it is handed, and answers an export slowly.
    void installToolkit(const std::string& suite) const {
        const std::string program = applications / ("Utilities/Adobe Utilities-CS" + suite +
                                                    ".localized/ExtendScript Toolkit CS" + suite +
                                                    "/ExtendScript Toolkit.app/Contents/MacOS/"
                                                    "ExtendScript Toolkit");
        // The engine of the toolkit starts a statement after a function's end without a line
        // break, and knows #target; others want help.
        writeFile(program,
                  "#!/bin/bash\n"
                  "cat \"$1\" > '" +
                      applications.path() +
                      "/script'\n"
                      "if command -v node > /dev/null; then\n"
                      "  sed -e '/^#target/d' -e 's/}self/};self/' \"$1\" > '" +
                      applications.path() +
                      "/check.js'\n"
                      "  node --check '" +
                      applications.path() + "/check.js' 2> '" + applications.path() +
                      "/errors'\n"
                      "fi\n"
                      "out=$(sed -n \"s/.*exportFinalCutProXML('\\(.*\\)').*/\\1/p\" \"$1\")\n"
                      "[ -n \"$out\" ] || exit 0\n"
                      "(sleep 1; printf '<xmeml version=\"5\"><sequence>' > \"$out\"; "
                      "sleep 2; cat '" +
                      applications.path() + "/rest' >> \"$out\") &\n");
        fs::permissions(program, fs::perms::owner_all);
    }

    TemporaryFolder applications;
    std::unique_ptr<StandardFolders> folders;
    PremiereDesk* desk = nullptr;
};

TEST_F(Premiere, VersionsAreFoundInBundlesAndConfigurations) {
    installPremiere("5.5", "5.5.2");
    installPremiere("6", "6.0.0");
    installBundle("adobe premiere Elements/adobe premiere Elements.app", {{"Other", "1"}});
    installBundle("Adobe Premiere X/Adobe Premiere X.app",
                  {{"CFBundleVersionString", "7.1"}, {"CFBundleVersion", "1"}});
    installBundle("Adobe Premiere Z/Adobe Premiere Pro Z.app", {{"CFBundleVersion", "8.1.2"}});
    writeFile(applications / "Adobe Premiere Y/Configuration/XManConfig.xml",
              "<Configuration><VariableForExMan><Data key='Other'>1</Data>"
              "<Data key='ProductVersion'>4.2</Data></VariableForExMan></Configuration>");
    writeFile(applications / "Adobe Premiere W/Configuration/XManConfig.xml", "<Configuration/>");
    EXPECT_EQ(QVPremiere::premiereVersions(), (Strings{"5.5.2", "6.0.0", "7.1", "4.2"}));
    EXPECT_EQ(QVPremiere::suiteVersions(), (Strings{"5.5", "6.0", "4.2", "8.1"}));
    EXPECT_EQ(QVPremiere::suiteNumber("6.0"), "6");
    EXPECT_EQ(QVPremiere::suiteNumber("5.5"), "5.5");
}

TEST_F(Premiere, CommandsSayWhyTheyAreDropped) {
    const LogCapture log;
    QVPremiereEvents::openProject("/a.prproj");
    installPremiere("5", "5.0");
    installPremiere("5.5", "5.5");
    QVPremiereEvents::openFCPXML("/a.xml", false);
    EXPECT_EQ(log.lines(), (Strings{"Premiere Pro not found on this computer.",
                                    "Premiere Pro not found on this computer.",
                                    "Error: Premiere Pro is not running."}));
    EXPECT_TRUE(fs::exists(applications / "Adobe Premiere Pro CS5/extendscriptprqe.txt"));
    EXPECT_TRUE(fs::exists(applications / "Adobe Premiere Pro CS5.5/extendscriptprqe.txt"));
    EXPECT_TRUE(shownAlerts().empty());

    installPremiere("6", "6");
    run("6");
    EXPECT_FALSE(QVPremiereEvents::runningPremiereVersion());
    EXPECT_EQ(log.lines().back(), "Unknown Premiere version.");
    fs::remove(applications / "Adobe Premiere Pro CS5/extendscriptprqe.txt");
    QVPremiereEvents::createQeObject();
    QVPremiereEvents::createQeObject();
    EXPECT_EQ(shownAlerts(), Strings{"Premiere Pro now configured: Please close and relaunch Adobe "
                                     "Premiere Pro in order to use it with this application."});
    run("5.5");
    EXPECT_EQ(QVPremiereEvents::runningPremiereVersion(), "5.5");
}

TEST_F(Premiere, ProjectsAreExportedByScriptAndLoaded) {
    installPremiere("5.5", "5.5.2");
    // The suite's own folder is called after the version that is listed last.
    installBundle("Adobe Premiere Pro CS6/Adobe Premiere Pro CS6.app",
                  {{"CFBundleVersion", "6.0"}});
    run("5.5");
    installToolkit("6");
    writeFile(applications / "rest", "<name>Cut</name></sequence></xmeml>");
    QVFCPProjectController controller;
    EXPECT_TRUE(controller.loadXMLFromPremiere("/films/a.prproj"));
    EXPECT_EQ(controller.stringValuesForQuery(".//name"), Strings{"Cut"});
    EXPECT_EQ(contentsOf(applications / "errors"), "");
    const std::string script = contentsOf(applications / "script");
    const std::string before =
        "#target \"premierepro-5.5\"\n\nBridgeTalk.prototype.sendSync = function(timeout) {\n"
        "var self = this;self.onResult = function(res) {\nthis.result = res.body;\n"
        "this.complete = true;\n}self.complete = false;\nself.send();\n\nif (timeout) {\n"
        "for (var i = 0; i < timeout; i++) {\nBridgeTalk.pump(); // process any outstanding "
        "messages\nif (!self.complete) {\n$.sleep(1000);\n} else {\nbreak;\n}\n}\n}\n\n"
        "var res = self.result;\nself.result = self.complete = self.onResult = undefined;\n"
        "return res;\n};var bt = new BridgeTalk;\nbt.target = \"premierepro-5.5\"\n"
        "bt.body = \"app.project.exportFinalCutProXML('";
    EXPECT_EQ(script.substr(0, before.size()), before);
    EXPECT_TRUE(script.ends_with("')\";bt.onResult = function(obj) {\n};\nbt.sendSync(90);"));
    const auto documents =
        Platform::current().folders->path(StandardDirectory::documents, FolderDomain::user);
    EXPECT_TRUE(fs::is_empty(*documents + "/Adobe Scripts"));

    writeFile(applications / "rest", "</xmeml>");
    const LogCapture log;
    EXPECT_FALSE(controller.loadXMLFromPremiere("/films/a.prproj"));
    EXPECT_FALSE(controller.xmlDoc());
    EXPECT_TRUE(log.lines().back().starts_with("Error loading XML data: "));
    EXPECT_TRUE(shownAlerts().back().starts_with("No XML data found: The project may have"));
}

}  // namespace
}  // namespace reelsweep::test
