// QtAlertPresenter: alerts as message boxes: sheets that block their window only, or free-standing.
#pragma once

#include "platform/AlertPresenter.h"

namespace reelsweep {

class QtAlertPresenter final : public AlertPresenter {
public:
    bool hasAttachedSheet(WindowRef window) const override;
    void makeKeyAndOrderFront(WindowRef window) override;
    /// Escape and closing press the button called "Cancel", or the only button; without one the
    /// alert ends with alertDismissedReturn. So does one whose window goes away unanswered.
    std::unique_ptr<PresentedAlert> begin(const AlertRequest& request, WindowRef window,
                                          std::function<void(long)> didEnd) override;
};

}  // namespace reelsweep
