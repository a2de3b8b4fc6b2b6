#include "platform/posix/ConsoleAlertPresenter.h"

#include "platform/posix/StandardConsole.h"

#include <algorithm>
#include <string>

namespace reelsweep {

namespace {

class AnsweredAlert final : public PresentedAlert {
public:
    bool isVisible() const override { return false; }
    void orderOut() override {}
};

}  // namespace

ConsoleAlertPresenter::ConsoleAlertPresenter()
    : output_([](std::string_view line, AlertStyle) { StandardConsole().log(line); }) {}

std::unique_ptr<PresentedAlert> ConsoleAlertPresenter::begin(const AlertRequest& request, WindowRef,
                                                             std::function<void(long)> didEnd) {
    std::string line = request.messageText;
    if (!line.empty() && !request.informativeText.empty()) line += ": ";
    line += request.informativeText;
    std::replace(line.begin(), line.end(), '\n', ' ');
    output_(line, request.style);
    didEnd(alertDefaultReturn);
    return std::make_unique<AnsweredAlert>();
}

}  // namespace reelsweep
