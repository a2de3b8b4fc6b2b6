#include "services/QVTroubleshootingUtils.h"

#include "services/QVBugReporter.h"
#include "services/QVFileManager.h"
#include "tests/platform/Matching.h"
#include "tests/support/FakePresenter.h"
#include "tests/support/ServiceTest.h"

#include <algorithm>

#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::contentsOf;
using test::pumpUntil;
using test::writeFile;
using Names = std::vector<std::string>;
using Date = PropertyList::Date;

class Troubleshooting : public test::ServiceTest {
protected:
    Troubleshooting() : temporary_("TMPDIR", (home / "tmp").c_str()) {
        auto noting = std::make_unique<test::NotingWorkspace>();
        workspace = noting.get();
        Platform::current().workspace = std::move(noting);
        Platform::current().bundle = std::make_unique<test::FakeBundle>(
            home / "bundle", test::FakeBundle::Info{{"CFBundleName", "Reelsweep"}});
        auto fake = std::make_unique<test::FakePresenter>();
        presenter = fake.get();
        presenter->answerAtOnce = alertDefaultReturn;
        Platform::current().alertPresenter = std::move(fake);
    }
    void writeReport(const std::string& path, QVFileManager::Date date) const {
        writeFile(home / path, "");
        ASSERT_TRUE(QVFileManager::setModificationDate(date, home / path));
    }
    /// The texts of the newest alert since the last call.
    std::string told() {
        if (presenter->shown.empty()) return "";
        const AlertRequest& request = presenter->shown.back()->request;
        const std::string texts = request.messageText + " | " + request.informativeText;
        presenter->shown.clear();
        return texts;
    }
    test::NotingWorkspace* workspace = nullptr;
    test::FakePresenter* presenter = nullptr;

private:
    test::EnvironmentVariable temporary_;
};

TEST_F(Troubleshooting, ALastRunWithoutACleanExitIsACrashWhenThereIsAReportOfIt) {
    const Date launch{1'000'000s};
    const Date after = launch + 1s;
    const std::string user = "Library/Logs/CrashReporter/Reelsweep_1";
    const std::string user2 = "Library/Logs/CrashReporter/Reelsweep_2";
    const std::string diagnostic = "Library/Logs/DiagnosticReports/Reelsweep_1";
    const std::string machine = "machine/Logs/CrashReporter/Reelsweep_1";
    const std::string machineDiagnostic = "machine/Logs/DiagnosticReports/Reelsweep_2";
    const std::string otherCase = "Library/Logs/CrashReporter/rEELSWEEP_";
    const std::string noUnderscore = "Library/Logs/CrashReporter/Reelsweep.crash";
    const std::string inTheMiddle = "Library/Logs/CrashReporter/A Reelsweep_";
    struct Row {
        std::optional<Date> launch;
        std::optional<Date> exit;
        std::vector<std::pair<std::string, Date>> reports;
        std::string found;
    };
    const std::vector<Row> rows{
        {{}, {}, {{user, after}}, ""},
        {{}, launch - 1s, {{user, after}}, ""},
        {launch, {}, {{user, after}}, user},
        {launch, launch - 1s, {{user, after}}, user},
        {launch, launch, {{user, after}}, ""},
        {launch, after, {{user, after}}, ""},
        {launch, {}, {}, ""},
        // A report of an earlier crash.
        {launch, {}, {{user, launch}}, ""},
        {launch, {}, {{otherCase, after}}, otherCase},
        {launch, {}, {{noUnderscore, after}, {inTheMiddle, after}}, ""},
        // Of the reports of a folder the last counts, and of the folders the first that has one.
        {launch, {}, {{user, after}, {user2, launch}}, ""},
        {launch, {}, {{user, launch}, {diagnostic, after}}, diagnostic},
        {launch, {}, {{machine, after}, {diagnostic, after}}, diagnostic},
        {launch, {}, {{machineDiagnostic, after}, {machine, after}}, machine},
        {launch, {}, {{machineDiagnostic, after}}, machineDiagnostic},
    };
    for (std::size_t row = 0; row < rows.size(); ++row) {
        SCOPED_TRACE(row);
        for (const char* logs : {"Library/Logs/CrashReporter", "Library/Logs/DiagnosticReports",
                                 "machine/Logs/CrashReporter", "machine/Logs/DiagnosticReports"})
            fs::remove_all(home / logs);
        PropertyList::Dictionary record;
        if (rows[row].launch) record.try_emplace("launch", *rows[row].launch);
        if (rows[row].exit) record.try_emplace("exit", *rows[row].exit);
        ASSERT_FALSE(writePropertyList(home / "record.plist", record));
        for (const auto& [path, date] : rows[row].reports) writeReport(path, date);
        const auto found = QVBugReporter::checkForCrashes({}, home / "record.plist");
        const std::string whole = rows[row].found.empty() ? "" : home / rows[row].found;
        EXPECT_EQ(found.value_or(""), whole);
        EXPECT_EQ(workspace->opened,
                  found ? Names{whole + " with com.quorvane.BugReporter"} : Names{});
        EXPECT_EQ(found.has_value(),
                  !logged().empty() && logged().back() == "Application crashed on last launch");
        workspace->opened.clear();
        QVLog::createNewLog("services");
    }
    EXPECT_EQ(QVBugReporter::checkForCrashes("Other", home / "record.plist"), std::nullopt);
}

