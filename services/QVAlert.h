// QVAlert: asks or tells the user something from any thread, and can wait for the answer.
//
// An alert is shown on the main thread, as a sheet on a window or free-standing. A caller that
// blocks gets the return code of the button: 1 for the default button (see
// platform/AlertPresenter.h). On the main thread it keeps handling interface events meanwhile.
// Owner: the object of an alert is shared by its asker, the alert on the screen and a timer.
// Thread rule: the class operations from any thread; alertSheetWithDictionary and closeAlert on the
// main thread; the rest from any thread.
#pragma once

#include "platform/AlertPresenter.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace reelsweep {

class QVAlert;

/// Whoever wants to hear how an alert ended. Messages have names, since one receiver may await
/// several alerts.
class AlertDelegate {
public:
    virtual ~AlertDelegate() = default;
    /// True when the delegate takes the message.
    virtual bool respondsToSelector(std::string_view selector) const = 0;
    /// The alert ended with the return code. Main thread.
    virtual void alertDidEnd(std::string_view selector, QVAlert& alert, long returnCode) = 0;
};

class QVAlert : public AlertDelegate, public std::enable_shared_from_this<QVAlert> {
public:
    using Title = std::optional<std::string>;

    /// A new alert that is not shown yet.
    static std::shared_ptr<QVAlert> create();
    ~QVAlert() override;
    QVAlert(const QVAlert&) = delete;
    QVAlert& operator=(const QVAlert&) = delete;

    /// Shows an alert with the single standard button and waits for the answer.
    static long alertSheet(std::string_view messageText, std::string_view informativeText,
                           WindowRef parentWindow, AlertStyle style = AlertStyle::warning);

    /// Shows an alert; answers the return code when blocking, else -1 at once.
    static long alertSheet(std::string_view messageText, const Title& defaultButton,
                           const Title& alternateButton, const Title& otherButton,
                           std::string_view informativeText, WindowRef parentWindow, bool block,
                           AlertStyle style = AlertStyle::warning);

    /// The same; the delegate, which must outlive the alert, gets the message didEndSelector when
    /// the alert ends. An empty selector is the alert's own, "alertDidEnd:returnCode:contextInfo:";
    /// without a delegate the alert is its own. A delegate that does not take the message is a
    /// mistake of the program: nothing is shown, the system console says so, and the answer is -1.
    /// alertObject is used in place of a new one; suppressionBinding is the user-defaults key of a
    /// "do not show again" check box.
    static long alertSheet(std::string_view messageText, const Title& defaultButton,
                           const Title& alternateButton, const Title& otherButton,
                           std::string_view informativeText, WindowRef parentWindow,
                           AlertDelegate* delegate, std::string_view didEndSelector, bool block,
                           const std::shared_ptr<QVAlert>& alertObject = nullptr,
                           const Title& suppressionBinding = {},
                           AlertStyle style = AlertStyle::warning);

    /// Shows an alert and waits for the answer, which is that of the default button when nobody
    /// answered within the interval, in whole seconds.
    static long timedAlertSheet(std::string_view messageText, const Title& defaultButton,
                                const Title& alternateButton, const Title& otherButton,
                                std::string_view informativeText, WindowRef parentWindow,
                                long interval, AlertStyle style = AlertStyle::warning);

    /// Shows this alert and returns. A parent window that has a sheet already is left alone: the
    /// alert then stands free.
    void alertSheetWithDictionary(const AlertRequest& request);
    /// Takes the alert off the screen, when it is still there, and lets go of it.
    void closeAlert();
    /// Sleeps the interval, in whole seconds, and then ends the alert with the default button,
    /// unless it has ended by then.
    void defaultReturnAfterTimeInterval(long interval);
    /// Ends the wait for this alert with the return code. The first one counts.
    void alertDidEnd(long returnCode);

    bool respondsToSelector(std::string_view selector) const override;
    void alertDidEnd(std::string_view selector, QVAlert& alert, long returnCode) override;

    WindowRef parentWindow() const;
    bool alertEnded() const;
    long returnCode() const;

private:
    QVAlert() = default;

    bool show(const AlertRequest& request, WindowRef parentWindow, AlertDelegate* delegate,
              std::string_view didEndSelector, bool block);
    long waitAndClose();
    void presenterDidEnd(long returnCode);

    mutable std::mutex mutex_;
    std::condition_variable ended_;
    WindowRef parentWindow_;
    AlertDelegate* delegate_ = nullptr;  ///< null: the alert itself
    std::string didEndSelector_;
    bool block_ = false;
    bool alertEnded_ = false;
    long returnCode_ = 0;
    std::unique_ptr<PresentedAlert> alert_;  ///< main thread only
};

}  // namespace reelsweep
