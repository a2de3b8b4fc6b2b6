#include "platform/posix/PolkitPrivileges.h"
#include "services/QVAuthorization.h"
#include "services/QVFileManager.h"
#include "services/QVLocalPaths.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/Matching.h"
#include "tests/support/ServiceTest.h"

#include <algorithm>

#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep {
namespace {

namespace fs = std::filesystem;
using test::contentsOf;
using test::pumpUntil;
using test::words;
using test::writeFile;

/// A system that grants or refuses the right, and runs tools as this user when it grants it.
class FakePrivileges : public Privileges {
public:
    explicit FakePrivileges(Answer decision) : decision_(decision) {}
    Answer obtain() override {
        ++asked;
        return decision_;
    }
    Answer obtain(std::string_view user, std::string_view password) override {
        return user == "admin" && password == "right" ? decision_ : Answer::refused;
    }
    void release() override { ++released; }
    Execution execute(const std::string& tool, const std::vector<std::string>& arguments) override {
        LaunchRequest request;
        request.path = tool;
        request.arguments = arguments;
        const auto child = PosixProcessLauncher().launch(request).child;
        return {decision_, child ? child->waitUntilExit() : 99};
    }
    int asked = 0;
    int released = 0;

private:
    const Answer decision_;
};

class Authorization : public test::ServiceTest {
protected:
    explicit Authorization(unsigned user = test::TestHome::ordinaryUser) : ServiceTest(user) {
        use(Privileges::Answer::granted);
    }
    void use(Privileges::Answer decision) {
        auto fake = std::make_unique<FakePrivileges>(decision);
        privileges = fake.get();
        Platform::current().privileges = std::move(fake);
    }
    std::vector<std::string> namesIn(const std::string& folder) const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(home / folder))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    FakePrivileges* privileges = nullptr;
};

TEST_F(Authorization, EveryPathThatLeadsToAProtectedFolderIsRefused) {
    fs::create_directories(home / "Documents/Sub");
    fs::create_directory_symlink(home.path(), home / "homeLink");
    fs::create_directory_symlink("/usr", home / "usrLink");
    fs::create_symlink("loop", home / "loop");
    const std::string name = "/" + fs::path(home.path()).filename().string();
    std::vector<std::string> refused = words(
        "/ // /. /.. /../.. /usr /usr/ /usr// //usr /usr/. /usr/./ /usr/bin/.. /usr/bin/../ "
        "/usr/local/../ /tmp/../usr /./usr /bin /sbin /var /var/ /var/tmp/.. /System /System/ "
        "/System/Library /Applications /Applications/ /Applications/x/.. /Applications/Utilities "
        "/Library/Caches /Library/Documentation /Users/Shared /Users/../Users/Shared/ "
        "/etc /etc/passwd /home /root /boot /boot/grub /lib /lib64 /usr/bin /usr/share/doc "
        "/usr/local /tmp /tmp/");
    for (const std::string& path :
         words("machine/Preferences machine Desktop Desktop/ Documents Documents// "
               "Documents/Sub/.. ./Documents Library Library/Preferences Library/Caches "
               "Applications Applications/Utilities homeLink/ homeLink/Documents "
               "homeLink/Documents/Sub/.. usrLink/ usrLink/. usrLink/bin homeLink/usrLink/"))
        refused.push_back(home / path);
    for (const std::string& path :
         {std::string("/Library/Application Support"), home / "Library/Application Support",
          home.path(), home.path() + "/", home.path() + "/.../..", home.path() + "/.." + name})
        refused.push_back(path);
    // Nothing would be granted either, so that a guard that fails costs nothing but this test.
    use(Privileges::Answer::refused);
    QVAuthorization authorization(true);
    for (const std::string& path : refused) {
        EXPECT_TRUE(QVLocalPaths::leadsToSystemDirectory(path, true)) << path;
        EXPECT_FALSE(authorization.authRemoveFile(path));
        EXPECT_FALSE(authorization.authTrashFile(path));
        EXPECT_FALSE(authorization.authTrashFolderContents(path));
        EXPECT_FALSE(authorization.authMoveFolderContents(path, "/nowhere"));
        EXPECT_FALSE(authorization.authMoveFile(path, "/nowhere"));
        const std::string end = " path " + path + " because it is a system directory.\n";
        EXPECT_EQ(console->take(), "Unable to delete" + end + "Unable to trash" + end +
                                       "Unable to trash folder contents of" + end +
                                       "Unable to move contents of" + end + "Unable to move" + end);
    }
    EXPECT_EQ(privileges->asked, 0);
    // With an exact match a protected folder does not protect what is in it.
    for (const std::string& path :
         {std::string(), std::string("/a"), std::string("/usr/local/bin"), home / "Documents/Sub",
          home / "loop", home / "missing", home / "Documents/../Movies"})
        EXPECT_FALSE(QVLocalPaths::leadsToSystemDirectory(path, true)) << path;
    for (const std::string& path :
         {std::string("/usr/bin"), std::string("/tmp/../var/log/x"), home / "usrLink/bin/true"})
        EXPECT_TRUE(QVLocalPaths::leadsToSystemDirectory(path)) << path;
    EXPECT_FALSE(QVLocalPaths::leadsToSystemDirectory("/tmp/../usr/local/bin/x"));
}

