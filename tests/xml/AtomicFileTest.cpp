#include "base/AtomicFile.h"
#include "base/UniqueDescriptor.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/xml/FullDisk.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <filesystem>

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
