// ConsoleAlertPresenter: alerts of a program without windows, one line each on standard error.
//
// Nobody is there to be asked, so every alert is answered at once with its default button.
#pragma once

#include "platform/AlertPresenter.h"

#include <string_view>

namespace reelsweep {

class ConsoleAlertPresenter final : public AlertPresenter {
public:
    /// Takes the alert's line, without a line end.
    using Output = std::function<void(std::string_view line, AlertStyle style)>;

    /// Lines go to standard error.
    ConsoleAlertPresenter();
    /// Lines go to the function instead, which a program with a progress bar or a quiet mode needs.
    explicit ConsoleAlertPresenter(Output output) : output_(std::move(output)) {}

    bool hasAttachedSheet(WindowRef) const override { return false; }
    void makeKeyAndOrderFront(WindowRef) override {}
    std::unique_ptr<PresentedAlert> begin(const AlertRequest& request, WindowRef window,
                                          std::function<void(long)> didEnd) override;

private:
    Output output_;
};

}  // namespace reelsweep