TEST_F(Authorization, ALinkGoesAndWhatItLeadsToStays) {
    QVAuthorization authorization(true);
    fs::create_directories(home / "Documents/kept");
    for (const char* const target : {"/usr", "Documents"}) {
        const auto make = [&] { fs::create_directory_symlink(target, home / "link"); };
        make();
        EXPECT_FALSE(authorization.authTrashFolderContents(home / "link"));
        EXPECT_FALSE(authorization.authMoveFolderContents(home / "link", home / "x"));
        EXPECT_TRUE(authorization.authMoveFile(home / "link", home / "moved"));
        EXPECT_TRUE(authorization.authRemoveFile(home / "moved"));
        make();
        EXPECT_TRUE(authorization.authTrashFile(home / "link"));
        make();
        EXPECT_TRUE(QVFileManager::moveFile(home / "link", home / "moved", false));
        EXPECT_TRUE(QVFileManager::removeFile(home / "moved", false));
        make();
        EXPECT_TRUE(QVFileManager::trashFile(home / "link", false));
        EXPECT_FALSE(filesystem::itemExists(home / "link"));
    }
    EXPECT_TRUE(fs::exists(home / "Documents/kept"));
    // The home's own link stays: it is one of the standard folders.
    fs::create_directories(home / "elsewhere");
    fs::create_directory_symlink("elsewhere", home / "Desktop");
    EXPECT_FALSE(authorization.authRemoveFile(home / "Desktop"));
    EXPECT_FALSE(authorization.authRemoveFile(home / "Documents/../Desktop"));
    EXPECT_TRUE(fs::is_symlink(home / "Desktop"));
}

TEST_F(Authorization, NothingIsWrittenThroughALinkAtTheDestination) {
    QVAuthorization authorization(true);
    fs::create_directories(home / "victim");
    writeFile(home / "victim/file", "kept");
    for (const char* const target : {"victim", "victim/file"}) {
        for (const bool moves : {true, false}) {
            SCOPED_TRACE(std::string(target) + (moves ? " moved" : " copied"));
            writeFile(home / "source", "new");
            fs::remove(home / "place");
            fs::create_symlink(target, home / "place");
            EXPECT_TRUE(moves ? authorization.authMoveFile(home / "source", home / "place")
                              : authorization.authCopyFile(home / "source", home / "place"));
            EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(home / "place")));
            EXPECT_EQ(contentsOf(home / "place"), "new");
            EXPECT_EQ(contentsOf(home / "victim/file"), "kept");
            EXPECT_EQ(namesIn("victim"), std::vector<std::string>{"file"});
        }
    }
}

/// Somebody puts a link in the place of a folder while the dialog stands open.
class SwappingPrivileges final : public FakePrivileges {
public:
    SwappingPrivileges(fs::path folder, fs::path victim)
        : FakePrivileges(Answer::granted), folder_(std::move(folder)), victim_(std::move(victim)) {}
    Execution execute(const std::string& tool, const std::vector<std::string>& arguments) override {
        fs::rename(folder_, folder_.string() + ".away");
        fs::create_directory_symlink(victim_, folder_);
        const Execution execution = FakePrivileges::execute(tool, arguments);
        fs::remove(folder_);
        fs::rename(folder_.string() + ".away", folder_);
        return execution;
    }

private:
    const fs::path folder_;
    const fs::path victim_;
};

