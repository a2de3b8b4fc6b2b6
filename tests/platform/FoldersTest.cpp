#include "platform/posix/HomeFolders.h"
#include "tests/platform/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

namespace reelsweep {
namespace {

using test::EnvironmentVariable;

TEST(HomeFolders, FollowsHomeAndFallsBackToThePasswdEntry) {
    const passwd* const entry = ::getpwuid(::geteuid());
    ASSERT_TRUE(entry);
    const struct {
        const char* home;
        std::string expected;
    } rows[] = {{"/Users/x", "/Users/x"}, {"/Users/x//", "/Users/x"}, {"/", "/"},
                {nullptr, entry->pw_dir}, {"", entry->pw_dir},        {"relative", entry->pw_dir}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.home ? row.home : "unset");
        const EnvironmentVariable home("HOME", row.home);
        EXPECT_EQ(HomeFolders().homeDirectory(), row.expected);
        EXPECT_EQ(HomeFolders().path(StandardDirectory::library, FolderDomain::user),
                  (row.expected == "/" ? "" : row.expected) + "/Library");
    }
}

TEST(HomeFolders, MovesOnlyDesktopDocumentsAndMoviesToTheUsersOwnNames) {
    const test::TemporaryFolder folder;
    const EnvironmentVariable home("HOME", "/home/x");
    const EnvironmentVariable config("XDG_CONFIG_HOME", folder.path().c_str());
    const struct {
        const char* file;
        const char* desktop;
    } rows[] = {
        {"", "/home/x/Desktop"},
        {"XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n", "/home/x/Schreibtisch"},
        {"  XDG_DESKTOP_DIR = \"/data/Desk top\"  \n", "/data/Desk top"},
        {"XDG_DESKTOP_DIR=\"$HOME/a \\\"b\\\"\"\n", "/home/x/a \"b\""},
        {"XDG_DESKTOP_DIR=\"$HOME/\"\n", "/home/x"},
        {"XDG_DESKTOP_DIR=\"$HOME/one\"\nXDG_DESKTOP_DIR=\"$HOME/two\"\n", "/home/x/two"},
        {"#XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n", "/home/x/Desktop"},
        {"XDG_DESKTOP_DIR=$HOME/unquoted\n", "/home/x/Desktop"},
        {"XDG_DESKTOP_DIR=\"$HOME/open\n", "/home/x/Desktop"},
        {"XDG_DESKTOP_DIR=\"relative\"\nXDG_DESKTOP_DIR_2=\"/other\"\n", "/home/x/Desktop"},
        {"XDG_DESKTOP_DIR=\"$HOMER/x\"\n", "/home/x/Desktop"},
        {"XDG_DOWNLOAD_DIR=\"$HOME/dl\"", "/home/x/Desktop"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        test::writeFile(folder / "user-dirs.dirs", row.file);
        EXPECT_EQ(HomeFolders().path(StandardDirectory::desktop, FolderDomain::user), row.desktop);
    }
    test::writeFile(folder / "user-dirs.dirs",
                    "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\nXDG_VIDEOS_DIR=\"/media/Filme\"\n");
    const HomeFolders folders;
    EXPECT_EQ(folders.path(StandardDirectory::documents, FolderDomain::user), "/home/x/Dokumente");
    EXPECT_EQ(folders.path(StandardDirectory::movies, FolderDomain::user), "/media/Filme");
    EXPECT_EQ(folders.path(StandardDirectory::caches, FolderDomain::user),
              "/home/x/Library/Caches");
}

}  // namespace
}  // namespace reelsweep