class Listener : public BugReporterDelegate {
public:
    void applicationDidCrashWithLog(const std::string& report) override {
        EXPECT_TRUE(Platform::current().mainThread->isMainThread());
        reports.push_back(report);
    }
    Names reports;
};

TEST_F(Troubleshooting, AStartTellsOfTheCrashBeforeItAndACleanExitEndsTheMatter) {
    for (const auto& record : {std::optional<std::string>(), std::optional(home / "a/b.plist")}) {
        Listener listener;
        writeReport("Library/Logs/CrashReporter/Reelsweep_1", Date::clock::now() + 1h);
        QVBugReporter::startBugReporter({}, record, &listener);
        EXPECT_EQ(workspace->opened, Names{}) << "the first launch";
        // From another thread it is told on the main one.
        inBackground([&] {
            QVBugReporter::startBugReporter("Reelsweep", record, &listener);
            return 0;
        });
        EXPECT_TRUE(pumpUntil([&] { return !listener.reports.empty(); }));
        EXPECT_EQ(listener.reports, Names{home / "Library/Logs/CrashReporter/Reelsweep_1"});
        QVBugReporter::stopBugReporter(record);
        EXPECT_EQ(QVBugReporter::checkForCrashes("Reelsweep", record), std::nullopt);
        EXPECT_EQ(workspace->opened.size(), 1U);
        workspace->opened.clear();
        // Ended and started again within a second, and then killed.
        QVBugReporter::startBugReporter({}, record);
        EXPECT_NE(QVBugReporter::checkForCrashes("Reelsweep", record), std::nullopt);
        workspace->opened.clear();
    }
    writeFile(home / "file", "");
    QVBugReporter::stopBugReporter(home / "file/record.plist");
    ASSERT_FALSE(logged().empty());
    EXPECT_TRUE(logged().back().starts_with("Unable to record the date of the exit: "));
}

TEST_F(Troubleshooting, AReportGoesToTheFirstReporterThatIsThere) {
    ASSERT_FALSE(writePropertyList(home / "record.plist",
                                   PropertyList::Dictionary{{"launch", Date{1'000'000s}}}));
    writeReport("Library/Logs/CrashReporter/Reelsweep_1", Date{2'000'000s});
    const auto check = [&] { QVBugReporter::checkForCrashes({}, home / "record.plist"); };
    // Each is preferred to those before it; they are real programs.
    for (const char* place : {"bundle/Contents/MacOS/", "bundle/program/", "bundle/Resources/"}) {
        const std::string application = std::string(place) + "Bug Reporter.app/";
        const std::string program = home / (application + "Contents/MacOS/reporter");
        const std::string got = home / (application + "got");
        writeFile(program, "#!/bin/sh\nprintf %s \"$1\" >\"" + got + ".part\"\nmv \"" + got +
                               ".part\" \"" + got + "\"\n");
        ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
        ASSERT_FALSE(
            writePropertyList(home / (application + "Contents/Info.plist"),
                              PropertyList::Dictionary{{"CFBundleExecutable", "reporter"}}));
        check();
        EXPECT_TRUE(pumpUntil([&] { return fs::exists(got); })) << place;
        EXPECT_EQ(contentsOf(got), home / "Library/Logs/CrashReporter/Reelsweep_1");
        fs::remove(got);
    }
    const std::string global = home / "Library/Preferences/com.quorvane.global.plist";
    const std::vector<std::pair<PropertyList, bool>> rows{
        {"1", true}, {1, true}, {true, true}, {1.0, true}, {"YES", false}, {2, false}, {0, false}};
    fs::remove_all(home / "bundle");
    for (const auto& [value, disabled] : rows) {
        ASSERT_FALSE(
            writePropertyList(global, PropertyList::Dictionary{{"disable-crash-reporter", value}}));
        workspace->opened.clear();
        check();
        EXPECT_EQ(workspace->opened.empty(), disabled);
        EXPECT_EQ(logged().back(),
                  disabled ? "Crash reporter disabled" : "Application crashed on last launch");
        EXPECT_EQ(console->take(), disabled ? "Crash reporter disabled\n" : "");
    }
}

