#include "services/QVFileManager.h"

#include "platform/posix/LibArchiver.h"
#include "services/QVTaskEx.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/Matching.h"
#include "tests/support/ServiceTest.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <random>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::contentsOf;
using test::writeFile;
using Files = QVFileManager;
using Names = std::vector<std::string>;

/// A system that never grants a right: what a plain attempt cannot do stays undone.
class NoPrivileges : public Privileges {
public:
    Answer obtain() override {
        ++asked;
        return Answer::refused;
    }
    Answer obtain(std::string_view, std::string_view) override { return Answer::refused; }
    void release() override {}
    Execution execute(const std::string&, const std::vector<std::string>&) override { return {}; }
    int asked = 0;
};

class FileManager : public test::ServiceTest {
protected:
    FileManager() : dataHome_("XDG_DATA_HOME", nullptr) {
        auto none = std::make_unique<NoPrivileges>();
        privileges = none.get();
        Platform::current().privileges = std::move(none);
    }
    std::string lastLogged() const {
        const auto texts = logged();
        return texts.empty() ? "" : texts.back();
    }
    std::string trashed(const std::string& name) const {
        return home / (".local/share/Trash/files/" + name);
    }
    NoPrivileges* privileges = nullptr;

private:
    test::EnvironmentVariable dataHome_;
};

TEST_F(FileManager, NamesAreMadeUniqueAndSafe) {
    writeFile(home / "a.txt", "");
    EXPECT_EQ(Files::uniqueFilename(home / "a.txt"), home / "a 2.txt");
    writeFile(home / "a 2.txt", "");
    EXPECT_EQ(Files::uniqueFilename(home / "a.txt"), home / "a 3.txt");
    fs::create_directories(home / "v1.0/b");
    EXPECT_EQ(Files::uniqueFilename(home / "v1.0/b"), home / "v1.0/b 2");
    EXPECT_EQ(Files::uniqueFilename(home / "new"), home / "new");
    struct Row {
        const char* name;
        const char* safe;
        const char* withSlashes;
    };
    for (const Row& row : std::vector<Row>{{".", "", ""},
                                           {".hidden: x/y", "hidden xy", "hidden x/y"},
                                           {" \tplain\n", "plain", "plain"},
                                           {"..a", ".a", ".a"},
                                           {"a:/b", "ab", "a/b"},
                                           {"", "", ""}}) {
        EXPECT_EQ(Files::validateFilename(row.name), row.safe);
        EXPECT_EQ(Files::validateFilename(row.name, false), row.withSlashes);
    }
}

TEST_F(FileManager, SizesAreWrittenInUnitsOf1024) {
    const std::vector<std::pair<double, const char*>> rows{{0, "0 B"},
                                                           {1023, "1023 B"},
                                                           {1024, "1.00 KB"},
                                                           {1048575, "1024.00 KB"},
                                                           {1048576, "1.00 MB"},
                                                           {1073741824, "1.00 GB"},
                                                           {1.5 * 1099511627776, "1.50 TB"}};
    for (const auto& [bytes, text] : rows) EXPECT_EQ(Files::formatFileSize(bytes), text);
}

TEST_F(FileManager, WildcardsFindWhatExistsAndPlainPathsAreAnsweredAsTheyAre) {
    for (const char* name : {"q/[1] ab.x", "q/1 ab.x", "q/üb", "p/a1/x.xml", "p/a2/x.xml",
                             "p/a2/y.txt", "p/b/x.xml", "p/A3/x.xml"})
        writeFile(home / name, "");
    const std::vector<std::pair<std::string, Names>> rows{
        {"p/a*/x.xml", {home / "p/a1/x.xml", home / "p/a2/x.xml"}},
        {"p/a*/*", {home / "p/a1/x.xml", home / "p/a2/x.xml", home / "p/a2/y.txt"}},
        {"p/?*3/*", {home / "p/A3/x.xml"}},
        {"p/*/none*", {}},
        {"q/[1]*b*.?", {home / "q/[1] ab.x"}},
        {"q/?b*", {home / "q/üb"}},
        {"q/*a*b?x*", {home / "q/1 ab.x", home / "q/[1] ab.x"}},
        {"nowhere/plain", {home / "nowhere/plain"}},
        {"/p/b/*", {home / "p/b/x.xml"}},
    };
    for (const auto& [pattern, found] : rows)
        EXPECT_EQ(Files::filesMatchingWildcardPath(pattern, home.path(), true), found) << pattern;
    EXPECT_EQ(Files::filesMatchingWildcardPath((home / "p/b/*").substr(1)),
              Names{home / "p/b/x.xml"});
    EXPECT_EQ(Files::filesMatchingWildcardPath("/no/such"), Names{"/no/such"});
}

