#include "base/AtomicFile.h"
#include "base/FileReplacement.h"
#include "base/UniqueDescriptor.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/xml/FullDisk.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <array>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

namespace reelsweep::test {
namespace {

Outcome save(const std::string& path, std::string_view bytes,
             Overwrite overwrite = Overwrite::always) {
    AtomicFile file(path, overwrite);
    if (Outcome opened = file.open(); !opened) return opened;
    file.write(bytes.substr(0, bytes.size() / 2));
    file.write(bytes.substr(bytes.size() / 2));
    return file.commit();
}

std::size_t filesIn(const TemporaryFolder& folder) {
    const std::filesystem::directory_iterator files(folder.path());
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

TEST(AtomicFile, ReplacesAFileWholeAndKeepsItsPermissions) {
    const TemporaryFolder folder;
    const std::string path = folder / "cut.xml";
    writeFile(path, "old");
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    {
        AtomicFile file(path, Overwrite::always);
        ASSERT_TRUE(file.open());
        ASSERT_TRUE(file.write("new"));
        EXPECT_EQ(contentsOf(path), "old");
        // Without commit the path is left alone.
    }
    EXPECT_EQ(contentsOf(path), "old");
    ASSERT_TRUE(save(path, "new"));
    EXPECT_EQ(contentsOf(path), "new");
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(filesIn(folder), 1u);
}

TEST(AtomicFile, KeepsTheExtendedAttributesOfWhatItReplaces) {
    const TemporaryFolder folder;
    const std::string path = folder / "cut.xml";
    const std::string big(3000, 'x');
    writeFile(path, "old");
    if (setxattr(path.c_str(), "user.com.apple.metadata:tag", "red\0blue", 8, 0) != 0)
        GTEST_SKIP() << "no extended attributes in the temporary folder";
    ASSERT_EQ(setxattr(path.c_str(), "user.empty", "", 0, 0), 0);
    ASSERT_EQ(setxattr(path.c_str(), "user.big", big.data(), big.size(), 0), 0);
    const auto check = [&] {
        std::array<char, 4000> value{};
        EXPECT_EQ(getxattr(path.c_str(), "user.com.apple.metadata:tag", value.data(), value.size()),
                  8);
        EXPECT_EQ(std::string(value.data(), 8), std::string("red\0blue", 8));
        EXPECT_EQ(getxattr(path.c_str(), "user.empty", value.data(), value.size()), 0);
        EXPECT_EQ(getxattr(path.c_str(), "user.big", value.data(), value.size()), 3000);
    };
    ASSERT_TRUE(save(path, "new"));
    EXPECT_EQ(contentsOf(path), "new");
    check();
    FileReplacement small(path);
    small.write("newer");
    ASSERT_FALSE(small.commit(FileReplacement::Durable::no));
    EXPECT_EQ(contentsOf(path), "newer");
    check();
}

TEST(AtomicFile, TheNextSaveRemovesWhatAKilledOneLeft) {
    const TemporaryFolder folder;
    const std::string path = folder / "cut.xml";
    const std::string settings = folder / "settings.plist";
    const pid_t killed = fork();
    if (killed == 0) {
        AtomicFile large(path, Overwrite::always);
        (void)large.open();
        const FileReplacement small(settings);
        raise(SIGKILL);
    }
    waitpid(killed, nullptr, 0);
    ASSERT_EQ(filesIn(folder), 2u);
    // Not ours to remove: of a process that lives, locked by somebody, and of other names.
    const std::string gone = std::to_string(killed);
    const std::string locked = folder / (".cut.xml." + gone + "-7.tmp");
    const int holder = open(locked.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(flock(holder, LOCK_EX), 0);
    std::vector<std::string> kept{locked};
    for (const std::string& name :
         {".cut.xml." + std::to_string(getpid()) + "-77.tmp", ".cut.xml." + gone + ".tmp",
          ".cut.xml." + gone + "-1", ".other.xml." + gone + "-0.tmp", "cut.xml." + gone + "-0.tmp",
          "settings.plist." + gone + "-0.bak", "settings.plist." + gone + "-"}) {
        kept.push_back(folder / name);
        writeFile(kept.back(), "");
    }
    ASSERT_TRUE(save(path, "new"));
    FileReplacement small(settings);
    ASSERT_FALSE(small.commit(FileReplacement::Durable::no));
    EXPECT_EQ(filesIn(folder), kept.size() + 2);
    for (const std::string& name : kept) EXPECT_TRUE(std::filesystem::exists(name)) << name;
    close(holder);
    ASSERT_TRUE(save(path, "newer"));
    EXPECT_FALSE(std::filesystem::exists(locked));
}

TEST(AtomicFile, NeverReplacesAFileThatMayNotBeOverwritten) {
    const TemporaryFolder folder;
    const std::string path = folder / "cut.xml";
    AtomicFile late(path, Overwrite::never);
    ASSERT_TRUE(late.open());
    late.write("late");
    writeFile(path, "first");  // appears while the other is being written
    const Outcome outcome = late.commit();
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.failure().description(), path + ": there is a file already");
    EXPECT_FALSE(save(path, "second", Overwrite::never));
    EXPECT_EQ(contentsOf(path), "first");
    EXPECT_TRUE(save(folder / "other.xml", "x", Overwrite::never));
}

TEST(AtomicFile, RefusesWhenTheFileChangedSinceItWasRead) {
    const TemporaryFolder folder;
    const std::string path = folder / "cut.xml";
    const auto saveExpecting = [&](const FileIdentity& identity) {
        AtomicFile file(path, Overwrite::always);
        EXPECT_TRUE(file.open());
        file.write("mine");
        file.expectUnchanged(identity);
        return file.commit();
    };
    writeFile(path, "read");
    const FileIdentity read = FileIdentity::ofFile(path);
    writeFile(path, "theirs, longer");
    const Outcome changed = saveExpecting(read);
    ASSERT_FALSE(changed);
    EXPECT_EQ(changed.failure().code, FailureCode::outputFailed);
    EXPECT_NE(changed.failure().message.find("changed"), std::string::npos);
    EXPECT_EQ(contentsOf(path), "theirs, longer");

    std::filesystem::remove(path);
    EXPECT_FALSE(saveExpecting(read));
    EXPECT_EQ(filesIn(folder), 0u);

    writeFile(path, "again");
    EXPECT_TRUE(saveExpecting(FileIdentity::ofFile(path)));
    EXPECT_EQ(contentsOf(path), "mine");
}

TEST(AtomicFile, WritesThroughALink) {
    const TemporaryFolder folder;
    writeFile(folder / "real.xml", "old");
    std::filesystem::create_symlink("real.xml", folder / "link.xml");
    ASSERT_TRUE(save(folder / "link.xml", "new"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.xml"));
    EXPECT_EQ(contentsOf(folder / "real.xml"), "new");
}

TEST(AtomicFile, SaysWhyNothingCouldBeWritten) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "sub");
    for (const std::string& path :
         {folder / "absent/cut.xml", folder / "sub", std::string("/dev/null"), std::string()}) {
        SCOPED_TRACE(path);
        const Outcome outcome = save(path, "x");
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.failure().code, FailureCode::outputFailed);
        EXPECT_EQ(outcome.failure().file, path);
        EXPECT_FALSE(outcome.failure().message.empty());
    }
    EXPECT_EQ(filesIn(folder), 1u);
}

TEST(AtomicFile, CopiesPartsOfOtherFilesWhereverTheyAre) {
    const TemporaryFolder folder;
    writeFile(folder / "source", "0123456789");
    // What cannot be copied within the system is sent, and what cannot be sent is read.
    for (const std::string& source : {folder / "source", std::string("/proc/version")}) {
        SCOPED_TRACE(source);
        const std::string bytes = contentsOf(source);
        const UniqueDescriptor from(open(source.c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(lseek(from.get(), 3, SEEK_SET), 3);
        AtomicFile file(folder / "cut.xml", Overwrite::always);
        ASSERT_TRUE(file.open());
        EXPECT_TRUE(file.copyFrom(from.get(), 0, 4));
        file.write("new");
        EXPECT_TRUE(file.copyFrom(from.get(), 4, bytes.size() - 4));
        EXPECT_EQ(lseek(from.get(), 0, SEEK_CUR), 3);
        ASSERT_TRUE(file.commit());
        EXPECT_EQ(contentsOf(folder / "cut.xml"), bytes.substr(0, 4) + "new" + bytes.substr(4));

        AtomicFile tooShort(folder / "short.xml", Overwrite::always);
        ASSERT_TRUE(tooShort.open());
        EXPECT_FALSE(tooShort.copyFrom(from.get(), 4, bytes.size()));
        EXPECT_FALSE(tooShort.commit());
        EXPECT_FALSE(std::filesystem::exists(folder / "short.xml"));
    }
}

TEST(AtomicFile, LeavesTheOldFileWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    const std::string path = folder / "cut.xml";
    writeFile(path, "old");
    const Outcome outcome = [&] {
        const FullDisk fullDisk(4096);
        return save(path, std::string(100'000, 'x'));
    }();
    ASSERT_FALSE(outcome);
    EXPECT_NE(outcome.failure().message.find("could not be written"), std::string::npos);
    EXPECT_EQ(contentsOf(path), "old");
    EXPECT_EQ(filesIn(folder), 1u);
}

}  // namespace
}  // namespace reelsweep::test