TEST_F(Troubleshooting, ARecordInAHomeFolderIsGivenToItsUser) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
    const std::vector<std::pair<const char*, bool>> rows{
        {"Users/nobody/x.plist", true}, {"other/nobody/x.plist", false}, {"Users", false}};
    for (const auto& [path, given] : rows) {
        if (!fs::exists(home / path)) writeFile(home / path, "");
        QVBugReporter::chownPlist(home / path);
        struct stat status {};
        ASSERT_EQ(::stat((home / path).c_str(), &status), 0);
        EXPECT_EQ(status.st_uid != 0, given) << path;
        fs::remove_all(home / "Users");
    }
}

TEST_F(Troubleshooting, TheArchiveMirrorsWhereEveryFileCameFrom) {
    const Names gathered{"Library/Logs/Quorvane/Reelsweep.1.log",
                         "Library/Logs/Quorvane/Reelsweep Tool.2.log",
                         "Library/Logs/CrashReporter/Cut Bench_1.crash",
                         "Library/Logs/DiagnosticReports/Reelsweep_2.crash",
                         "Library/Preferences/com.quorvane.cutbench.plist",
                         "machine/Logs/Quorvane/Reelsweep.1.log",
                         "machine/Logs/CrashReporter/Reelsweep_3.crash",
                         "machine/Preferences/com.quorvane.CutBench.plist",
                         "extra/projects/cut.xml",
                         "extra/folder/notes.txt"};
    for (const std::string& name : gathered) writeFile(home / name, name);
    for (const char* other :
         {"Library/Logs/Quorvane/Other.1.log", "Library/Logs/Quorvane/Reelsweep.txt",
          "Library/Logs/CrashReporter/Reelsweep.crash",
          "Library/Logs/CrashReporter/Reelsweep_1.txt",
          "Library/Logs/CrashReporter/reelsweep_1.crash",
          "machine/Preferences/com.quorvane.cutbench.plist", "extra/projects/other.xml"})
        writeFile(home / other, "");
    writeFile(home / "elsewhere/kept.txt", "linked");
    fs::create_symlink("../../../elsewhere/kept.txt",
                       home / "Library/Logs/Quorvane/Reelsweep.2.log");
    fs::create_symlink("nowhere", home / "Library/Logs/Quorvane/Reelsweep.3.log");
    // What others have put into the temporary folder is in nobody's way.
    writeFile(home / "tmp/QV_App_Logs", "somebody else's");
    const std::string archive = home / "Desktop/Reelsweep Logs.zip";

    const std::string extra = home / "extra/../extra/projects/cut.xml";
    const std::string extraFolder = home / "extra/folder/";
    EXPECT_TRUE(QVTroubleshootingUtils::gatherLogsForAppsWithNames(
        {"Reelsweep", "Cut Bench"}, false, {extra, extra, extraFolder}));
    EXPECT_EQ(told(),
              "Logs gathered successfully | The gathered logs were placed on your desktop.");
    EXPECT_EQ(filesystem::namesIn(home / "tmp"), Names{"QV_App_Logs"});
    ASSERT_TRUE(QVFileManager::decompressFile(archive, home / "unpacked"));
    EXPECT_EQ(filesystem::namesIn(home / "unpacked"), Names{"QV_App_Logs"});
    const std::string top = home / ("unpacked/QV_App_Logs" + home.path() + "/");
    Names expected = gathered;
    expected.insert(expected.end(), {"Library/Logs/Quorvane/Reelsweep.2.log",
                                     "Library/Logs/Quorvane/Reelsweep.3.log"});
    std::sort(expected.begin(), expected.end());
    Names found;
    for (const auto& entry : fs::recursive_directory_iterator(home / "unpacked"))
        if (!entry.is_directory()) found.push_back(entry.path().string().substr(top.size()));
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected);
    for (const std::string& name : gathered) EXPECT_EQ(contentsOf(top + name), name);
    EXPECT_FALSE(fs::is_symlink(top + "Library/Logs/Quorvane/Reelsweep.2.log"));
    EXPECT_EQ(contentsOf(top + "Library/Logs/Quorvane/Reelsweep.2.log"), "linked");

    // A second archive leaves the first.
    const std::string first = contentsOf(archive);
    EXPECT_TRUE(QVTroubleshootingUtils::gatherLogsForAppsWithNames({"Reelsweep"}, true));
    EXPECT_EQ(told(), "");
    EXPECT_EQ(contentsOf(archive), first);
    const Names archives = filesystem::namesIn(home / "Desktop");
    ASSERT_EQ(archives.size(), 2U);
    EXPECT_TRUE(test::Pattern("Reelsweep Logs_[0-9]{14}\\.zip").matches(archives[1]))
        << archives[1];
}

