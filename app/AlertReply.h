// AlertReply: a question that a window asks without waiting, and what is done with the answer.
//
// Owner: the window; while a question is open it must stay. Thread rule: main thread.
#pragma once

#include "services/QVAlert.h"

#include <functional>
#include <utility>

namespace reelsweep {

class AlertReply final : public AlertDelegate {
public:
    struct Buttons {
        QVAlert::Title defaultButton;
        QVAlert::Title alternateButton = {};
        QVAlert::Title otherButton = {};
    };

    bool isOpen() const { return bool(answered_); }

    /// Asks, unless a question is open already. `answered` gets the button's return code.
    void ask(const std::string& message, const std::string& informative, const Buttons& buttons,
             WindowRef window, std::function<void(long)> answered) {
        if (isOpen()) return;
        answered_ = std::move(answered);
        QVAlert::alertSheet(message, buttons.defaultButton, buttons.alternateButton,
                            buttons.otherButton, informative, window, this, selector, false);
    }

    bool respondsToSelector(std::string_view name) const override { return name == selector; }
    void alertDidEnd(std::string_view, QVAlert&, long returnCode) override {
        if (const auto answered = std::exchange(answered_, {})) answered(returnCode);
    }

private:
    static constexpr std::string_view selector = "questionAnswered";
    std::function<void(long)> answered_;
};

}  // namespace reelsweep
