#include "support/QVLocalPaths.h"
#include "tests/platform/Matching.h"
#include "tests/support/TestPlatform.h"

#include <gtest/gtest.h>

#include <set>

namespace reelsweep {
namespace {

using test::TestHome;

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
    const struct {
        const char* path;
        bool protectedExactly;
        bool isProtected;
    } rows[] = {
        {"/", true, true},
        {"", false, false},
        {"/a", false, false},
        {"/usr", true, true},
        // The slash takes the character before it along.
        {"/usr/", false, false},
        {"/usr//", true, true},
        {"/usrä/", true, true},
        {"/usr/bin", false, true},
        {"/usr/local", false, true},
        {"/usr/local/bin", false, false},
        {"/usrs", false, false},
        {"/Applications", true, true},
        {"/Applications/", false, false},
        {"/Applications/Editor.app", false, false},
        {"/Users/Shared", true, true},
        {"/Users/x", true, true},
        {"/Users/x/Documents", true, true},
        {"/Users/x/Documents/cut.xml", false, false},
        {"/Users/x/Library/Preferences", true, true},
        {"/Library/Preferences", true, true},
        {"/System/Library", true, true},
        {"/System/x", false, true},
        {"/var/log", false, true},
        {"/private/var", false, false},
        {"/private/var/x", false, true},
        {"/bin/x", false, true},
        {"/sbin/x", false, true},
        {"//", false, false},
        {"/.", false, false},
        {"usr", false, false},
        {"/USR", false, false},
        {"/usr//bin", false, true},
        {"/usr/.", false, true},
        {"/usr/../home/x", false, true},
        {"/usr/local/", false, true},
        {"/usr/local/x/", false, false},
        {"/usr/localx", false, true},
        {"/var", true, true},
        {"/var/", false, false},
        {"/var/x/", false, true},
        {"/variable", false, false},
        {"/bin", true, true},
        {"/bin/", false, false},
        {"/binary", false, false},
        {"/sbin", true, true},
        {"/sbin/", false, false},
        {"/System", true, true},
        {"/System/", false, false},
        {"/SystemX", false, false},
        {"/System/Library/x", false, true},
        {"/private", false, false},
        {"/private/var/", false, false},
        {"/private/variable", false, false},
        {"/private/usr/bin", false, false},
        {"/Users", false, false},
        {"/Users/Shared/", false, false},
        {"/Users/Shared/x", false, false},
        {"/Users/x/", false, false},
        {"/Users/x/Library", true, true},
        {"/Users/x/Library/", false, false},
        {"/Users/x/Library/Logs", false, false},
        {"/Users/x/Applications", true, true},
        {"/Users/x/Documents/", false, false},
        {"/Users/y", false, false},
        {"Users/x", false, false},
        {"/Library", true, true},
        {"/Library/", false, false},
        {"/Library/Preferences/x.plist", false, false},
        {"/home/x", false, false},
        {"/tmp", false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(QVLocalPaths::isPathSystemDirectory(row.path, true), row.protectedExactly);
        EXPECT_EQ(QVLocalPaths::isPathSystemDirectory(row.path), row.isProtected);
    }
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