TEST_F(FileManager, FoldersAreMadeUnlessTheirVolumeIsMissing) {
    EXPECT_TRUE(Files::createDirectory(home / "a/b/c/"));
    EXPECT_TRUE(Files::createDirectory(home / "a/b/c"));
    EXPECT_TRUE(Files::createDirectory(home / "timed", 5.0));
    EXPECT_FALSE(Files::createDirectory("/Volumes/NoSuchVolume/x"));
    EXPECT_EQ(console->take(), "Unable to create directory. Drive is not mounted.\n");
    writeFile(home / "file", "");
    EXPECT_FALSE(Files::createDirectory(home / "file/sub", false));
    EXPECT_EQ(privileges->asked, 0);
    EXPECT_EQ(lastLogged(), "Error creating folder: Not a directory. Authorizing...");
    EXPECT_FALSE(Files::createDirectory(home / "file/sub"));
    EXPECT_EQ(privileges->asked, 1);
    EXPECT_EQ(Files::createDirectoryStructure(home / "a/b/c", home / "out"),
              home / ("out" + (home / "a/b/c")));
    EXPECT_EQ(Files::createDirectoryStructure(home / "file", home / "out"),
              home / ("out" + home.path()));
    EXPECT_TRUE(fs::is_directory(home / ("out" + (home / "a/b/c"))));
}

TEST_F(FileManager, MovingNeverReplacesOrLosesAnything) {
    writeFile(home / "Movie.mov", "1");
    EXPECT_TRUE(Files::moveFile(home / "Movie.mov", home / "movie.mov"));
    EXPECT_EQ(contentsOf(home / "movie.mov"), "1");
    writeFile(home / "MOVIE.mov", "2");
    EXPECT_FALSE(Files::moveFile(home / "movie.mov", home / "MOVIE.mov", false));
    EXPECT_EQ(contentsOf(home / "movie.mov"), "1");
    EXPECT_EQ(contentsOf(home / "MOVIE.mov"), "2");
    EXPECT_EQ(lastLogged(), "Error moving file from " + (home / "movie.mov") + " to " +
                                (home / "MOVIE.mov") + ": File exists.");
    EXPECT_FALSE(Files::moveFile(home / "movie.mov", home / "no/folder/x"));
    EXPECT_EQ(lastLogged(), "Authorizing...");
    EXPECT_TRUE(Files::moveFile(home / "movie.mov", home / "moved.mov", 5.0));
    EXPECT_TRUE(Files::moveFile(home / "moved.mov", home / "MOVED.mov", 5.0));
    EXPECT_EQ(contentsOf(home / "MOVED.mov"), "1");
}

