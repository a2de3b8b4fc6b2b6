#include "services/QVException.h"
#include "services/QVLog.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/Matching.h"
#include "tests/support/TestPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <functional>
#include <list>
#include <set>
#include <sstream>
#include <thread>

#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace reelsweep {
namespace {

using test::ChildProcess;
using test::contentsOf;
using test::Pattern;
using test::TestHome;
using test::writeFile;

// The log belongs to the whole process, so each test logs in processes of its own.

/// The texts of a log file's entries, each line checked for its date.
std::vector<std::string> entriesIn(const std::string& path) {
    constexpr std::size_t prefixBytes = std::string_view("2026-01-31 14:05:09 +0000 - ").size();
    const Pattern form("[0-9]{4}(-[0-9]{2}){2} [0-9]{2}(:[0-9]{2}){2} \\+0000 - ");
    std::vector<std::string> texts;
    std::istringstream file(contentsOf(path));
    for (std::string line; std::getline(file, line);) {
        const std::string prefix = line.substr(0, prefixBytes);
        EXPECT_TRUE(form.matches(prefix)) << line;
        texts.push_back(line.substr(prefix.size()));
    }
    return texts;
}

std::string logFile(const TestHome& home, const std::string& name, int number = 1) {
    return home / ("Library/Logs/Quorvane/" + name + "." + std::to_string(number) + ".log");
}

/// Runs the function with a new log named "app" and answers the entries after the header.
std::vector<std::string> logged(const std::function<void()>& body,
                                std::string* standardOutput = nullptr) {
    const TestHome home;
    ChildProcess child([&] {
        QVLog::createNewLog("app");
        QVLog::finishWriting();
        body();
        QVLog::finishWriting();
    });
    EXPECT_EQ(child.wait(), 0) << child.standardError();
    if (standardOutput) *standardOutput = child.standardOutput();
    std::vector<std::string> texts = entriesIn(logFile(home, "app"));
    const auto header = std::find(texts.begin(), texts.end(), "Running in 64-bit mode");
    if (header == texts.end()) {
        ADD_FAILURE() << "no header";
        return {};
    }
    return {header + 1, texts.end()};
}

/// A log whose file cannot be written yet: a pipe that nobody reads.
class StuckLog {
public:
    StuckLog() : path_(logFile(home, "app")) {
        std::filesystem::create_directories(std::filesystem::path(path_).parent_path());
        EXPECT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    }
    /// Reads what comes until the writer closes.
    std::string read() const { return contentsOf(path_); }