TEST_F(Troubleshooting, WhatCannotBeGatheredIsSaid) {
    using Utils = QVTroubleshootingUtils;
    EXPECT_FALSE(Utils::gatherLogsForAppWithName(std::nullopt));
    EXPECT_FALSE(Utils::gatherLogsForAppsWithNames({}));
    EXPECT_EQ(told(), "");
    EXPECT_FALSE(Utils::gatherLogsForAppWithName("Nobody"));
    EXPECT_EQ(told(), "No logs found | There were no logs available to gather.");
    EXPECT_FALSE(Utils::gatherLogsForAppsWithNames({"Nobody"}, true));
    EXPECT_EQ(told(), "");
    const std::string leftOut = "\n\nThese files could not be read and were left out:\n";
    const std::string missing = (home / "missing") + ": No such file or directory";
    EXPECT_FALSE(Utils::gatherLogsForAppsWithNames({"Nobody"}, false, {home / "missing"}));
    EXPECT_EQ(console->take(), "Unable to copy file: " + missing + "\n");
    EXPECT_EQ(told(), "Logs could not be gathered | Please check your file permissions." + leftOut +
                          missing);
    writeFile(home / "Library/Logs/Quorvane/Reelsweep.1.log", "");
    writeFile(home / "Desktop", "a file in the way");
    EXPECT_FALSE(Utils::gatherLogsForAppWithName("Reelsweep"));
    EXPECT_EQ(told(), "Logs could not be gathered | Please check your file permissions.");
    EXPECT_TRUE(filesystem::namesIn(home / "tmp").empty());
    // What cannot be read does not keep the rest back.
    fs::remove(home / "Desktop");
    const std::string pipe = home / "Library/Logs/Quorvane/Reelsweep.0.log";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_TRUE(Utils::gatherLogsForAppWithName("Reelsweep"));
    EXPECT_EQ(console->take(), "Unable to copy log: " + pipe + ": Operation not supported\n");
    EXPECT_EQ(told(),
              "Logs gathered successfully | The gathered logs were placed on your desktop." +
                  leftOut + pipe + ": Operation not supported");
    EXPECT_TRUE(filesystem::namesIn(home / "tmp").empty());
    fs::remove_all(home / "tmp");
    writeFile(home / "tmp", "no folder");
    EXPECT_FALSE(Utils::gatherLogsForAppWithName("Reelsweep"));
    EXPECT_EQ(told(), "Logs could not be gathered | Please check your file permissions.");
}

TEST_F(Troubleshooting, TheCurrentLogIsOpenedOrMissed) {
    using Utils = QVTroubleshootingUtils;
    EXPECT_FALSE(Utils::viewLogForApp("Reelsweep"));
    EXPECT_EQ(told(), "No log found | You must perform a task before viewing the log.");
    EXPECT_FALSE(Utils::viewTaskLogForApp("Reelsweep"));
    EXPECT_EQ(told(),
              "No log found | You must run the application as a task (e.g. through Jobkeeper) "
              "before viewing a log.");
    const std::string folder = home / "Library/Logs/Quorvane/";
    writeFile(folder + "Reelsweep.1.log", "");
    writeFile(folder + "Reelsweep.1.task.log", "");
    EXPECT_TRUE(Utils::viewLogForApp("Reelsweep"));
    EXPECT_TRUE(Utils::viewTaskLogForApp("Reelsweep"));
    EXPECT_EQ(workspace->opened,
              (Names{folder + "Reelsweep.1.log", folder + "Reelsweep.1.task.log"}));
}

}  // namespace
}  // namespace reelsweep