TEST_F(Authorization, AFolderThatIsSwappedWhileTheDialogIsOpenIsNotActedIn) {
    const fs::path folder = home / "folder";
    const fs::path victim = home / "victim";
    writeFile(folder / "item", "mine");
    writeFile(victim / "item", "system");
    writeFile(home / "other", "other");
    Platform::current().privileges = std::make_unique<SwappingPrivileges>(folder, victim);
    QVAuthorization authorization(true);
    EXPECT_FALSE(authorization.authRemoveFile(folder / "item"));
    EXPECT_FALSE(authorization.authTrashFile(folder / "item"));
    EXPECT_FALSE(authorization.authMoveFile(folder / "item", home / "taken"));
    EXPECT_FALSE(authorization.authMoveFile(home / "other", folder / "item"));
    EXPECT_FALSE(authorization.authCopyFile(home / "other", folder / "item"));
    EXPECT_FALSE(authorization.authCreateDir(folder / "new/deep"));
    EXPECT_EQ(contentsOf(victim / "item"), "system");
    EXPECT_EQ(contentsOf(folder / "item"), "mine");
    EXPECT_EQ(namesIn("victim"), std::vector<std::string>{"item"});
    EXPECT_EQ(namesIn("folder"), std::vector<std::string>{"item"});
    EXPECT_TRUE(fs::is_empty(home / ".local/share/Trash/info"));
}

TEST_F(Authorization, TheToolsDoTheWorkOnceTheRightIsGranted) {
    QVAuthorization authorization(true);
    EXPECT_FALSE(authorization.isAuthorized());
    EXPECT_TRUE(authorization.authCreateDir(home / "a/b c"));
    EXPECT_TRUE(authorization.isAuthorized());
    writeFile(home / "a/b c/-rf", "1");
    EXPECT_TRUE(authorization.authCopyFile(home / "a/b c", home / "copy"));
    EXPECT_EQ(contentsOf(home / "copy/-rf"), "1");
    fs::create_symlink("nowhere", home / "link");
    EXPECT_TRUE(authorization.authMoveFile(home / "link", home / "moved"));
    EXPECT_TRUE(fs::is_symlink(home / "moved"));
    EXPECT_TRUE(authorization.authRemoveFile(home / "a"));
    EXPECT_FALSE(fs::exists(home / "a"));
    EXPECT_TRUE(authorization.authMoveFolderContents(home / "copy", home.path()));
    EXPECT_EQ(contentsOf(home / "-rf"), "1");
    EXPECT_EQ(privileges->asked, 1);
    // A tool that fails is no success.
    EXPECT_FALSE(authorization.authMoveFile(home / "-rf", home / "no/such/folder/x"));
    EXPECT_EQ(authorization.authExecTask("/bin/sh", {"-c", "exit 5"}), 5);
    EXPECT_EQ(authorization.authExecTask("/no/tool", {}), QVAuthorization::toolMissing);
    EXPECT_EQ(console->take(), "Unable to execute task: path /no/tool doesn't exist\n");
    authorization.authEnd();
    authorization.authEnd();
    EXPECT_EQ(privileges->released, 1);
}

TEST_F(Authorization, ANameThatIsTakenInTheTrashGetsTheTime) {
    QVAuthorization authorization(true);
    for (const char* name : {"clip.mov", "notes"}) {
        for (const char* contents : {"first", "second"}) {
            writeFile(home / name, contents);
            EXPECT_TRUE(authorization.authTrashFile(home / name));
        }
        EXPECT_EQ(contentsOf(home / (".local/share/Trash/files/" + std::string(name))), "first");
    }
    const auto names = namesIn(".local/share/Trash/files");
    ASSERT_EQ(names.size(), 4U);
    EXPECT_TRUE(test::Pattern("clip_[0-9]{14}\\.mov").matches(names[1])) << names[1];
    // Without an extension the name ends in the full stop.
    EXPECT_TRUE(test::Pattern("notes_[0-9]{14}\\.").matches(names[3])) << names[3];
    EXPECT_EQ(contentsOf(home / (".local/share/Trash/files/" + names[1])), "second");
    EXPECT_NE(contentsOf(home / (".local/share/Trash/info/" + names[1] + ".trashinfo"))
                  .find("/clip.mov\n"),
              std::string::npos);
}

