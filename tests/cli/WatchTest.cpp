// A watched folder: what comes in is tidied once, whatever happens in between.
#include "tests/cli/Program.h"
#include "tests/cli/WaitFor.h"

#include "base/AtomicFile.h"
#include "base/UniqueDescriptor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <map>

#include <fcntl.h>
#include <unistd.h>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;

const std::string reel = project({"V1: A[0,100)'M !B[100,200) V2: C[100,150)"});

class Watch : public testing::Test {
protected:
    Watch() { fs::create_directory(workplace / "in"); }

    std::vector<std::string> arguments() const {
        return {"watch", "in", "--output-dir", "out", "--parents", "--settle", "0.05"};
    }
    // The results that are there, whole.
    std::map<std::string, FileIdentity> results() const {
        std::map<std::string, FileIdentity> found;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(workplace / "out", error))
            if (entry.path().extension() == ".xml")
                found.emplace(entry.path().filename().string(),
                              FileIdentity::ofFile(entry.path().string()));
        return found;
    }

    Workplace workplace;
};

TEST_F(Watch, SurvivesBeingKilledAndDoesNothingTwice) {
    constexpr std::size_t count = 12;
    for (std::size_t i = 0; i < count; ++i)
        workplace.write("in/f" + std::to_string(i) + ".xml", reel);
    std::map<std::string, FileIdentity> before;
    for (const std::size_t atLeast : {1U, 2U, 4U, 7U, 9U}) {
        Program program(workplace, arguments());
        ASSERT_TRUE(waitUntil([&] { return results().size() >= atLeast; }));
        program.send(SIGKILL);
        EXPECT_EQ(program.wait().status, -SIGKILL);
        const auto now = results();
        for (const auto& [name, identity] : before) EXPECT_EQ(now.at(name), identity) << name;
        before = now;
    }
    Program program(workplace, arguments());
    ASSERT_TRUE(waitUntil([&] { return results().size() == count; }));
    const auto all = results();
    for (const auto& [name, identity] : before) EXPECT_EQ(all.at(name), identity) << name;
    // One that comes later is tidied, and the others are not looked at again.
    workplace.write("in/late.xml", reel);
    ASSERT_TRUE(waitUntil([&] { return results().contains("late-Tidied.xml"); }));
    program.send(SIGTERM);
    const Ended ended = program.wait();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    const auto last = results();
    EXPECT_EQ(last.size(), count + 1);
    for (const auto& [name, identity] : all) EXPECT_EQ(last.at(name), identity) << name;
    for (const auto& [name, identity] : last)
        EXPECT_EQ(sequencesOf(workplace.read("out/" + name)),
                  sequencesOf(reel) + "Reel 1-Tidied: V1: A[0,100)'M C[100,150)\n");
}

