#include "services/QVSoftwareUpdate.h"
#include "tests/support/ServiceTest.h"

#include <optional>

#include <sys/stat.h>

namespace reelsweep {
namespace {

namespace fs = std::filesystem;
using test::contentsOf;
using test::pumpUntil;
using test::writeFile;

/// A machine whose temporary folder is a test's own too.
class Machine : public test::TestFolders {
public:
    explicit Machine(const std::string& root)
        : TestFolders(test::TestHome::ordinaryUser, root + "/Library", root + "/Applications"),
          temporary_(root + "/temporary") {}
    std::string temporaryDirectory() const override { return temporary_; }

private:
    const std::string temporary_;
};

class SoftwareUpdate : public test::ServiceTest {
protected:
    SoftwareUpdate() {
        Platform::current().folders = std::make_unique<Machine>(home / "machine");
        Platform::current().bundle = std::make_unique<test::FakeBundle>(own);
        fs::create_directories(home / "machine/temporary");
    }

    /// An updater that notes from where and with what it was started.
    void makeUpdater(const std::string& folder, const std::string& version = "1") const {
        const std::string program = folder + "/" + name + "/Contents/MacOS/Updater";
        ASSERT_FALSE(
            writePropertyList(folder + "/" + name + "/Contents/Info.plist",
                              PropertyList::Dictionary{{"CFBundleExecutable", "Updater"}}));
        writeFile(program, "#!/bin/sh\nprintf '%s\\n' " + version + " \"$0\" \"$@\" > '" + started +
                               ".new'\nmv '" + started + ".new' '" + started + "'\n");
        ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
    }
    std::string startedBy(const std::function<void()>& action) const {
        fs::remove(started);
        action();
        EXPECT_TRUE(pumpUntil([&] { return fs::exists(started); }));
        return contentsOf(started);
    }

    const std::string name = "Quorvane Software Update.app";
    const fs::path own = home / "Reelsweep.app";
    const std::string started = home / "started";
    const std::string installed = home / "machine/Applications/Quorvane";
    const std::string copied = home / ("machine/temporary/" + name);
    const std::string preferences = home / "Library/Preferences/com.quorvane.global.plist";
};

TEST_F(SoftwareUpdate, RunsAnInstalledUpdaterInPlaceAndItsOwnFromAFreshCopy) {
    makeUpdater(own / "Contents/MacOS", "2");
    writeFile(copied + "/Contents/left-over", "");
    EXPECT_EQ(startedBy(QVSoftwareUpdate::automaticallyCheckForUpdates),
              "2\n" + copied + "/Contents/MacOS/Updater\n-checkpath\n" + own.string() + "\n");
    EXPECT_FALSE(fs::exists(copied + "/Contents/left-over"));
    makeUpdater(own / "Contents/Resources", "3");
    EXPECT_EQ(startedBy(QVSoftwareUpdate::manualUpdateCheck),
              "3\n" + copied + "/Contents/MacOS/Updater\n");
    makeUpdater(installed);
    fs::remove_all(copied);
    EXPECT_EQ(startedBy(QVSoftwareUpdate::launchSoftwareUpdate),
              "1\n" + installed + "/" + name + "/Contents/MacOS/Updater\n");
    EXPECT_FALSE(fs::exists(copied));
}

TEST_F(SoftwareUpdate, ChecksAtTheStartUnlessANumberSaysNo) {
    makeUpdater(installed);
    struct Row {
        std::optional<PropertyList> value;
        bool checks;
    };
    for (const Row& row : {Row{{}, true}, Row{true, true}, Row{1, true}, Row{"0", true},
                           Row{"NO", true}, Row{false, false}, Row{0, false}, Row{0.0, false}}) {
        if (row.value) {
            ASSERT_FALSE(writePropertyList(
                preferences, PropertyList::Dictionary{{"SUCheckAtStartup", *row.value}}));
        }
        const auto start = [] { QVSoftwareUpdate().awakeFromNib(); };
        if (row.checks) {
            EXPECT_TRUE(startedBy(start).ends_with("\n-checkpath\n" + own.string() + "\n"));
        } else {
            // Without an updater, a check would leave a line in the log.
            fs::rename(installed, installed + ".away");
            start();
            EXPECT_TRUE(logged().empty());
            fs::rename(installed + ".away", installed);
        }
    }
}

TEST_F(SoftwareUpdate, SaysWhatIsMissing) {
    using Texts = std::vector<std::string>;
    const auto said = [this] {
        QVLog::createNewLog("services");
        console->take();
        QVSoftwareUpdate::automaticallyCheckForUpdates();
        Texts texts = logged();
        std::string printed;
        for (const std::string& text : texts) printed += text + "\n";
        EXPECT_EQ(console->take(), printed);
        return texts;
    };
    EXPECT_EQ(said(), (Texts{"Error: unable to find software updater",
                             "Unable to launch Software Update - path doesn't exist"}));
    fs::create_directories(installed + "/" + name);
    EXPECT_EQ(said(), Texts{"Unable to launch Software Update - updater bundle not found."});
    makeUpdater(installed);
    fs::remove(installed + "/" + name + "/Contents/MacOS/Updater");
    EXPECT_EQ(said(), Texts{"Unable to launch Software Update - executable path doesn't exist"});
    // Where no copy can be made, the one inside the program is not run either.
    fs::remove_all(installed);
    makeUpdater(own / "Contents/Resources");
    fs::remove_all(home / "machine/temporary");
    const Texts failed = said();
    ASSERT_EQ(failed.size(), 2U);
    EXPECT_EQ(failed[0], "Error: unable to copy software updater to " + copied +
                             ": No such file or directory");
}

}  // namespace
}  // namespace reelsweep