TEST_F(Authorization, AFolderIsEmptiedIntoTheTrash) {
    QVAuthorization authorization(true);
    fs::create_directories(home / "empty");
    EXPECT_TRUE(authorization.authTrashFolderContents(home / "empty"));
    EXPECT_TRUE(authorization.authMoveFolderContents(home / "empty", home / "x"));
    EXPECT_EQ(privileges->asked, 0);
    writeFile(home / "full/a", "");
    writeFile(home / "full/.b", "");
    EXPECT_TRUE(authorization.authTrashFolderContents(home / "full"));
    EXPECT_EQ(namesIn("full"), std::vector<std::string>{});
    EXPECT_EQ(namesIn(".local/share/Trash/files"), (std::vector<std::string>{".b", "a"}));
}

TEST_F(Authorization, WithoutTheRightNothingHappens) {
    writeFile(home / "kept", "1");
    use(Privileges::Answer::refused);
    QVAuthorization refused(true);
    EXPECT_FALSE(refused.authRemoveFile(home / "kept"));
    EXPECT_FALSE(refused.authStart("admin", "wrong"));
    EXPECT_EQ(console->take(), "Authorization failed. Invalid username or password\n");
    EXPECT_EQ(logged().back(), "Authorization failed. Invalid username or password");
    EXPECT_FALSE(refused.authStart(std::nullopt, "x"));
    EXPECT_EQ(refused.authExecTask("/bin/sh", {"-c", "exit 0"}), QVAuthorization::notAuthorized);

    QVAuthorization silent(false);
    EXPECT_FALSE(silent.canAuthorize());
    EXPECT_FALSE(silent.authMoveFile(home / "kept", home / "gone"));
    EXPECT_EQ(console->take(), "Unable to authorize\n");

    use(Privileges::Answer::unavailable);
    EXPECT_FALSE(silent.authStart("admin", "right"));
    EXPECT_EQ(console->take(), "Unable to create authRef - error 95\n");
    use(Privileges::Answer::granted);
    EXPECT_TRUE(silent.authStart("admin", "right"));
    EXPECT_TRUE(silent.authMoveFile(home / "kept", home / "moved"));
    EXPECT_FALSE(silent.authMoveFile(std::nullopt, "x"));
    EXPECT_FALSE(silent.authMoveFile("x", std::nullopt));
    EXPECT_FALSE(silent.authCopyFile(std::nullopt, "x"));
    EXPECT_FALSE(silent.authCopyFile("x", std::nullopt));
    EXPECT_EQ(console->take(),
              "Error in authMoveFile: old path is null\nError in authMoveFile: new path is null\n"
              "Error in authCopyFile: old path is null\nError in authCopyFile: new path is null\n");
}

