#include "shell/ViewAlert.h"

#include "services/QVAlert.h"
#include "shell/DocumentThread.h"
#include "shell/DocumentView.h"

namespace reelsweep {

void showViewAlert(DocumentView& view, const std::string& message, const std::string& informative,
                   AlertStyle style) {
    AlertRequest request;
    request.messageText = message;
    request.informativeText = informative;
    request.style = style;
    WindowRef window;
    onMainThread([&] {
        window = view.window();
        view.prepareAlert(request);
    });
    const long answer = QVAlert::alertSheet(request.messageText, request.defaultButtonTitle,
                                            request.alternateButtonTitle, request.otherButtonTitle,
                                            request.informativeText, window, true, request.style);
    onMainThread([&] { view.alertAnswered(answer); });
}

}  // namespace reelsweep