TEST_F(FileManager, ACopyKeepsContentsLinksPermissionsDatesAndAttributes) {
    writeFile(home / "from/sub/file", "data");
    ASSERT_EQ(::chmod((home / "from/sub/file").c_str(), 0750), 0);
    fs::create_symlink("sub/file", home / "from/link");
    const QVFileManager::Date date(std::chrono::seconds(1'000'000'000));
    EXPECT_TRUE(Files::setModificationDate(date, home / "from/sub/file"));
    const bool attributes = !filesystem::writeAttribute(home / "from/sub/file", "com.x", "väl");
    EXPECT_TRUE(Files::copyFile(home / "from", home / "to"));
    EXPECT_EQ(contentsOf(home / "to/sub/file"), "data");
    EXPECT_EQ(fs::read_symlink(home / "to/link"), "sub/file");
    EXPECT_EQ(fs::status(home / "to/sub/file").permissions(), fs::perms(0750));
    EXPECT_EQ(Files::modificationDateForFile(home / "to/sub/file"), date);
    std::string value;
    if (attributes) {
        EXPECT_FALSE(filesystem::readAttribute(home / "to/sub/file", "com.x", value));
        EXPECT_EQ(value, "väl");
    }
    EXPECT_FALSE(Files::copyFile(home / "from", home / "to"));
    EXPECT_EQ(lastLogged(), "Error copying file: File exists. Authorizing...");
    EXPECT_FALSE(Files::copyFile(home / "from", home / "from/sub/inside", false));
    EXPECT_FALSE(fs::exists(home / "from/sub/inside"));
    EXPECT_FALSE(Files::copyFile(std::nullopt, "x"));
    EXPECT_EQ(lastLogged(), "Error copying file: source path is nil");
    EXPECT_FALSE(Files::copyFile("x", std::nullopt));
    EXPECT_EQ(lastLogged(), "Error copying file x: destination path is nil");
    fs::create_directories(home / "all");
    EXPECT_TRUE(Files::copyContentsOfDirectory(home / "from", home / "all", 5.0));
    EXPECT_EQ(contentsOf(home / "all/sub/file"), "data");
}

TEST_F(FileManager, TheTrashKeepsWhatItNeedsToRestore) {
    for (const char* contents : {"first", "second"}) {
        writeFile(home / "a ü%.txt", contents);
        EXPECT_TRUE(Files::trashFile(home / "a ü%.txt", 5.0));
        EXPECT_FALSE(fs::exists(home / "a ü%.txt"));
    }
    EXPECT_EQ(contentsOf(trashed("a ü%.txt")), "first");
    EXPECT_EQ(contentsOf(trashed("a ü% 2.txt")), "second");
    const std::string note = contentsOf(home / ".local/share/Trash/info/a ü%.txt.trashinfo");
    const std::string start =
        "[Trash Info]\nPath=" + fs::canonical(home.path()).string() + "/a%20%C3%BC%25.txt\n";
    EXPECT_EQ(note.substr(0, start.size()), start);
    EXPECT_TRUE(test::Pattern("DeletionDate=[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\n")
                    .matches(note.substr(std::min(start.size(), note.size()))))
        << note;
    EXPECT_TRUE(Files::trashFile(home / "missing"));
    // A link goes, not what it leads to.
    writeFile(home / "kept", "1");
    fs::create_symlink("kept", home / "link");
    EXPECT_TRUE(Files::trashFile(home / "link"));
    EXPECT_EQ(contentsOf(home / "kept"), "1");
    for (const char* name : {"f/a.log", "f/b.log", "f/c.txt", "f/log"}) writeFile(home / name, "");
    EXPECT_TRUE(Files::trashFilesOfType("log", home / "f"));
    EXPECT_TRUE(Files::trashFilesNamed("log", home / "f"));
    EXPECT_EQ(filesystem::namesIn(home / "f"), Names{"c.txt"});
    EXPECT_TRUE(Files::trashDirectoryContents(home / "f"));
    EXPECT_TRUE(Files::isFolderEmpty(home / "f"));
}

TEST_F(FileManager, ALinkToAFolderCanBeCopiedIntoIt) {
    writeFile(home / "folder/file", "1");
    fs::create_directory_symlink(home / "folder", home / "link");
    EXPECT_TRUE(Files::copyFile(home / "link", home / "folder/link", false));
    EXPECT_EQ(fs::read_symlink(home / "folder/link"), home / "folder");
    EXPECT_FALSE(Files::copyFile(home / "folder", home / "folder/copy", false));
}

TEST_F(FileManager, ProtectedFoldersAreNeitherRemovedNorTrashedNorMoved) {
    fs::create_directories(home / "Documents/Sub");
    fs::create_directory_symlink(home / "Documents", home / "alias");
    for (const std::string& path :
         {home / "Documents", home / "Documents/", home / "Documents/Sub/..", home / "alias/"}) {
        EXPECT_FALSE(Files::removeFile(path)) << path;
        EXPECT_FALSE(Files::trashFile(path)) << path;
        EXPECT_FALSE(Files::moveFile(path, home / "x")) << path;
        EXPECT_EQ(console->take(),
                  "Unable to delete path " + path + " because it is a system directory.\n" +
                      "Unable to trash path " + path + " because it is a system directory.\n" +
                      "Unable to move path " + path + " because it is a system directory.\n");
    }
    EXPECT_TRUE(Files::removeFile(home / "Documents/Sub", 5.0));
    EXPECT_TRUE(Files::removeFile(home / "Documents/Sub"));
    fs::create_directories(home / "left");
    writeFile(home / "left/.DS_Store", "");
    EXPECT_TRUE(Files::removeFolderIfEmpty(home / "left"));
    EXPECT_FALSE(fs::exists(home / "left"));
    writeFile(home / "full/x", "");
    EXPECT_FALSE(Files::removeFolderIfEmpty(home / "full"));
}

TEST_F(FileManager, LockedItemsAreUnlockedForAChangeThatIsMeant) {
    writeFile(home / "locked", "1");
    if (!Files::lockFile(home / "locked")) {
        EXPECT_TRUE(lastLogged().starts_with("Unable to unlock file " + (home / "locked") + ": "));
        GTEST_SKIP() << "the immutable flag cannot be set here: " << lastLogged();
    }
    EXPECT_TRUE(Files::isFileLocked(home / "locked"));
    EXPECT_FALSE(filesystem::remove(home / "locked") == std::error_code());
    EXPECT_TRUE(Files::removeFile(home / "locked"));
    writeFile(home / "folder/a", "");
    EXPECT_TRUE(Files::lockFolder(home / "folder"));
    EXPECT_FALSE(filesystem::remove(home / "folder") == std::error_code());
    EXPECT_TRUE(Files::unlockFolder(home / "folder"));
    EXPECT_FALSE(Files::isFileLocked(home / "folder/a"));
    EXPECT_FALSE(Files::lockFile(home / "missing"));
}

TEST_F(FileManager, WaitsForOtherProgramsSaySo) {
    Files::waitForFileCreation(home / "new", 5);
    EXPECT_EQ(lastLogged(), "File " + (home / "new") + " is not yet created. Waiting...");
    writeFile(home / "new", "1");
    Files::waitForFileCreation(home / "new", 5);
    EXPECT_EQ(logged().size(), 1U);
    using std::chrono::system_clock;
    const auto now = std::chrono::time_point_cast<std::chrono::nanoseconds>(system_clock::now());
    EXPECT_TRUE(Files::setModificationDate(now - 4s, home / "new"));
    Files::waitForFileWrites(home / "new");
    EXPECT_GE(system_clock::now() - now, 1s);
    EXPECT_EQ(logged().size(), 3U);
    EXPECT_EQ(lastLogged(), "File " + (home / "new") + " finished writing.");
    Files::waitForFileWrites(home / "new");
    EXPECT_EQ(logged().size(), 3U);
    Files::waitForFileWrites(home / "new", home / "new");  // a lock file that stays is no obstacle
    EXPECT_EQ(logged().size(), 5U);
}

TEST_F(FileManager, ArchivesAreThoseOfEveryOtherProgram) {
    writeFile(home / "in/täg/clip ü.txt", "contents");
    writeFile(home / "in/tool.sh", "#!/bin/sh\n");
    ASSERT_EQ(::chmod((home / "in/tool.sh").c_str(), 0755), 0);
    fs::create_symlink("täg/clip ü.txt", home / "in/link");
    const QVFileManager::Date date(std::chrono::seconds(1'000'000'000));
    ASSERT_TRUE(Files::setModificationDate(date, home / "in/tool.sh"));
    EXPECT_TRUE(Files::compressFile(home / "in/", home / "out.zip"));
    EXPECT_TRUE(Files::compressFile(home / "in", home / "flat.zip", false));
    EXPECT_EQ(lastLogged(), "");
    for (const char* command :
         {"unzip -q \"$0\" -d \"$1\"", "mkdir \"$1\" && bsdtar -xf \"$0\" -C \"$1\""}) {
        const std::string program = std::string(command).substr(0, 1) == "u" ? "unzip" : "bsdtar";
        const std::string there = home / program;
        ASSERT_EQ(QVTaskEx::dataFromTask("/usr/bin/env", {"LC_ALL=C.UTF-8", "sh", "-c", command,
                                                          home / "out.zip", there}),
                  "");
        EXPECT_EQ(contentsOf(there + "/in/täg/clip ü.txt"), "contents");
        EXPECT_EQ(fs::read_symlink(there + "/in/link"), "täg/clip ü.txt");
        EXPECT_EQ(fs::status(there + "/in/tool.sh").permissions(), fs::perms(0755));
    }
    EXPECT_TRUE(Files::decompressFile(home / "flat.zip", home / "back"));
    EXPECT_EQ(contentsOf(home / "back/link"), "contents");
    EXPECT_TRUE(fs::is_symlink(home / "back/link"));
    EXPECT_EQ(fs::status(home / "back/tool.sh").permissions(), fs::perms(0755));
    EXPECT_EQ(Files::modificationDateForFile(home / "back/tool.sh"), date);
    // An archive within the folder that it is of does not hold itself.
    EXPECT_TRUE(Files::compressFile(home / "in", home / "in/self.zip"));
    EXPECT_TRUE(Files::decompressFile(home / "in/self.zip", home / "self"));
    EXPECT_EQ(filesystem::namesIn(home / "self/in"), filesystem::namesIn(home / "back"));
    // What is there goes to the Trash.
    EXPECT_TRUE(Files::compressFile(home / "in/tool.sh", home / "out.zip"));
    EXPECT_TRUE(Files::decompressFile(home / "out.zip", home / "back"));
    EXPECT_EQ(filesystem::namesIn(home / "back"), Names{"tool.sh"});
    EXPECT_TRUE(fs::exists(trashed("out.zip")));
    EXPECT_TRUE(fs::exists(trashed("back/link")));
}

TEST_F(FileManager, ArchivesThatWouldReachOutsideOrAreBrokenLeaveNothing) {
    // The names are changed in place, so that the archives stay whole.
    const auto tampered = [&](std::string name, const std::string& with) {
        writeFile(home / ("evil/" + name), "x");
        EXPECT_TRUE(Files::compressFile(home / ("evil/" + name), home / "evil.zip"));
        std::string bytes = contentsOf(home / "evil.zip");
        for (std::size_t at = 0; (at = bytes.find(name, at)) != std::string::npos; ++at)
            bytes.replace(at, name.size(), with);
        return bytes;
    };
    const std::vector<std::pair<std::string, std::string>> rows{
        {tampered("AA_escaped", "../escaped"), "would land outside the folder"},
        {tampered("B_absolute", "/absolute!"), "would land outside the folder"},
        {tampered("a_AA_deep", "a/../deep"), "would land outside the folder"},
        {"no archive at all", "Unrecognized archive format"},
    };
    for (const auto& [bytes, reason] : rows) {
        writeFile(home / "bad.zip", bytes);
        EXPECT_FALSE(Files::decompressFile(home / "bad.zip", home / "out/place"));
        EXPECT_NE(lastLogged().find(reason), std::string::npos) << lastLogged();
        EXPECT_EQ(lastLogged().find(home / "bad.zip"), 0U);
        EXPECT_EQ(filesystem::namesIn(home / "out"), Names{});
    }
    EXPECT_FALSE(fs::exists(home / "escaped"));
    EXPECT_FALSE(Files::compressFile(home / "missing", home / "none.zip"));
    EXPECT_EQ(filesystem::namesIn(home / "none.zip"), Names{});
}

TEST(UnprivilegedFiles, AReadOnlyFolderStaysAsItIs) {
    const test::TestHome home;
    writeFile(home / "fixed/file", "1");
    writeFile(home / "own/file", "2");
    // Folders that an ordinary user may enter, and one of the user's own.
    fs::permissions(home.path(), fs::perms(0755));
    fs::permissions(home / "fixed", fs::perms(0555));
    constexpr uid_t nobody = 65534;
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(::chown((home / "own").c_str(), nobody, nobody), 0);
        ASSERT_EQ(::chown((home / "own/file").c_str(), nobody, nobody), 0);
    }
    const test::EnvironmentVariable data("XDG_DATA_HOME", (home / "own/data").c_str());
    const std::string fixed = home / "fixed/file";
    const std::string made = home / "fixed/made";
    const std::string own = home / "own/file";
    test::ChildProcess child([&] {
        if (isRoot && (::setgid(nobody) != 0 || ::setuid(nobody) != 0)) ::_exit(90);
        QVLog::sharedController().setLoggingDisabled(true);
        Platform::current().privileges = std::make_unique<NoPrivileges>();
        const std::vector<bool> successes{
            Files::createDirectory(made),
            Files::createEmptyFile(made),
            Files::copyFile(own, made),
            Files::moveFile(own, made),
            Files::moveFile(fixed, home / "own/moved"),
            Files::removeFile(fixed),
            Files::trashFile(fixed),
            Files::compressFile(own, made),
            Files::copyFileWithProgress(own, made, nullptr),
            // The plain ways do work.
            Files::compressFile(own, home / "own/file.zip"),
            Files::decompressFile(home / "own/file.zip", home / "own/unpacked"),
            Files::decompressFile(home / "own/file.zip", made),
            Files::trashFile(own),
        };
        std::cout << testing::PrintToString(successes) << std::flush;
        ::_exit(0);
    });
    EXPECT_EQ(child.wait(), 0) << child.standardError();
    EXPECT_EQ(child.standardOutput(),
              "{ false, false, false, false, false, false, false, false, false, true, true, "
              "false, true }");
    EXPECT_EQ(filesystem::namesIn(home / "fixed"), Names{"file"});
    EXPECT_EQ(contentsOf(fixed), "1");
    EXPECT_EQ(contentsOf(home / "own/unpacked/file"), "2");
    EXPECT_EQ(contentsOf(home / "own/data/Trash/files/file"), "2");
    fs::permissions(home / "fixed", fs::perms(0755));
}

class Follower : public FileManagerDelegate {
public:
    bool checksumShouldContinue(const std::string& path) override {
        asked.push_back(path);
        return proceed;
    }
    void fileCopyBytesWritten(std::uint64_t bytes, const FileCopySettings&) override {
        written.push_back(bytes);
    }
    bool fileCopyShouldContinue(const FileCopySettings& settings) override {
        EXPECT_EQ(std::any_cast<int>(settings.object), 7);
        return proceed;
    }
    void fileCopyVerificationFailed(const FileCopySettings&, const std::string& file) override {
        failed.push_back(file);
    }
    void fileCopyFinished(const FileCopySettings& settings) override { finished = settings.values; }

    bool proceed = true;
    Names asked;
    Names failed;
    std::vector<std::uint64_t> written;
    PropertyList::Dictionary finished;
};

TEST_F(FileManager, ChecksumsAreThoseOfTheStandards) {
    writeFile(home / "abc", "abc");
    EXPECT_EQ(Files::md5HashForFile(home / "abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(Files::sha1HashForFile(home / "abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(Files::sha512HashForFile(home / "abc")->substr(0, 16), "ddaf35a193617aba");
    Digest sha256(Digest::Kind::sha256);
    EXPECT_EQ(Files::sha256HashWithContext(sha256).substr(0, 16), "e3b0c44298fc1c14");
    EXPECT_EQ(Files::md5HashForFile(home / "missing"), std::nullopt);
    EXPECT_EQ(console->take(), "Error: Unable to open destination file " + (home / "missing") +
                                   ". Aborting hash verification...\n");
    EXPECT_EQ(Files::md5HashForFile(home.path()), std::nullopt);
    EXPECT_EQ(console->take(), "Error reading file " + home.path() + " - aborting...\n");
    writeFile(home / "large", "");
    fs::resize_file(home / "large", 52'428'800);
    Follower follower;
    EXPECT_TRUE(Files::md5HashForFile(home / "large", &follower));
    EXPECT_EQ(follower.asked, Names{home / "large"});
    follower.proceed = false;
    fs::resize_file(home / "large", 40 * 52'428'800ULL);
    EXPECT_EQ(Files::md5HashForFile(home / "large", &follower), std::nullopt);
}

TEST_F(FileManager, AVerifiedCopyGoesToAllPlacesAndReadsThemBack) {
    std::string bytes(45'000'001, 'x');
    for (std::size_t i = 0; i < bytes.size(); i += 997) bytes[i] = static_cast<char>(i);
    writeFile(home / "source", bytes);
    const QVFileManager::Date date(std::chrono::seconds(1'000'000'000));
    ASSERT_TRUE(Files::setModificationDate(date, home / "source"));
    Follower follower;
    EXPECT_TRUE(Files::copyFileWithProgress(home / "source", Names{home / "a/1", home / "b/2"}, 3,
                                            &follower, 7));
    EXPECT_EQ(contentsOf(home / "a/1"), bytes);
    EXPECT_EQ(contentsOf(home / "b/2"), bytes);
    EXPECT_EQ(Files::modificationDateForFile(home / "b/2"), date);
    EXPECT_EQ(follower.written, (std::vector<std::uint64_t>{20'971'520, 41'943'040, 45'000'001}));
    EXPECT_EQ(follower.failed, Names{});
    const std::string checksum = *follower.finished.at("sourceChecksum").as<std::string>();
    EXPECT_EQ(checksum.size(), 64U);
    for (const PropertyList& other :
         *follower.finished.at("destChecksums").as<PropertyList::Array>())
        EXPECT_EQ(*other.as<std::string>(), checksum);
    EXPECT_EQ(*follower.finished.at("operationtype").as<std::string>(), "copy");
    EXPECT_EQ(logged(), Names{});
    // What cannot hold the bytes is told apart from a good copy.
    EXPECT_FALSE(Files::copyFileWithProgress(home / "abc", home / "x", &follower, 7));
    EXPECT_EQ(console->take(),
              "Error: File " + (home / "abc") + " doesn't exist. Aborting copy process...\n");
    EXPECT_FALSE(Files::copyFileWithProgress(home / "source", Names{}, 0, nullptr));
    EXPECT_EQ(console->take(),
              "Error: You must have at least one destination. Aborting copy process...\n");
    EXPECT_FALSE(Files::copyFileWithProgress(home / "source", home / "source", nullptr));
    EXPECT_EQ(contentsOf(home / "source").size(), bytes.size());
    console->take();
    EXPECT_FALSE(Files::copyFileWithProgress(home / "source", "/dev/full", nullptr));
    EXPECT_FALSE(logged().empty());
    EXPECT_EQ(logged().front(), "Error writing file /dev/full: 1");
    follower.proceed = false;
    EXPECT_FALSE(Files::copyFileWithProgress(home / "source", home / "stopped", &follower, 7));
}

TEST_F(FileManager, AFullVolumeIsNoSuccess) {
    fs::create_directories(home / "small");
    if (::mount("tmpfs", (home / "small").c_str(), "tmpfs", 0, "size=256k") != 0)
        GTEST_SKIP() << "no small file system can be mounted here: " << std::strerror(errno);
    std::string bytes(1'000'000, ' ');
    std::mt19937 random;  // NOLINT: the same bytes every time, which no archiver can shrink
    for (char& byte : bytes) byte = static_cast<char>(random());
    writeFile(home / "large", bytes);
    EXPECT_FALSE(Files::copyFile(home / "large", home / "small/copy", false));
    EXPECT_FALSE(Files::moveFile(home / "large", home / "small/moved", false));
    EXPECT_FALSE(Files::compressFile(home / "large", home / "small/full.zip"));
    EXPECT_EQ(lastLogged(), (home / "small/full.zip") + ": No space left on device");
    EXPECT_TRUE(Files::compressFile(home / "large", home / "large.zip"));
    EXPECT_FALSE(Files::decompressFile(home / "large.zip", home / "small/unpacked"));
    EXPECT_EQ(filesystem::namesIn(home / "small"), Names{});
    EXPECT_FALSE(Files::copyFileWithProgress(home / "large", home / "small/v", nullptr));
    EXPECT_EQ(Files::fileSize(home / "large"), 1'000'000U);
    // Between volumes too an item moves whole, and its trash is that of its own volume.
    writeFile(home / "small/v", "tiny");
    EXPECT_TRUE(Files::moveFile(home / "small/v", home / "back"));
    EXPECT_EQ(contentsOf(home / "back"), "tiny");
    writeFile(home / "small/w", "w");
    EXPECT_TRUE(Files::trashFile(home / "small/w"));
    const std::string trash = home / ("small/.Trash-" + std::to_string(::geteuid()));
    EXPECT_EQ(contentsOf(trash + "/files/w"), "w");
    EXPECT_NE(contentsOf(trash + "/info/w.trashinfo").find("\nPath=w\n"), std::string::npos);
    EXPECT_EQ(Files::filesystemForPath(home / "small/not/yet"), "tmpfs");
    EXPECT_EQ(Files::volumeMountPointForPath(home / "small/x"),
              fs::canonical(home / "small").string());
    EXPECT_EQ(::umount((home / "small").c_str()), 0);
}

TEST_F(FileManager, AttributesAreRealAndAppleOnesNeedAnAppleVolume) {
    writeFile(home / "f", "12345");
    EXPECT_EQ(Files::fileSize(home / "f"), 5U);
    EXPECT_TRUE(Files::setPosixPermissions(0640, home / "f"));
    EXPECT_EQ(fs::status(home / "f").permissions(), fs::perms(0640));
    EXPECT_FALSE(Files::setPosixPermissions(0640, home / "missing"));
    EXPECT_EQ(lastLogged(), "Error setting permissions for file " + (home / "missing") +
                                ": No such file or directory");
    EXPECT_TRUE(Files::touchFile(home / "touched"));
    EXPECT_TRUE(Files::createEmptyFile(home / "empty"));
    EXPECT_EQ(Files::fileSize(home / "empty"), 0U);
    EXPECT_FALSE(Files::isMacFilesystemAtPath(home / "f"));
    EXPECT_EQ(Files::metadataValueForKey("k", home / "f"), std::nullopt);
    EXPECT_EQ(lastLogged(),
              "Unable to get Finder metadata - this is not an Apple-formatted drive.");
    EXPECT_FALSE(Files::setMetadataValue("v", "k", home / "f"));
    EXPECT_EQ(lastLogged(),
              "Unable to set Finder metadata - this is not an Apple-formatted drive.");
    Files::removeFinderProgressForFile(home / "f");
    EXPECT_EQ(console->take(),
              "Unable to set Finder progress - this is not an Apple-formatted drive.\n");
    fs::create_directories(home / "Player.app");
    EXPECT_TRUE(Files::isPackageAtPath(home / "Player.app/"));
    EXPECT_FALSE(Files::isPackageAtPath(home.path()));
    if (!Files::setFinderColorIndex(6, home / "f")) GTEST_SKIP() << "no extended attributes here";
    EXPECT_EQ(Files::finderColorIndexForPath(home / "f"), 6);
    EXPECT_EQ(Files::finderColorForPath(home / "f"), Files::finderColorForColorIndex(6));
    EXPECT_TRUE(Files::setFinderColorIndex(0, home / "f"));
    EXPECT_EQ(Files::finderColorForPath(home / "f"), std::nullopt);
    EXPECT_FALSE(Files::setFinderColorIndex(8, home / "f"));
}

}  // namespace
}  // namespace reelsweep
