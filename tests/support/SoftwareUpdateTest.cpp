#include "services/QVSoftwareUpdate.h"
#include "tests/platform/Matching.h"
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
        fs::create_directories(temporary);
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
    const std::string temporary = home / "machine/temporary";
    const std::string preferences = home / "Library/Preferences/com.quorvane.global.plist";
};

TEST_F(SoftwareUpdate, RunsAnInstalledUpdaterInPlaceAndItsOwnFromACopyThatIsNobodyElses) {
    makeUpdater(own / "Contents/MacOS", "2");
    // What others put under the known name is in nobody's way.
    writeFile(temporary + "/" + name + "/Contents/left-over", "");
    const std::string first = startedBy(QVSoftwareUpdate::automaticallyCheckForUpdates);
    const test::Pattern form("2\n" + temporary +
                             "/Quorvane Software Update\\.[A-Za-z0-9]{6}/Quorvane Software "
                             "Update\\.app/Contents/MacOS/Updater\n-checkpath\n" +
                             own.string() + "\n");
    EXPECT_TRUE(form.matches(first)) << first;
    const std::string program = first.substr(2, first.find('\n', 2) - 2);
    const fs::path folder = fs::path(program.substr(0, program.find(".app/"))).parent_path();
    struct stat status {};
    ASSERT_EQ(::stat(folder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
    // Another check leaves it alone until it is old and its updater has ended.
    makeUpdater(own / "Contents/Resources", "3");
    const std::string second = startedBy(QVSoftwareUpdate::manualUpdateCheck);
    EXPECT_TRUE(second.starts_with("3\n" + temporary + "/")) << second;
    EXPECT_EQ(second.find(folder.string()), std::string::npos);
    EXPECT_TRUE(fs::exists(program));
    const auto age = [&] {
        fs::last_write_time(folder, fs::file_time_type::clock::now() - std::chrono::hours(1));
    };
    LaunchRequest user;
    user.path = "/usr/bin/tail";
    user.arguments = {"-f", program};
    user.output = ChildStream::pipe;
    const auto running = PosixProcessLauncher().launch(user).child;
    ASSERT_TRUE(running);
    // Once it writes, its arguments can be seen.
    ASSERT_TRUE(running->readAvailable());
    age();
    (void)QVSoftwareUpdate::updaterPath();
    EXPECT_TRUE(fs::exists(program));
    running->stopReading();
    running->terminate();
    running->waitUntilExit();
    age();
    (void)QVSoftwareUpdate::updaterPath();
    EXPECT_FALSE(fs::exists(folder));

    makeUpdater(installed);
    fs::remove_all(temporary);
    EXPECT_EQ(startedBy(QVSoftwareUpdate::launchSoftwareUpdate),
              "1\n" + installed + "/" + name + "/Contents/MacOS/Updater\n");
    EXPECT_FALSE(fs::exists(temporary));
}

TEST_F(SoftwareUpdate, NothingThatSomebodyElseCanChangeIsStarted) {
    makeUpdater(installed);
    const std::string program = installed + "/" + name + "/Contents/MacOS/Updater";
    const auto refused = [&] {
        QVLog::createNewLog("services");
        QVSoftwareUpdate::automaticallyCheckForUpdates();
        const bool manual = QVSoftwareUpdate::launchSoftwareUpdate();
        const std::string line =
            "Unable to launch Software Update - somebody else can change " + program;
        return !manual && logged() == std::vector<std::string>{line, line};
    };
    for (const std::string& item : {program, installed}) {
        const fs::perms before = fs::status(item).permissions();
        fs::permissions(item, fs::perms::others_write, fs::perm_options::add);
        EXPECT_TRUE(refused()) << item;
        fs::permissions(item, before);
    }
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(program.c_str(), 65534, 0), 0);
        EXPECT_TRUE(refused());
    }
    EXPECT_FALSE(fs::exists(started));
    // A path in place of the program's name leads elsewhere.
    const std::string elsewhere = installed + "/" + name + "/Contents/elsewhere";
    writeFile(elsewhere, "");
    ASSERT_FALSE(
        writePropertyList(installed + "/" + name + "/Contents/Info.plist",
                          PropertyList::Dictionary{{"CFBundleExecutable", "../elsewhere"}}));
    QVLog::createNewLog("services");
    QVSoftwareUpdate::automaticallyCheckForUpdates();
    EXPECT_EQ(logged(), std::vector<std::string>{
                            "Unable to launch Software Update - executable path doesn't exist"});
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
    fs::remove_all(temporary);
    writeFile(temporary, "no folder");
    const Texts failed = said();
    ASSERT_EQ(failed.size(), 2U);
    EXPECT_TRUE(failed[0].starts_with("Error: unable to copy software updater to " + temporary));
}

}  // namespace
}  // namespace reelsweep
