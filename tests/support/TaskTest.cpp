#include "services/QVTaskEx.h"
#include "tests/support/ServiceTest.h"

#include <atomic>
#include <csignal>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep {
namespace {

using namespace std::chrono_literals;
using test::pumpUntil;
using Lines = std::vector<std::string>;

constexpr const char* shell = "/bin/sh";

class Task : public test::ServiceTest {};

TEST_F(Task, CapturesOutputElseErrorsToTheEndOfBothStreams) {
    struct Row {
        const char* script;
        std::string result;
    };
    const std::vector<Row> rows{
        {"echo out; echo err >&2", "out\n"},
        {"echo err >&2", "err\n"},
        {":", ""},
        {"printf 'a\\000b'; exit 7", std::string("a\0b", 3)},
        {"echo last; kill -KILL $$", "last\n"},
        {"cat; echo input ended", "input ended\n"},
        // What the program started goes on writing after its end.
        {"(while kill -0 $$ 2>/dev/null && [ $(cut -d' ' -f3 /proc/$$/stat) != Z ]; do :; done;"
         " echo late) & echo early",
         "early\nlate\n"},
        // It is not stopped by the terminal's or this process's ideas about signals.
        {"kill -PIPE $$; echo alive", ""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(QVTaskEx::dataFromTask(shell, {"-c", row.script}), row.result) << row.script;
    EXPECT_EQ(console->take(), "");
}

TEST_F(Task, AChildThatFillsBothPipesNeverStandsStill) {
    const auto data = QVTaskEx::dataFromTask(
        shell, {"-c",
                "head -c 50000000 /dev/zero >&2; head -c 50000000 /dev/zero | tr '\\0' x;"
                "head -c 1000000 /dev/zero >&2"});
    ASSERT_TRUE(data);
    EXPECT_EQ(data->size(), 50000000U);
    EXPECT_EQ(data->find_first_not_of('x'), std::string::npos);
}

TEST_F(Task, ArgumentsEnvironmentAndDescriptorsAreExactlyThoseGiven) {
    EXPECT_EQ(QVTaskEx::dataFromTask("/usr/bin/printf", {"[%s]", "a b", "", "$HOME;*"}),
              "[a b][][$HOME;*]");
    EXPECT_EQ(QVTaskEx::dataFromTask("/usr/bin/env", {}, nullptr,
                                     QVTaskEx::Environment{{"A", "1"}, {"B", ""}}),
              "A=1\nB=\n");
    const int leaky = ::open("/dev/null", O_RDONLY);  // not closed on exec
    const int high = ::fcntl(leaky, F_DUPFD, 77);
    // 3 is the listing itself.
    EXPECT_EQ(QVTaskEx::dataFromTask(shell, {"-c", "cd /proc/$$/fd; echo *"}), "0 1 2 3\n");
    ::close(high);
    ::close(leaky);
}

TEST_F(Task, StreamsThatAreNotCapturedAreNotTheResult) {
    const QVTaskEx::Arguments both{"-c", "echo out; echo err >&2"};
    EXPECT_EQ(QVTaskEx::dataFromTask(shell, {"-c", "echo err >&2"}, nullptr, {}, true, false), "");
    testing::internal::CaptureStdout();
    EXPECT_EQ(QVTaskEx::dataFromTask(shell, both, nullptr, {}, false, true), "err\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "out\n");
}

TEST_F(Task, TextsAreDecoded) {
    struct Row {
        const char* bytes;
        TextEncoding encoding;
        std::string text;
    };
    const std::vector<Row> rows{
        {"caf\\351", TextEncoding::isoLatin1, "café"},
        {"caf\\303\\251", TextEncoding::utf8, "café"},
        {"caf\\216", TextEncoding::macRoman, "café"},
        {"\\376\\377\\000A", TextEncoding::utf16, "A"},
        {"caf\\351!", TextEncoding::ascii, "caf\uFFFD!"},
        {"a\\303", TextEncoding::utf8, "a\uFFFD"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(QVTaskEx::stringFromTask("/usr/bin/printf", {row.bytes}, row.encoding), row.text);
    EXPECT_EQ(QVTaskEx::stringFromTask(shell, {"-c", "echo plain"}), "plain\n");
    EXPECT_EQ(QVTaskEx::stringFromTask("/nowhere", {}, TextEncoding::utf8), "");
}

TEST_F(Task, AnswersHowAProgramEnded) {
    struct Row {
        const char* script;
        int code;
    };
    for (const Row& row : std::vector<Row>{{"exit 0", 0},
                                           {"exit 255", 255},
                                           {"head -c 5000000 /dev/zero; exit 3", 3},
                                           {"kill -SEGV $$", SIGSEGV}})
        EXPECT_EQ(QVTaskEx::terminationCodeFromTask(shell, {"-c", row.script}), row.code);
    EXPECT_TRUE(QVTaskEx::runTask(shell, {"-c", "exit 9"}));
}

TEST_F(Task, RefusesWhatIsNotAnExecutableFile) {
    std::filesystem::create_directories(home / "Player.app/Contents/MacOS");
    test::writeFile(home / "data", "#!/bin/sh\n");
    for (const std::string& path :
         {home / "missing", home / "Player.app", home / "data", std::string("/tmp")}) {
        EXPECT_EQ(QVTaskEx::dataFromTask(path, {}), std::nullopt);
        EXPECT_EQ(QVTaskEx::terminationCodeFromTask(path, {}), -1);
        EXPECT_EQ(QVTaskEx::stringFromTask(path, {}), "");
        EXPECT_FALSE(QVTaskEx::runTask(path, {}));
        QVTaskEx::runTaskAndReturn(path, {});
        const std::string line = "Error: " + path + " is not executable";
        EXPECT_EQ(console->take(),
                  line + "\n" + line + "\n" + line + "\n" + line + "\n" + line + "\n");
        EXPECT_EQ(logged().back(), line);
    }
    // An executable file that is no program passes the check, and starting it fails.
    test::writeFile(home / "noise", std::string("\0\1\2", 3));
    ASSERT_EQ(::chmod((home / "noise").c_str(), 0755), 0);
    EXPECT_EQ(QVTaskEx::dataFromTask(home / "noise", {}), std::nullopt);
    const std::string line = "Exception running task " + (home / "noise") + ": Exec format error";
    EXPECT_EQ(console->take(), line + "\n");
    EXPECT_FALSE(QVTaskEx::runTask(home / "noise", {}));
    EXPECT_FALSE(QVTaskEx::runTask("no/such/program", {}));
    EXPECT_EQ(console->take(), "");
    EXPECT_EQ(logged().back(), "Exception running task no/such/program: No such file or directory");
}

TEST_F(Task, ATimeOutEndsAProgramAndKeepsWhatItWrote) {
    for (const char* script : {"echo begun; exec sleep 3600", "echo begun; sleep 3600; echo whole",
                               "trap '' TERM; echo begun; while :; do sleep 1; done"}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(inBackground([&] {
                      return QVTaskEx::dataFromTask(shell, {"-c", script}, 1.9);
                  }),
                  "begun\n")
            << script;
        EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
        EXPECT_EQ(logged().back(), "Task /bin/sh timed out. Terminating...");
    }
    EXPECT_EQ(inBackground([] {
                  return QVTaskEx::terminationCodeFromTask(shell, {"-c", "exec sleep 3600"}, 1.0);
              }),
              SIGTERM);
    EXPECT_EQ(QVTaskEx::stringFromTask(shell, {"-c", "echo quick"}, 3600.0), "quick\n");
}

TEST_F(Task, ATimeOutComesTooLateForARunOnTheMainThread) {
    // It is delivered on the main thread, which is busy with the run.
    EXPECT_EQ(QVTaskEx::dataFromTask(shell, {"-c", "sleep 1.5; echo whole"}, 1.0), "whole\n");
    EXPECT_TRUE(pumpUntil([] { return Platform::current().mainThread->pumpOne(10ms); }));
    EXPECT_EQ(logged(), Lines{});
}

TEST_F(Task, APlainRunIsNotCutShort) {
    // Its time-out looks for the program in a place where it is not kept.
    inBackground([&] {
        QVTaskEx::runTask(shell, {"-c", "sleep 1.5; : > \"$0\"", home / "whole"}, 1.0);
        return true;
    });
    EXPECT_TRUE(std::filesystem::exists(home / "whole"));
    EXPECT_EQ(logged(), Lines{});
}

class Receiver : public TaskDelegate {
public:
    bool respondsToSelector(std::string_view selector) const override { return selector == "data"; }
    void taskReturnedData(std::string_view, const std::string& data, QVTaskEx& runner,
                          const std::any& given) override {
        onMainThread = Platform::current().mainThread->isMainThread();
        received += data;
        object = given;
        if (data.empty()) ++ends;
        if (data.empty() || stopAtOnce) runner.terminateAsyncTask();
        ++calls;
    }
    std::string received;
    std::any object;
    bool onMainThread = true;
    bool stopAtOnce = false;
    std::atomic<int> ends = 0;
    std::atomic<int> calls = 0;
};

TEST_F(Task, AnAsynchronousRunHandsItsOutputOnAndEndsWithNothing) {
    for (const std::size_t size : {0U, 3000000U}) {
        Receiver receiver;
        const auto runner = QVTaskEx::create();
        runner->asyncDataFromTask(
            shell, {"-c", "echo err >&2; head -c $SIZE /dev/zero"}, &receiver, "data", 42,
            QVTaskEx::Environment{{"SIZE", std::to_string(size)}, {"PATH", "/bin:/usr/bin"}});
        ASSERT_TRUE(pumpUntil(
            [&] { return !runner->theTask() && !runner->delegate() && receiver.calls > 0; }));
        EXPECT_EQ(receiver.received.size(), size);
        EXPECT_EQ(receiver.ends, 1);
        EXPECT_FALSE(receiver.onMainThread);
        EXPECT_EQ(std::any_cast<int>(receiver.object), 42);
        EXPECT_FALSE(runner->object().has_value());
        if (size == 0) {
            EXPECT_EQ(receiver.calls, 1);
        }
    }
}

TEST_F(Task, AnAsynchronousRunCanBeEnded) {
    Receiver receiver;
    receiver.stopAtOnce = true;
    const auto runner = QVTaskEx::create();
    runner->asyncDataFromTask(shell, {"-c", "echo $$; exec sleep 3600"}, &receiver, "data");
    ASSERT_TRUE(pumpUntil([&] { return receiver.calls > 0; }));
    const pid_t process = std::stoi(receiver.received);
    EXPECT_TRUE(pumpUntil([&] { return ::kill(process, 0) != 0; }));
    EXPECT_EQ(receiver.calls, 1);
    EXPECT_FALSE(receiver.object.has_value());
}

/// Ends the run from within, starts another on the same object, and holds the former reader there
/// until the other has said something.
class Restarter : public Receiver {
public:
    void taskReturnedData(std::string_view selector, const std::string& data, QVTaskEx& runner,
                          const std::any& given) override {
        if (std::exchange(first, false)) {
            runner.terminateAsyncTask();
            runner.asyncDataFromTask(shell, {"-c", "echo second; cat \"$0\"; echo third", pipe},
                                     &next, "data");
            while (next.calls == 0) std::this_thread::yield();
            return;
        }
        Receiver::taskReturnedData(selector, data, runner, given);
    }
    bool first = true;
    std::string pipe;
    Receiver next;
};

TEST_F(Task, ARunThatIsStartedAfterTheEndOfAnotherIsItsOwn) {
    Restarter receiver;
    receiver.pipe = home / "pipe";
    ASSERT_EQ(::mkfifo(receiver.pipe.c_str(), 0600), 0);
    const auto runner = QVTaskEx::create();
    runner->asyncDataFromTask(shell, {"-c", "echo first; exec sleep 3600"}, &receiver, "data");
    // The former reader's last call comes while the second program waits for the pipe.
    ASSERT_TRUE(pumpUntil([&] { return receiver.next.calls > 0 && runner.use_count() == 2; }));
    EXPECT_TRUE(runner->theTask());
    test::writeFile(receiver.pipe, "");
    EXPECT_TRUE(pumpUntil([&] { return receiver.next.ends == 1 && runner.use_count() == 1; }));
    EXPECT_EQ(receiver.next.received, "second\nthird\n");
    EXPECT_EQ(receiver.calls, 0);
}

TEST_F(Task, AnAsynchronousRunWithoutAProgramSaysSo) {
    const auto runner = QVTaskEx::create();
    runner->launchAsyncTask();
    EXPECT_EQ(console->take(), "Unable to launch async task - no task set\n");
    Receiver receiver;
    runner->asyncDataFromTask(home / "missing", {}, &receiver, "data");
    ASSERT_TRUE(pumpUntil([&] { return logged().size() == 2; }));
    EXPECT_EQ(logged().back(),
              "Unable to launch async task - task does not exist or is not executable");
    EXPECT_EQ(receiver.calls, 0);
}

}  // namespace
}  // namespace reelsweep
