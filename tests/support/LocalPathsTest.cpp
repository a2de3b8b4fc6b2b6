#include "services/QVLocalPaths.h"
#include "tests/platform/Matching.h"
#include "tests/support/TestPlatform.h"

#include <gtest/gtest.h>

#include <set>

namespace reelsweep {
namespace {

using test::TestHome;
using test::words;

/// The folders of a system whose user lives in /Users/x.
class FixedFolders : public StandardFolders {
public:
    explicit FixedFolders(unsigned user, std::string userLibrary = "/Users/x/Library")
        : user_(user), userLibrary_(std::move(userLibrary)) {}

    std::optional<std::string> path(StandardDirectory directory,
                                    FolderDomain domain) const override {
        const bool user = domain == FolderDomain::user;
        switch (directory) {
            case StandardDirectory::library:
                if (domain == FolderDomain::system) return "/System/Library";
                return user ? userLibrary_ : "/Library";
            case StandardDirectory::applications:
                return user ? "/Users/x/Applications" : "/Applications";
            case StandardDirectory::documents:
                if (!user) return {};
                return "/Users/x/Documents";
            default: return {};
        }
    }
    std::string homeDirectory() const override { return "/Users/x"; }
    std::string temporaryDirectory() const override { return "/tmp/"; }
    std::string userName() const override { return "x"; }
    unsigned userIdentifier() const override { return user_; }

private:
    unsigned user_;
    std::string userLibrary_;
};

void useFolders(std::unique_ptr<StandardFolders> folders) {
    Platform::current().folders = std::move(folders);
}

TEST(LocalPaths, LibraryFoldersFollowTheDomain) {
    const TestHome home;
    useFolders(std::make_unique<FixedFolders>(1000));
    EXPECT_EQ(QVLocalPaths::prefsDirectory(true), "/Users/x/Library/Preferences");
    EXPECT_EQ(QVLocalPaths::prefsDirectory(false), "/Library/Preferences");
    EXPECT_EQ(QVLocalPaths::logDirectory(true), "/Users/x/Library/Logs");
    EXPECT_EQ(QVLocalPaths::documentDirectory(false), std::nullopt);
    EXPECT_EQ(QVLocalPaths::systemLibraryDirectory(), "/System/Library");
    EXPECT_EQ(QVLocalPaths::trashDirectory(), "/Users/x/.Trash");
}

TEST(LocalPaths, RootsLibraryMovesUnderTheUsersHome) {
    const TestHome home;
    const struct {
        unsigned user;
        const char* systemAnswer;
        const char* expected;
    } rows[] = {
        {0, "/var/root/Library", "/Users/x/Library"},
        {0, "/private/var/root/Library", "/Users/x/Library"},
        {0, "/var/root/private/var/root/Library", "/Users/x/Library"},
        {0, "/Users/x/Library", "/Users/x/Library"},
        {0, "/Users/xy/Library", "/Users/x/Users/xy/Library"},
        {501, "/var/root/Library", "/var/root/Library"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.systemAnswer);
        useFolders(std::make_unique<FixedFolders>(row.user, row.systemAnswer));
        EXPECT_EQ(QVLocalPaths::libraryDirectory(true), row.expected);
        EXPECT_EQ(QVLocalPaths::libraryDirectory(false), "/Library");
    }
}

TEST(LocalPaths, ProtectsSystemFoldersAndNotWhatUsersKeepInTheirs) {
    const TestHome home;
    useFolders(std::make_unique<FixedFolders>(1000));
    // The slash at an end takes the character before it along.
    const struct {
        const char* paths;
        bool protectedExactly;
        bool isProtected;
    } rows[] = {
        {"/ /usr /usr// /usrä/ /Applications /Users/Shared /Users/x /Users/x/Documents "
         "/Users/x/Library/Preferences /Library/Preferences /System/Library /var /bin /sbin "
         "/System /Users/x/Library /Users/x/Applications /Library",
         true, true},
        {"/usr/bin /usr/local /System/x /var/log /private/var/x /bin/x /sbin/x /usr//bin "
         "/usr/. /usr/../home/x /usr/local/ /usr/localx /var/x/ /System/Library/x",
         false, true},
        {"/a /usr/ /usr/local/bin /usrs /Applications/ /Applications/Editor.app "
         "/Users/x/Documents/cut.xml /private/var // /. usr /USR /usr/local/x/ /var/ /variable "
         "/bin/ /binary /sbin/ /System/ /SystemX /private /private/var/ /private/variable "
         "/private/usr/bin /Users /Users/Shared/ /Users/Shared/x /Users/x/ /Users/x/Library/ "
         "/Users/x/Library/Logs /Users/x/Documents/ /Users/y Users/x /Library/ "
         "/Library/Preferences/x.plist /home/x /tmp",
         false, false},
    };
    for (const auto& row : rows) {
        for (const std::string& path : words(row.paths)) {
            SCOPED_TRACE(path);
            EXPECT_EQ(QVLocalPaths::isPathSystemDirectory(path, true), row.protectedExactly);
            EXPECT_EQ(QVLocalPaths::isPathSystemDirectory(path), row.isProtected);
        }
    }
    EXPECT_FALSE(QVLocalPaths::isPathSystemDirectory(""));
}

TEST(LocalPaths, KnowsBackupsByAWholeComponentUnderVolumes) {
    const struct {
        const char* path;
        bool expected;
    } rows[] = {
        {"/Volumes/Backup/Backups.backupdb/x", true},
        {"/Volumes/Backups.backupdb", true},
        {"/Backups.backupdb/x", false},
        {"/Volumes/b/Backups.backupdb2/x", false},
        {"/Volumes/b/MyBackups.backupdb/x", false},
        {"/Volumes", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(QVLocalPaths::isPathOnTimeMachineVolume(row.path), row.expected) << row.path;
}

TEST(LocalPaths, TrailingSlashes) {
    const struct {
        const char* path;
        const char* with;
        const char* without;
    } rows[] = {{"", "", ""},
                {"/", "/", "/"},
                {"/tmp", "/tmp/", "/tmp"},
                {"/tmp/", "/tmp/", "/tmp"},
                {"//", "//", "/"}};
    for (const auto& row : rows) {
        EXPECT_EQ(QVLocalPaths::ensureTrailingSlash(row.path), row.with);
        EXPECT_EQ(QVLocalPaths::stripTrailingSlash(row.path), row.without);
    }
}

TEST(LocalPaths, TemporaryNamesAreNewAndOfTheirForm) {
    const TestHome home;
    useFolders(std::make_unique<FixedFolders>(1000));
    const test::Pattern form(
        "/tmp/[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"
        "[a-z0-9]{8}");
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i) {
        const std::string name = QVLocalPaths::tempFile();
        EXPECT_TRUE(form.matches(name)) << name;
        EXPECT_TRUE(names.insert(name).second) << name;
    }
    EXPECT_EQ(QVLocalPaths::randomString(0), "");
}

}  // namespace
}  // namespace reelsweep
