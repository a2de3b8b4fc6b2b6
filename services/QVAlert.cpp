#include "services/QVAlert.h"

#include "base/Format.h"
#include "platform/Platform.h"

#include <thread>

namespace reelsweep {

namespace {

constexpr std::string_view ownSelector = "alertDidEnd:returnCode:contextInfo:";

/// What a call answers that has no button's return code to answer.
constexpr long noAnswer = -1;

// How long a waiting caller looks away at most: on the main thread, where the interface lives, it
// is back soon; elsewhere the answer wakes it, and this only bounds the wait.
constexpr std::chrono::milliseconds mainThreadWait{10};
constexpr std::chrono::milliseconds otherThreadWait{200};

}  // namespace

std::shared_ptr<QVAlert> QVAlert::create() { return std::shared_ptr<QVAlert>(new QVAlert); }

QVAlert::~QVAlert() = default;

long QVAlert::alertSheet(std::string_view messageText, std::string_view informativeText,
                         WindowRef parentWindow, AlertStyle style) {
    return alertSheet(messageText, {}, {}, {}, informativeText, parentWindow, true, style);
}

long QVAlert::alertSheet(std::string_view messageText, const Title& defaultButton,
                         const Title& alternateButton, const Title& otherButton,
                         std::string_view informativeText, WindowRef parentWindow, bool block,
                         AlertStyle style) {
    return alertSheet(messageText, defaultButton, alternateButton, otherButton, informativeText,
                      parentWindow, nullptr, {}, block, nullptr, {}, style);
}

long QVAlert::alertSheet(std::string_view messageText, const Title& defaultButton,
                         const Title& alternateButton, const Title& otherButton,
                         std::string_view informativeText, WindowRef parentWindow,
                         AlertDelegate* delegate, std::string_view didEndSelector, bool block,
                         const std::shared_ptr<QVAlert>& alertObject,
                         const Title& suppressionBinding, AlertStyle style) {
    const AlertRequest request{std::string(messageText),
                               std::string(informativeText),
                               defaultButton,
                               alternateButton,
                               otherButton,
                               suppressionBinding,
                               style};
    const std::shared_ptr<QVAlert> alert = alertObject ? alertObject : create();
    const std::string_view selector = didEndSelector.empty() ? ownSelector : didEndSelector;
    if (!alert->show(request, parentWindow, delegate, selector, block) || !block) return noAnswer;
    return alert->waitAndClose();
}

long QVAlert::timedAlertSheet(std::string_view messageText, const Title& defaultButton,
                              const Title& alternateButton, const Title& otherButton,
                              std::string_view informativeText, WindowRef parentWindow,
                              long interval, AlertStyle style) {
    const AlertRequest request{std::string(messageText),
                               std::string(informativeText),
                               defaultButton,
                               alternateButton,
                               otherButton,
                               {},
                               style};
    const std::shared_ptr<QVAlert> alert = create();
    alert->show(request, parentWindow, nullptr, ownSelector, true);
    // From here on, so that a main thread that was busy does not eat up the user's time.
    std::thread([alert, interval] { alert->defaultReturnAfterTimeInterval(interval); }).detach();
    return alert->waitAndClose();
}

bool QVAlert::show(const AlertRequest& request, WindowRef parentWindow, AlertDelegate* delegate,
                   std::string_view didEndSelector, bool block) {
    const AlertDelegate& receiver = delegate ? *delegate : *this;
    if (!receiver.respondsToSelector(didEndSelector)) {
        Platform::current().console->log(
            formatText("Alert error: delegate does not respond to selector %@", didEndSelector));
        return false;
    }
    {
        const std::lock_guard lock(mutex_);
        parentWindow_ = parentWindow;
        delegate_ = delegate;
        didEndSelector_ = didEndSelector;
        block_ = block;
        alertEnded_ = false;
    }
    Platform::current().mainThread->runAndWait([&] { alertSheetWithDictionary(request); });
    return true;
}

long QVAlert::waitAndClose() {
    MainThread& mainThread = *Platform::current().mainThread;
    if (mainThread.isMainThread()) {
        while (!alertEnded()) mainThread.pumpOne(mainThreadWait);
    } else {
        std::unique_lock lock(mutex_);
        while (!ended_.wait_for(lock, otherThreadWait, [this] { return alertEnded_; })) {
        }
    }
    mainThread.runAndWait([this] { closeAlert(); });
    return returnCode();
}

void QVAlert::alertSheetWithDictionary(const AlertRequest& request) {
    AlertPresenter& presenter = *Platform::current().alertPresenter;
    WindowRef parent = parentWindow();
    // A window shows one sheet at a time: a progress sheet must not be pushed away.
    if (parent && presenter.hasAttachedSheet(parent)) parent = {};
    if (parent) presenter.makeKeyAndOrderFront(parent);
    // The alert on the screen keeps this object alive, also when nobody waits for it.
    const std::shared_ptr<QVAlert> self = shared_from_this();
    alert_ = presenter.begin(request, parent,
                             [self](long returnCode) { self->presenterDidEnd(returnCode); });
}

void QVAlert::presenterDidEnd(long returnCode) {
    AlertDelegate* delegate = nullptr;
    std::string selector;
    bool block = false;
    {
        const std::lock_guard lock(mutex_);
        delegate = delegate_;
        selector = didEndSelector_;
        block = block_;
    }
    if (delegate) delegate->alertDidEnd(selector, *this, returnCode);
    // Also for a delegate that keeps the news to itself: a caller that waits must come back.
    alertDidEnd(returnCode);
    // Nobody comes back to close this one; not at once, since its presenter is still calling.
    if (!block)
        Platform::current().mainThread->post([self = shared_from_this()] { self->closeAlert(); });
}

void QVAlert::closeAlert() {
    if (alert_ && alert_->isVisible()) alert_->orderOut();
    alert_.reset();
}

void QVAlert::defaultReturnAfterTimeInterval(long interval) {
    // Not cut short by an answer, which stands when the time is up.
    std::this_thread::sleep_for(std::chrono::seconds(interval));
    alertDidEnd(alertDefaultReturn);
}

void QVAlert::alertDidEnd(long returnCode) {
    {
        const std::lock_guard lock(mutex_);
        // The timer of an alert that the user has answered.
        if (alertEnded_) return;
        returnCode_ = returnCode;
        alertEnded_ = true;
    }
    ended_.notify_all();
}

bool QVAlert::respondsToSelector(std::string_view selector) const {
    return selector == ownSelector;
}

void QVAlert::alertDidEnd(std::string_view, QVAlert& alert, long returnCode) {
    alert.alertDidEnd(returnCode);
}

WindowRef QVAlert::parentWindow() const {
    const std::lock_guard lock(mutex_);
    return parentWindow_;
}

bool QVAlert::alertEnded() const {
    const std::lock_guard lock(mutex_);
    return alertEnded_;
}

long QVAlert::returnCode() const {
    const std::lock_guard lock(mutex_);
    return returnCode_;
}

}  // namespace reelsweep
