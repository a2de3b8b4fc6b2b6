// Ctrl-C and sudden death at any moment: no half of a file is ever to be seen.
#include "tests/cli/Program.h"

#include "xml/XMLDocument.h"

#include <gtest/gtest.h>

#include <csignal>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace reelsweep::test {
namespace {

/// Sees a file being created in a folder.
class CreationWatch {
public:
    explicit CreationWatch(const std::string& folder) : descriptor_(::inotify_init1(IN_CLOEXEC)) {
        ::inotify_add_watch(descriptor_, folder.c_str(), IN_CREATE);
    }
    ~CreationWatch() { ::close(descriptor_); }
    CreationWatch(const CreationWatch&) = delete;
    CreationWatch& operator=(const CreationWatch&) = delete;

    /// False when none is created within a minute.
    bool wait() const {
        pollfd waiting{descriptor_, POLLIN, 0};
        return ::poll(&waiting, 1, 60000) == 1;
    }

private:
    int descriptor_;
};

TEST(Interruption, OfARunLeavesNothingBehind) {
    for (const int signal : {SIGINT, SIGTERM}) {
        for (const char* const label : {"Reading", "Initializing", "Removing", "Collapsing"}) {
            SCOPED_TRACE(label);
            // The label may be read when the work is over already.
            Ended ended;
            for (int attempt = 0; attempt < 20 && ended.status != 130; ++attempt) {
                const Workplace workplace(longProject());
                Program program(workplace,
                                {"tidy", "in.xml", "--passes", "all", "--report", "r.json"},
                                {.errorIsTerminal = true});
                ASSERT_TRUE(program.waitForText(label));
                program.send(signal);
                ended = program.wait();
                if (ended.status != 130) continue;
                EXPECT_EQ(workplace.listing(), "in.xml");
                EXPECT_EQ(ended.output, "");
                EXPECT_NE(ended.error.find("interrupted"), std::string::npos);
            }
            EXPECT_EQ(ended.status, 130);
        }
    }
}

// How the program ends when a signal arrives as soon as its output begins to be written.
Ended signalledDuringSave(const Workplace& workplace, int signal,
                          const std::vector<std::string>& arguments) {
    const CreationWatch watch(workplace.path());
    Program program(workplace, arguments);
    EXPECT_TRUE(watch.wait());
    program.send(signal);
    return program.wait();
}

TEST(Interruption, OfASaveLeavesNothingBehind) {
    Ended ended;
    for (int attempt = 0; attempt < 20 && ended.status != 130; ++attempt) {
        const Workplace workplace(longProject());
        ended = signalledDuringSave(workplace, SIGINT, {"tidy", "in.xml"});
        if (ended.status == 130) {
            EXPECT_EQ(workplace.listing(), "in.xml");
            EXPECT_EQ(ended.output, "");
            EXPECT_EQ(ended.error, "reelsweep-cli: in.xml: interrupted; nothing was written\n");
        } else {
            EXPECT_EQ(ended.status, 0);
            EXPECT_EQ(workplace.listing(), "in-Tidied.xml in.xml");
        }
    }
    EXPECT_EQ(ended.status, 130);
}

TEST(SuddenDeath, DuringASaveLeavesTheOldFileOrTheNewOne) {
    const Workplace workplace;
    const std::vector<std::string> arguments{"tidy",    "in.xml",     "--in-place",
                                             "--quiet", "--sequence", "1"};
    std::string contents = longProject();
    bool died = false;
    // Each death comes a little later in the save than the one before.
    for (std::size_t round = 0; round < 6; ++round) {
        workplace.write("in.xml", contents);
        const CreationWatch watch(workplace.path());
        Program program(workplace, arguments);
        ASSERT_TRUE(watch.wait());
        // Reading gives the save some time without sleeping.
        for (std::size_t i = 0; i < round * 2; ++i)
            ASSERT_EQ(workplace.read("in.xml").empty(), false);
        program.send(SIGKILL);
        const Ended ended = program.wait();
        died = died || ended.status == -SIGKILL;

        const std::string now = workplace.read("in.xml");
        if (now != contents) {
            const Result<XMLDocument> whole = XMLDocument::parse(now);
            ASSERT_TRUE(whole) << whole.failure().description();
            EXPECT_NE(now.find("Reel 1-Tidied"), std::string::npos);
        }
    }
    EXPECT_TRUE(died);
}

}  // namespace
}  // namespace reelsweep::test
