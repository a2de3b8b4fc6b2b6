#include "services/QVAlert.h"
#include "tests/support/FakePresenter.h"
#include "tests/support/ServiceTest.h"

namespace reelsweep {
namespace {

using namespace std::chrono_literals;
using test::FakePresenter;
using test::pumpUntil;

class Listener : public AlertDelegate {
public:
    bool respondsToSelector(std::string_view selector) const override {
        return selector == "projectAlert";
    }
    void alertDidEnd(std::string_view selector, QVAlert&, long code) override {
        heard += std::string(selector) + " " + std::to_string(code);
    }
    std::string heard;
};

class Alert : public test::ServiceTest {
protected:
    Alert() {
        auto fake = std::make_unique<FakePresenter>();
        presenter = fake.get();
        Platform::current().alertPresenter = std::move(fake);
    }
    FakePresenter* presenter = nullptr;
};

TEST_F(Alert, ABackgroundThreadWaitsForTheButtonAndTheAlertGoesAway) {
    auto answer = std::async(std::launch::async, [] {
        return QVAlert::alertSheet("Replace?", "Yes", "No", {}, "50%d of it", WindowRef{5}, true);
    });
    ASSERT_TRUE(pumpUntil([&] { return !presenter->shown.empty(); }));
    const FakePresenter::Shown& shown = *presenter->shown.front();
    EXPECT_EQ(shown.request.messageText, "Replace?");
    EXPECT_EQ(shown.request.informativeText, "50%d of it");
    EXPECT_EQ(shown.request.defaultButtonTitle, "Yes");
    EXPECT_EQ(shown.request.otherButtonTitle, std::nullopt);
    EXPECT_EQ(shown.window, WindowRef{5});
    EXPECT_EQ(presenter->front, WindowRef{5});
    presenter->answer(alertAlternateReturn);
    ASSERT_TRUE(pumpUntil([&] { return answer.wait_for(0s) == std::future_status::ready; }));
    EXPECT_EQ(answer.get(), alertAlternateReturn);
    EXPECT_TRUE(shown.released);
}

TEST_F(Alert, TheMainThreadHandlesEventsWhileItWaits) {
    // The answer is one of the events.
    Platform::current().mainThread->post([&] { presenter->answer(alertDefaultReturn); });
    EXPECT_EQ(QVAlert::alertSheet("Done", "", {}, AlertStyle::informational), alertDefaultReturn);
    EXPECT_EQ(presenter->shown.front()->request.style, AlertStyle::informational);
    EXPECT_TRUE(presenter->shown.front()->released);
}

TEST_F(Alert, AWindowWithASheetIsLeftAlone) {
    presenter->answerAtOnce = alertOtherReturn;
    EXPECT_EQ(QVAlert::alertSheet("Failed", "why", presenter->busyWindow), alertOtherReturn);
    EXPECT_FALSE(presenter->shown.front()->window);
    EXPECT_FALSE(presenter->front);
}

TEST_F(Alert, ADelegateHearsTheEndByTheNameItChose) {
    Listener listener;
    EXPECT_EQ(QVAlert::alertSheet("a", {}, {}, {}, "", {}, &listener, "projectAlert", false), -1);
    EXPECT_EQ(listener.heard, "");
    presenter->answer(alertDefaultReturn);
    EXPECT_EQ(listener.heard, "projectAlert 1");
    EXPECT_TRUE(pumpUntil([&] { return presenter->shown.front()->released; }));
    // Also a caller that waits comes back, whatever the delegate does with the news.
    presenter->answerAtOnce = alertAlternateReturn;
    EXPECT_EQ(QVAlert::alertSheet("b", {}, {}, {}, "", {}, &listener, "projectAlert", true), 0);
}

TEST_F(Alert, ADelegateWithoutTheMessageGetsNoAlert) {
    Listener listener;
    EXPECT_EQ(QVAlert::alertSheet("a", {}, {}, {}, "", {}, &listener, "other:", true), -1);
    EXPECT_EQ(QVAlert::alertSheet("a", {}, {}, {}, "", {}, nullptr, "other:", true), -1);
    const std::string line = "Alert error: delegate does not respond to selector other:\n";
    EXPECT_EQ(console->take(), line + line);
    EXPECT_TRUE(presenter->shown.empty());
}

TEST_F(Alert, ATimedAlertNobodyAnswersEndsWithTheDefaultButton) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(QVAlert::timedAlertSheet("a", "OK", "Stop", {}, "", {}, 1), alertDefaultReturn);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_FALSE(presenter->shown.front()->visible);
    EXPECT_TRUE(presenter->shown.front()->released);
    presenter->answerAtOnce = alertAlternateReturn;
    EXPECT_EQ(QVAlert::timedAlertSheet("a", "OK", "Stop", {}, "", {}, 3600), alertAlternateReturn);
}

TEST_F(Alert, OneAlertObjectServesSeveralAlerts) {
    const auto alert = QVAlert::create();
    for (const long code : {alertOtherReturn, alertDefaultReturn}) {
        Platform::current().mainThread->post([this, code] { presenter->answer(code); });
        EXPECT_EQ(QVAlert::alertSheet("a", {}, {}, {}, "", {}, nullptr, {}, true, alert, "hideIt"),
                  code);
    }
    EXPECT_EQ(presenter->shown.back()->request.suppressionBinding, "hideIt");
}

TEST_F(Alert, ATimerThatFiresAfterTheAnswerChangesNothing) {
    const auto alert = QVAlert::create();
    Platform::current().mainThread->post([this] { presenter->answer(alertOtherReturn); });
    QVAlert::alertSheet("a", {}, {}, {}, "", {}, nullptr, {}, true, alert);
    alert->defaultReturnAfterTimeInterval(0);
    EXPECT_EQ(alert->returnCode(), alertOtherReturn);
}

}  // namespace
}  // namespace reelsweep
