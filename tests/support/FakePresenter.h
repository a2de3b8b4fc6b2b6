// FakePresenter: a person and a screen, for tests of what is told and asked in alerts.
#pragma once

#include "platform/Platform.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace reelsweep::test {

/// Notes what is shown and answers when the test says so, or at once.
class FakePresenter : public AlertPresenter {
public:
    struct Shown {
        AlertRequest request;
        WindowRef window;
        std::function<void(long)> didEnd;
        bool visible = true;
        bool released = false;
    };

    bool hasAttachedSheet(WindowRef window) const override { return window == busyWindow; }
    void makeKeyAndOrderFront(WindowRef window) override { front = window; }
    std::unique_ptr<PresentedAlert> begin(const AlertRequest& request, WindowRef window,
                                          std::function<void(long)> didEnd) override {
        EXPECT_TRUE(Platform::current().mainThread->isMainThread());
        shown.push_back(std::make_unique<Shown>(Shown{request, window, std::move(didEnd)}));
        if (answerAtOnce) answer(*answerAtOnce);
        return std::make_unique<OnScreen>(*shown.back());
    }
    /// The user presses a button of the newest alert, which then disappears.
    void answer(long code) {
        shown.back()->visible = false;
        shown.back()->didEnd(code);
    }

    std::vector<std::unique_ptr<Shown>> shown;
    std::optional<long> answerAtOnce;
    WindowRef busyWindow{99};
    WindowRef front;

private:
    class OnScreen : public PresentedAlert {
    public:
        explicit OnScreen(Shown& alert) : alert_(alert) {}
        ~OnScreen() override { alert_.released = true; }
        bool isVisible() const override { return alert_.visible; }
        void orderOut() override { alert_.visible = false; }

    private:
        Shown& alert_;
    };
};

}  // namespace reelsweep::test
