// ServiceTest: a home, a log and a console of a test's own, in this process.
//
// The log belongs to the process, so these tests have a program of their own.
#pragma once

#include "platform/posix/PosixProcessLauncher.h"
#include "services/QVLog.h"
#include "tests/platform/Pumping.h"
#include "tests/support/Fakes.h"
#include "tests/support/TestPlatform.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <sstream>
#include <string>
#include <vector>

namespace reelsweep::test {

class ServiceTest : public testing::Test {
protected:
    explicit ServiceTest(unsigned user = TestHome::ordinaryUser) : home(user) {
        auto recording = std::make_unique<RecordingConsole>();
        console = recording.get();
        Platform::current().console = std::move(recording);
        Platform::current().processLauncher =
            std::make_unique<PosixProcessLauncher>(std::chrono::milliseconds(200));
        QVLog::createNewLog("services");
        QVLog::finishWriting();
    }
    ~ServiceTest() override { QVLog::finishWriting(); }

    /// The texts of the log's entries after its header.
    std::vector<std::string> logged() const {
        QVLog::finishWriting();
        constexpr std::size_t date = std::string_view("2026-01-31 14:05:09 +0000 - ").size();
        std::istringstream file(contentsOf(QVLog::availableLogs().at(0)));
        std::vector<std::string> texts;
        bool inHeader = true;
        for (std::string line; std::getline(file, line);) {
            if (!inHeader) texts.push_back(line.size() > date ? line.substr(date) : line);
            if (line.ends_with("Running in 64-bit mode")) inHeader = false;
        }
        return texts;
    }

    /// What the work answers on another thread, while the main thread goes on.
    template <class Work>
    static auto inBackground(Work work) {
        auto answer = std::async(std::launch::async, std::move(work));
        EXPECT_TRUE(pumpUntil(
            [&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return answer.get();
    }

    TestHome home;
    RecordingConsole* console = nullptr;
};

}  // namespace reelsweep::test