TEST_F(Watch, WaitsUntilAFileIsWholeAndTidiesItAgainWhenItChanges) {
    UniqueDescriptor writer(
        ::open((workplace / "in/slow.xml").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const std::size_t half = reel.size() / 2;
    ASSERT_EQ(::write(writer.get(), reel.data(), half), static_cast<ssize_t>(half));
    Program program(workplace, arguments());
    // Another one comes and goes through, while this one is still open.
    workplace.write("in/quick.xml", reel);
    ASSERT_TRUE(waitUntil([&] { return results().contains("quick-Tidied.xml"); }));
    EXPECT_EQ(results().size(), 1U);
    ASSERT_GT(::write(writer.get(), reel.data() + half, reel.size() - half), 0);
    writer.reset();
    ASSERT_TRUE(waitUntil([&] { return results().contains("slow-Tidied.xml"); }));
    const FileIdentity first = results().at("quick-Tidied.xml");
    workplace.write("new.xml", project({"V1: D[0,9)"}));
    fs::rename(workplace / "new.xml", workplace / "in/quick.xml");
    ASSERT_TRUE(waitUntil([&] { return results().at("quick-Tidied.xml") != first; }));
    program.send(SIGINT);
    EXPECT_EQ(program.wait().status, 0);
    EXPECT_EQ(sequencesOf(workplace.read("out/quick-Tidied.xml")),
              "Reel 1: V1: D[0,9)\nReel 1-Tidied: V1: D[0,9)\n");
}

TEST_F(Watch, TakesABundleWhenAllOfItIsThere) {
    const std::string cut =
        "<fcpxml version=\"1.10\"><library><event><project name=\"P\"><sequence><spine><clip>"
        "<marker value=\"m\"/></clip></spine></sequence></project></event></library></fcpxml>";
    const auto tidied = [&] {
        return FileIdentity::ofFile(workplace / "out/Cut-Tidied.fcpxmld/Info.fcpxml");
    };
    std::vector<std::string> options = arguments();
    options.insert(options.end(), {"--passes", "removeMarkers"});
    fs::create_directory(workplace / "in/Cut.fcpxmld");
    Program program(workplace, options);
    workplace.write("in/quick.xml", reel);
    ASSERT_TRUE(waitUntil([&] { return results().contains("quick-Tidied.xml"); }));
    // The document is there, and something beside it is still being written.
    UniqueDescriptor writer(::open((workplace / "in/Cut.fcpxmld/tracking.bin").c_str(),
                                   O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    workplace.write("in/Cut.fcpxmld/Info.fcpxml", cut);
    workplace.write("in/other.xml", reel);
    ASSERT_TRUE(waitUntil([&] { return results().contains("other-Tidied.xml"); }));
    EXPECT_FALSE(tidied().known());
    ASSERT_EQ(::write(writer.get(), "data", 4), 4);
    writer.reset();
    ASSERT_TRUE(waitUntil([&] { return tidied().known(); }));
    EXPECT_EQ(workplace.read("out/Cut-Tidied.fcpxmld/tracking.bin"), "data");
    EXPECT_EQ(workplace.read("out/Cut-Tidied.fcpxmld/Info.fcpxml").find("<marker"),
              std::string::npos);
    // Written again where it is, and once more as another bundle in its place.
    const FileIdentity first = tidied();
    workplace.write("in/Cut.fcpxmld/Info.fcpxml", cut + "<!-- 2 -->");
    ASSERT_TRUE(waitUntil([&] { return tidied().known() && tidied() != first; }));
    const FileIdentity second = tidied();
    fs::create_directory(workplace / "new");
    workplace.write("new/Info.fcpxml", cut + "<!-- 3 -->");
    fs::rename(workplace / "in/Cut.fcpxmld", workplace / "old");
    fs::rename(workplace / "new", workplace / "in/Cut.fcpxmld");
    ASSERT_TRUE(waitUntil([&] { return tidied().known() && tidied() != second; }));
    program.send(SIGTERM);
    EXPECT_EQ(program.wait().status, 0);
    EXPECT_NE(workplace.read("out/Cut-Tidied.fcpxmld/Info.fcpxml").find("3"), std::string::npos);
}

TEST_F(Watch, SetsABrokenFileAsideAndSparesWhatIsNotItsOwn) {
    fs::create_directory(workplace / "out");
    workplace.write("in/broken.xml", "<xmeml>\n<project>");
    workplace.write("in/taken.xml", reel);
    workplace.write("out/taken-Tidied.xml", "precious");
    workplace.write("in/z.xml", reel);
    Program program(workplace, arguments());
    ASSERT_TRUE(waitUntil([&] { return results().contains("z-Tidied.xml"); }));
    program.send(SIGTERM);
    const Ended ended = program.wait();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(workplace.read("in/Set Aside/broken.xml"), "<xmeml>\n<project>");
    EXPECT_EQ(workplace.read("in/Set Aside/broken.xml.txt"),
              "in/broken.xml:2:10: the file ends too early\n");
    EXPECT_FALSE(workplace.has("in/broken.xml"));
    EXPECT_EQ(workplace.read("out/taken-Tidied.xml"), "precious");
    EXPECT_NE(ended.error.find("out/taken-Tidied.xml: there is a file already"), std::string::npos);
}

TEST_F(Watch, RefusesWhatWouldNotWork) {
    const Ended noFolder = run(workplace, {"watch", "in", "--output-dir", "missing"});
    EXPECT_EQ(noFolder.status, 4);
    EXPECT_EQ(noFolder.error,
              "reelsweep-cli: missing: there is no such folder; --parents makes it\n");
    const Ended noInput = run(workplace, {"watch", "nowhere", "--output-dir", "out", "--parents"});
    EXPECT_EQ(noInput.status, 3);
    EXPECT_EQ(run(workplace, {"watch", "in"}).status, 2);
    workplace.write("out/.reelsweep-watch.json", "{");
    const Ended broken = run(workplace, arguments());
    EXPECT_EQ(broken.status, 3);
    EXPECT_EQ(workplace.read("out/.reelsweep-watch.json"), "{");
}

}  // namespace
}  // namespace reelsweep::test