    TestHome home;

private:
    std::string path_;
};

TEST(Log, AFreshLogStartsWithWhatRunsWhere) {
    const TestHome home;
    ChildProcess child([] { QVLog::createNewLog("app"); });
    ASSERT_EQ(child.wait(), 0);
    EXPECT_EQ(child.standardOutput(), "");
    const std::vector<std::string> texts = entriesIn(logFile(home, "app"));
    const char* const patterns[] = {
        "Log started: [0-9 :-]+ \\+0000", "Version: [0-9.]+", "Path: /.*reelsweep_support_tests",
        "System: macOS .+, [0-9]+ CPU\\(s\\), [0-9]+\\.[0-9]{2} GB RAM", "Running in 64-bit mode"};
    ASSERT_EQ(texts.size(), std::size(patterns));
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_TRUE(Pattern(patterns[i]).matches(texts[i])) << texts[i];
}

TEST(Log, FormatsKeepStrayPercentSignsAndTextsLoseBlankEnds) {
    const std::string none;
    const struct {
        std::function<void()> append;
        const char* expected;  ///< null: no entry
    } rows[] = {
        {[] { QVLog::fastAppendLog("100% of %i, 5%.", 3); }, "100% of 3, 5%."},
        {[] { QVLog::appendLog("%@%, %d%% %d", "a", 1, 2); }, "a%, 1% 2"},
        {[] { QVLog::fastAppendLog("%.2f", 1.0); }, "%.2f"},
        {[] { QVLog::fastAppendLog(" \t in\n"); }, "in"},
        {[] { QVLog::fastAppendLog("%@", " \n\t "); }, nullptr},
        {[] { QVLog::fastAppendLog(std::string_view()); }, nullptr},
        {[] { QVLog::debugPrint("never"); }, nullptr},
        {[] { QVLog::appendLogAndDebugPrint("%@ %@", "x", "y%d"); }, "x y"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expected ? row.expected : "(nothing)");
        std::vector<std::string> expected;
        if (row.expected) expected.emplace_back(row.expected);
        std::string output;
        EXPECT_EQ(logged(row.append, &output), expected);
        EXPECT_EQ(output, "");
    }
}

TEST(Log, EscapesOnlyPercentSignsThatNoDirectiveFollows) {
    const struct {
        const char* text;
        const char* expected;
    } rows[] = {
        {"none", "none"},
        {"%@ %d %li %0.2f %%", "%@ %d %li %0.2f %%"},
        {"a% b%.c%!d%,e%-f%;g%:h%+", "a%% b%%.c%%!d%%,e%%-f%%;g%%:h%%+"},
        {"done%% now", "done%% now"},
        {"%%%", "%%"},
        {"%%%%%%", "%%%%"},
        {"end%", "end%"},
    };
    for (const auto& row : rows) EXPECT_EQ(QVLog::escapeTextForLogging(row.text), row.expected);
}

TEST(Log, EchoesDoublePercentSignsAndDropsPlaceholders) {
    std::string output;
    const auto texts = logged(
        [] {
            QVLog::appendLogAndPrint(" %i%% of %@\n", 50, "\"%@ 7% x\"");
            QVLog::appendLogAndPrint("%@", std::string_view("a\0b", 3));
            QVLog::sharedController().setNoPrinting(true);
            QVLog::appendLogAndPrint("quiet");
        },
        &output);
    // What was formatted serves as a format once more.
    EXPECT_EQ(texts,
              (std::vector<std::string>{"50% of \" 7% x\"", std::string("a\0b", 3), "quiet"}));
    EXPECT_EQ(output, "50%% of \" 7%% x\"\nab\n");
}

TEST(Log, SixLaunchesLeaveTheFiveNewestFiles) {
    const TestHome home;
    for (int launch = 1; launch <= 6; ++launch) {
        ChildProcess child([&] {
            QVLog::createNewLog("app");
            QVLog::fastAppendLog("launch %i", launch);
            QVLog::finishWriting();
            if (launch < 6) return;
            std::string logs;
            for (const std::string& path : QVLog::availableLogs()) logs += path + "\n";
            Platform::current().console->print(logs);
        });
        ASSERT_EQ(child.wait(), 0);
        std::string all;
        for (int number = 1; number <= 5; ++number) all += logFile(home, "app", number) + "\n";
        EXPECT_EQ(child.standardOutput(), launch < 6 ? "" : all);
    }
    for (int number = 1; number <= 5; ++number)
        EXPECT_EQ(entriesIn(logFile(home, "app", number)).back(),
                  "launch " + std::to_string(7 - number));
    EXPECT_FALSE(std::filesystem::exists(logFile(home, "app", 6)));
}

TEST(Log, TheNameIsTheFirstThatWasGiven) {
    const struct {
        std::function<void()> start;
        const char* name;
    } rows[] = {
        {[] { QVLog::createNewLog(); }, "reelsweep_support_tests"},
        {[] { QVLog::createNewLog(""); }, "Unknown"},
        {[] {
             QVLog::createNewLog("first");
             QVLog::createNewLog("second");
         },
         "first"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const TestHome home;
        ChildProcess child(row.start);
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(entriesIn(logFile(home, row.name)).size(), 5u);
        EXPECT_FALSE(std::filesystem::exists(logFile(home, "second")));
    }
}

TEST(Log, ThePreferenceOfAllProgramsSwitchesItOff) {
    const struct {
        PropertyList value;
        bool disabled;
    } rows[] = {{"1", true},  {true, true},    {1, true},  {1.0, true},   {"yes", false},
                {"2", false}, {"true", false}, {2, false}, {false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const TestHome home;
        ASSERT_FALSE(writePropertyList(home / "Library/Preferences/com.quorvane.global.plist",
                                       PropertyList::Dictionary{{"disable-logging", row.value}}));
        ChildProcess child([] {
            QVLog::createNewLog("app");
            QVLog::appendLogAndPrint("text");
        });
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(child.standardOutput(), row.disabled ? "Logging is disabled\n" : "text\n");
        EXPECT_EQ(std::filesystem::exists(logFile(home, "app")), !row.disabled);
    }
}

TEST(Log, SaysWhatItCannotDoAndLetsTheProgramGoOn) {
    const struct {
        const char* name;
        std::function<void(const TestHome&)> obstacle;
        bool createNew;
        const char* output;  ///< with HOME for the home folder
    } rows[] = {
        {"a file where the folder should be",
         [](const TestHome& home) { writeFile(home / "Library", ""); }, true,
         "Unable to create folder HOME/Library/Logs/Quorvane.\n"
         "Unable to log the following information: text\nUnable to open log for output\n"},
        {"a folder that cannot be replaced",
         [](const TestHome& home) {
             for (const int number : {1, 4}) writeFile(logFile(home, "app", number), "");
             writeFile(logFile(home, "app", 5) + "/in the way", "");
         },
         true,
         "Unable to move file HOME/Library/Logs/Quorvane/app.4.log to "
         "HOME/Library/Logs/Quorvane/app.5.log.\n"},
        {"no log yet", [](const TestHome&) {}, false,
         "Unable to log the following information: text\nUnable to open log for output\n"},
        {"a full disk",
         [](const TestHome& home) {
             std::filesystem::create_directories(home / "Library/Logs/Quorvane");
             std::filesystem::create_symlink("/dev/full", logFile(home, "app"));
         },
         false, "Exception writing to log: No space left on device\n"},
    };
    for (const auto& row : rows) {
        for (const bool noPrinting : {false, true}) {
            SCOPED_TRACE(row.name);
            const TestHome home;
            row.obstacle(home);
            ChildProcess child([&] {
                if (row.createNew)
                    QVLog::createNewLog("app", noPrinting);
                else
                    QVLog::sharedController().setAppName("app");
                QVLog::sharedController().setNoPrinting(noPrinting);
                QVLog::fastAppendLog("text");
                QVLog::finishWriting();
                if (QVLog::sharedController().bytesInQueue() != 0) std::exit(1);
            });
            EXPECT_EQ(child.wait(), 0);
            std::string expected = row.output;
            for (std::size_t at; (at = expected.find("HOME")) != std::string::npos;)
                expected.replace(at, 4, home.path());
            EXPECT_EQ(child.standardOutput(), noPrinting ? "" : expected);
        }
    }
}

TEST(Log, RootWritesToTheMachinesFolderAndRotatesItsOwn) {
    const TestHome home(TestHome::root);
    const std::string machineFile = home / "machine/Logs/Quorvane/app.1.log";
    const auto start = [] { QVLog::createNewLog("app"); };
    writeFile(home / "machine/Logs", "in the way");
    {
        ChildProcess child([&] {
            QVLog::createNewLog("app", true);
            QVLog::createNewLog("app", true);
            std::exit(QVLog::sharedController().hasFileHandle() ? 1 : 0);
        });
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(child.standardOutput(), "");
        const std::string folder = home / "machine/Logs/Quorvane";
        EXPECT_EQ(child.standardError(),
                  "There is no log: Unable to create folder " + folder + ".\n");
    }
    std::filesystem::remove(home / "machine/Logs");
    {
        ChildProcess child(start);
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(entriesIn(machineFile).size(), 5u);
    }
    writeFile(machineFile, "old");
    writeFile(logFile(home, "app"), "older");
    ChildProcess child(start);
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(entriesIn(machineFile).size(), 5u);
    EXPECT_EQ(contentsOf(logFile(home, "app", 2)), "older");
    EXPECT_FALSE(std::filesystem::exists(logFile(home, "app", 1)));
}

TEST(Log, EntriesBeforeANewLogGoToTheFileOfTheLastRun) {
    const TestHome home;
    writeFile(logFile(home, "app"), "2026-01-31 14:05:09 +0000 - old\n");
    ChildProcess child([] {
        QVLog::sharedController().setAppName("app");
        QVLog::fastAppendLog("early");
        QVLog::createNewLog();
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(entriesIn(logFile(home, "app", 2)), (std::vector<std::string>{"old", "early"}));
    EXPECT_EQ(entriesIn(logFile(home, "app")).size(), 5u);
}

TEST(Log, AFullFileIsFollowedByAFreshOneAndNoEntryIsLost) {
    const TestHome home;
    constexpr int threads = 3;
    constexpr int perThread = 40'000;
    ChildProcess child([] {
        QVLog::createNewLog("app", true);
        std::vector<std::thread> workers;
        for (int t = 0; t < threads; ++t)
            workers.emplace_back([t] {
                for (int i = 0; i < perThread; ++i)
                    QVLog::fastAppendLog("thread %i range start: %i", t, i);
            });
        for (std::thread& worker : workers) worker.join();
        QVLog::finishWriting();
        const auto size = std::filesystem::file_size(QVLog::availableLogs().front());
        std::exit(QVLog::sharedController().bytesWritten() == size &&
                          QVLog::sharedController().bytesInQueue() == 0 &&
                          QVLog::sharedController().noPrinting()
                      ? 0
                      : 1);
    });
    ASSERT_EQ(child.wait(), 0);
    constexpr std::uintmax_t longestEntry = 80;
    EXPECT_GE(std::filesystem::file_size(logFile(home, "app", 2)), 5'000'000u);
    EXPECT_LT(std::filesystem::file_size(logFile(home, "app", 2)), 5'000'000u + longestEntry);
    const std::vector<std::string> fresh = entriesIn(logFile(home, "app", 1));
    EXPECT_EQ(fresh.at(5), "Log truncated at 500KB");
    EXPECT_FALSE(std::filesystem::exists(logFile(home, "app", 3)));
    std::vector<int> next(threads, 0);
    for (const int number : {2, 1})
        for (const std::string& text : entriesIn(logFile(home, "app", number))) {
            int thread = 0;
            int i = 0;
            if (std::sscanf(text.c_str(), "thread %d range start: %d", &thread, &i) == 2) {
                EXPECT_EQ(i, next.at(static_cast<std::size_t>(thread))++);
            }
        }
    EXPECT_EQ(next, std::vector<int>(threads, perThread));
}

TEST(Log, AWorkersShortMessageIsOnDiskWhenTheWorkerGoesOn) {
    const auto texts = logged([] {
        std::thread([] {
            QVLog::appendLog("short");
            const std::string file = contentsOf(QVLog::availableLogs().front());
            QVLog::fastAppendLog(file.ends_with(" - short\n") ? "was there" : "came late");
        }).join();
    });
    EXPECT_EQ(texts, (std::vector<std::string>{"short", "was there"}));
}

TEST(Log, OtherMessagesNeverWaitForTheWriter) {
    const StuckLog log;
    ChildProcess child([&] {
        QVLog& controller = QVLog::sharedController();
        controller.setAppName("app");
        QVLog::appendLog("  from the main thräd ");
        std::thread([] { QVLog::appendLog("%@", std::string(100, 'x')); }).join();
        // Now the queue is long, so that a short message does not wait either.
        std::thread([] { QVLog::appendLog("short"); }).join();
        if (controller.bytesInQueue() != 19 + 100 + 5) std::_Exit(1);
        std::thread reader([&] { Platform::current().console->print(log.read()); });
        QVLog::finishWriting();
        if (controller.bytesInQueue() != 0) std::_Exit(2);
        QVLog::willTerminate();
        reader.join();
        QVLog::appendLog("after the end");
    });
    ASSERT_EQ(child.wait(), 0);
    writeFile(log.home / "copy", child.standardOutput());
    EXPECT_EQ(entriesIn(log.home / "copy"),
              (std::vector<std::string>{"from the main thräd", std::string(100, 'x'), "short"}));
}

constexpr std::uintmax_t longestEntry = 100'100;

TEST(Log, AFloodOfEntriesFillsSeveralFilesAndNoneBeyondItsSize) {
    const TestHome home;
    ChildProcess child([] {
        QVLog::createNewLog("app", true);
        for (int i = 0; i < 120; ++i) QVLog::fastAppendLog("%i %@", i, std::string(100'000, 'x'));
        QVLog::finishWriting();
    });
    ASSERT_EQ(child.wait(), 0);
    int next = 0;
    for (const int number : {3, 2, 1}) {
        EXPECT_LT(std::filesystem::file_size(logFile(home, "app", number)),
                  5'000'000u + longestEntry);
        for (const std::string& text : entriesIn(logFile(home, "app", number)))
            if (text.ends_with("xxx")) {
                EXPECT_EQ(std::stoi(text), next++);
            }
    }
    EXPECT_EQ(next, 120);
}

TEST(Log, WhatASlowDiskCannotTakeIsDroppedAndCounted) {
    const StuckLog log;
    constexpr int entries = 2000;
    ChildProcess child([&] {
        QVLog& controller = QVLog::sharedController();
        controller.setAppName("app");
        for (int i = 0; i < entries; ++i)
            QVLog::fastAppendLog("%i %@", i, std::string(100'000, 'x'));
        if (controller.bytesInQueue() > 80'000'000) std::_Exit(1);
        std::thread reader([&] { Platform::current().console->print(log.read()); });
        QVLog::finishWriting();
        QVLog::finishWriting();
        QVLog::willTerminate();
        reader.join();
    });
    ASSERT_EQ(child.wait(), 0);
    const std::string last = entriesIn(logFile(log.home, "app")).back();
    EXPECT_TRUE(Pattern("[0-9]{4} entries were dropped: the disk is too slow").matches(last));
    // What had gathered meanwhile is written as one, and still fills no file beyond its size.
    for (const auto& file : std::filesystem::directory_iterator(
             std::filesystem::path(logFile(log.home, "app")).parent_path())) {
        if (!file.is_regular_file()) continue;
        EXPECT_LT(file.file_size(), 5'000'000u + longestEntry) << file.path();
    }
}

TEST(Log, TheEndWaitsForAShortQueueAndDropsALongOne) {
    for (const int entries : {10, 11}) {
        SCOPED_TRACE(entries);
        const StuckLog log;
        ChildProcess child([&] {
            QVLog::sharedController().setAppName("app");
            for (int i = 0; i < entries; ++i) QVLog::fastAppendLog("entry %i", i);
        });
        // Nobody reads the long queue, and the process ends all the same.
        if (entries == 10) {
            writeFile(log.home / "copy", log.read());
            EXPECT_EQ(entriesIn(log.home / "copy").size(), 10u);
        }
        EXPECT_EQ(child.wait(), 0);
    }
}

TEST(Log, ProgramsOfOneNameThatStartTogetherKeepAFileEach) {
    constexpr std::size_t lines = 20;
    constexpr int programs = 5;
    constexpr int rounds = 60;
    const TestHome home;
    const auto roundHome = [&](int round) { return home / std::to_string(round); };
    // Lets the processes go on at the same instant, again and again.
    pthread_barrierattr_t shared{};
    pthread_barrierattr_init(&shared);
    pthread_barrierattr_setpshared(&shared, PTHREAD_PROCESS_SHARED);
    pthread_barrier_t* const line = static_cast<pthread_barrier_t*>(
        ::mmap(nullptr, sizeof *line, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    pthread_barrier_init(line, &shared, programs);
    std::list<ChildProcess> children;
    for (int number = 0; number < programs; ++number)
        children.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                QVLog::finishWriting();
                ::setenv("HOME", roundHome(round).c_str(), 1);
                pthread_barrier_wait(line);
                QVLog::createNewLog("app");
                for (std::size_t i = 0; i < lines; ++i) QVLog::fastAppendLog("run %i", number);
            }
            QVLog::finishWriting();
        });
    for (ChildProcess& child : children) {
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(child.standardOutput(), "");
    }
    ::munmap(line, sizeof *line);
    for (int round = 0; round < rounds; ++round) {
        std::set<std::string> runs;
        for (int number = 1; number <= 5; ++number) {
            const std::vector<std::string> texts = entriesIn(
                roundHome(round) + "/Library/Logs/Quorvane/app." + std::to_string(number) + ".log");
            ASSERT_EQ(texts.size(), 5 + lines);
            runs.insert(texts.back());
            EXPECT_EQ(std::count(texts.begin(), texts.end(), texts.back()), lines);
        }
        EXPECT_EQ(runs.size(), programs);
    }
}

TEST(Exceptions, AreLoggedWithNameAndReason) {
    std::string output;
    const auto texts = logged(
        [] {
            const NamedException timeout("NSPortTimeoutException", "no reply");
            const std::out_of_range unnamed("50%d");
            QVException::logException(timeout, "send");
            QVException::logException(unnamed, "read");
            if (!QVException::didTimeout(timeout) || QVException::didTimeout(unnamed)) std::exit(1);
        },
        &output);
    EXPECT_EQ(texts,
              (std::vector<std::string>{"Exception in send. NSPortTimeoutException - no reply.",
                                        "Exception in read. std::out_of_range - 50."}));
    EXPECT_EQ(output,
              "Exception in send. NSPortTimeoutException - no reply.\n"
              "Exception in read. std::out_of_range - 50%%d.\n");
}

TEST(Exceptions, TheReasonOfAnUncaughtOneIsOnDiskBeforeTheProcessDies) {
    const TestHome home;
    ChildProcess child([] {
        QVLog::createNewLog("app");
        std::thread([] { throw NamedException("Broken", "the tree is gone"); }).join();
    });
    EXPECT_EQ(child.wait(), -SIGABRT);
    EXPECT_EQ(entriesIn(logFile(home, "app")).back(), "the tree is gone");
}

}  // namespace
}  // namespace reelsweep