TEST_F(Authorization, ThePolkitToolIsAskedForEachRunAndItsRefusalCounts) {
    // Stands in for the system's tool: runs what it is given, or answers as it does after a
    // refusal.
    // It runs it in root's home folder.
    writeFile(home / "pkexec",
              "#!/bin/sh\necho >> \"$0.asked\"\n[ ! -e \"$0.refuse\" ] || exit 126\n"
              "cd / && exec \"$@\"\n");
    ASSERT_EQ(::chmod((home / "pkexec").c_str(), 0755), 0);
    const auto polkit = [&](const std::string& path) {
        Platform::current().privileges =
            std::make_unique<PolkitPrivileges>(std::make_unique<PosixProcessLauncher>(), path);
    };
    QVAuthorization authorization(true);
    polkit(home / "absent");
    EXPECT_FALSE(authorization.authStart());
    polkit(home / "pkexec");
    writeFile(home / "file", "1");
    EXPECT_TRUE(authorization.authMoveFile(home / "file", home / "moved"));
    EXPECT_EQ(contentsOf(home / "moved"), "1");
    const fs::path before = fs::current_path();
    fs::current_path(home.path());
    EXPECT_TRUE(authorization.authMoveFile("moved", "-f"));
    EXPECT_TRUE(authorization.authMoveFile("-f", "moved"));
    fs::current_path(before);
    EXPECT_EQ(contentsOf(home / "moved"), "1");
    EXPECT_FALSE(authorization.authTrashFolderContents(home / "absent"));
    writeFile(home / "pkexec.refuse", "");
    EXPECT_FALSE(authorization.authRemoveFile(home / "moved"));
    EXPECT_FALSE(authorization.isAuthorized());
    EXPECT_EQ(contentsOf(home / "moved"), "1");
    // Who dismisses the dialog is not asked again for every item of a folder.
    for (const char* const item : {"folder/a", "folder/b"}) writeFile(home / item, "");
    writeFile(home / "pkexec.asked", "");
    fs::create_directory(home / "other");
    EXPECT_FALSE(authorization.authTrashFolderContents(home / "folder"));
    EXPECT_FALSE(authorization.authMoveFolderContents(home / "folder", home / "other"));
    EXPECT_EQ(contentsOf(home / "pkexec.asked"), "\n\n");
}

TEST(UnprivilegedAuthorization, WithoutPolkitAForeignFileStays) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can make a file that is not its user's";
    const test::TestHome home;
    writeFile(home / "foreign/file", "1");
    test::ChildProcess child([&] {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(90);
        QVLog::sharedController().setLoggingDisabled(true);
        Platform::current().privileges = std::make_unique<PolkitPrivileges>(
            std::make_unique<PosixProcessLauncher>(), "/nowhere/pkexec");
        QVAuthorization authorization(true);
        if (authorization.authRemoveFile(home / "foreign/file")) ::_exit(91);
        if (authorization.authExecTask("/bin/sh", {"-c", "exit 0"}) != -1) ::_exit(92);
        ::_exit(0);
    });
    EXPECT_EQ(child.wait(), 0) << child.standardError();
    EXPECT_EQ(contentsOf(home / "foreign/file"), "1");
}

class RootAuthorization : public Authorization {
protected:
    RootAuthorization() : Authorization(test::TestHome::root) {}
};

TEST_F(RootAuthorization, RunsTheToolsWithoutAskingAndGoesOnWhileTheyWork) {
    QVAuthorization authorization(false);
    EXPECT_TRUE(authorization.isAuthorized());
    EXPECT_TRUE(authorization.canAuthorize());
    EXPECT_TRUE(authorization.authStart("anybody", "anything"));
    // It answers true before the tool has done anything, and whatever it does.
    EXPECT_TRUE(authorization.authCreateDir(home / "made/deep"));
    EXPECT_TRUE(pumpUntil([&] { return fs::exists(home / "made/deep"); }));
    writeFile(home / "file", "1");
    EXPECT_TRUE(authorization.authTrashFile(home / "file"));
    EXPECT_TRUE(pumpUntil([&] { return fs::exists(home / ".local/share/Trash/files/file"); }));
    EXPECT_TRUE(authorization.authCopyFile(home / "made", home / "no/such/place"));
    // A removal is over when it answers.
    EXPECT_TRUE(authorization.authRemoveFile(home / "made"));
    EXPECT_FALSE(fs::exists(home / "made"));
    EXPECT_EQ(authorization.authExecTask("/bin/sh", {"-c", "exit 4"}, false), 0);
    EXPECT_EQ(privileges->asked, 0);
    // Told to delete, it removes what stands at the target in the trash; the item stays.
    writeFile(home / "item", "1");
    EXPECT_TRUE(authorization.authTrashFile(home / "item", true));
    EXPECT_TRUE(fs::exists(home / "item"));
    writeFile(home / "folder/a", "");
    EXPECT_TRUE(authorization.authTrashFolderContents(home / "folder", true));
    EXPECT_EQ(namesIn("folder").size(), 0U);
}

}  // namespace
}  // namespace reelsweep
