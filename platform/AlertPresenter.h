// AlertPresenter: shows a question or note to the person at the machine.
//
// It only presents: who asks, how the asker waits and what an answer means is decided above it.
// Owner: Platform. Thread rule: main thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace reelsweep {

/// A window, as the toolkit's side numbers its windows; 0 is no window. A number, not a pointer, so
/// that a window that was closed in the meantime is noticed.
struct WindowRef {
    std::uintptr_t id = 0;

    explicit operator bool() const { return id != 0; }
    bool operator==(const WindowRef&) const = default;
};

enum class AlertStyle {
    informational,  ///< something went well
    warning,        ///< something failed or needs a decision
};

/// The return codes of the three buttons.
inline constexpr long alertDefaultReturn = 1;
inline constexpr long alertAlternateReturn = 0;
inline constexpr long alertOtherReturn = -1;
/// The alert was closed, and none of its buttons pressed.
inline constexpr long alertDismissedReturn = -1001;

/// What an alert shows. Texts are shown as they are, never taken as formats.
struct AlertRequest {
    std::string messageText;
    std::string informativeText;
    std::optional<std::string> defaultButtonTitle;  ///< none: the toolkit's single button
    std::optional<std::string> alternateButtonTitle;
    std::optional<std::string> otherButtonTitle;
    /// The user-defaults key that a "do not show again" check box sets; none: no check box.
    std::optional<std::string> suppressionBinding;
    AlertStyle style = AlertStyle::warning;
};

/// An alert on the screen. Destroying it releases it.
class PresentedAlert {
public:
    virtual ~PresentedAlert() = default;
    virtual bool isVisible() const = 0;
    /// Takes the alert off the screen without an answer.
    virtual void orderOut() = 0;
};

class AlertPresenter {
public:
    virtual ~AlertPresenter() = default;

    /// True when a sheet (a progress sheet, say) is attached to the window.
    virtual bool hasAttachedSheet(WindowRef window) const = 0;

    /// Brings the window to the front and gives it the keyboard.
    virtual void makeKeyAndOrderFront(WindowRef window) = 0;

    /// Shows the alert as a sheet on the window, or free-standing when there is none, and returns.
    /// When it is answered, didEnd is called once with the button's return code, on the main
    /// thread; that may be before begin returns. The caller owns the result.
    virtual std::unique_ptr<PresentedAlert> begin(const AlertRequest& request, WindowRef window,
                                                  std::function<void(long)> didEnd) = 0;
};

}  // namespace reelsweep
