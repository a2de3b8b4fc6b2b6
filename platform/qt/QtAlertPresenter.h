// QtAlertPresenter: alerts as message boxes: sheets that block their window only, or free-standing.
#pragma once

#include "platform/AlertPresenter.h"

namespace reelsweep {

class QtAlertPresenter final : public AlertPresenter {
public:
    bool hasAttachedSheet(WindowRef window) const override;
    void makeKeyAndOrderFront(WindowRef window) override;
    /// Escape presses the button called "Cancel", or the only button; otherwise it does nothing. An
    /// alert whose window goes away unanswered ends with alertAlternateReturn.
    std::unique_ptr<PresentedAlert> begin(const AlertRequest& request, WindowRef window,
                                          std::function<void(long)> didEnd) override;
};

}  // namespace reelsweep
