// RecordingView: a document's window for tests. It writes down what the document asks of it.
#pragma once

#include "shell/DocumentView.h"

#include <functional>
#include <string>
#include <vector>

namespace reelsweep::test {

/// Thread rule: as DocumentView; read when no run is going.
class RecordingView final : public DocumentView {
public:
    void startProgress() override { events.push_back("start"); }
    void endProgress() override {
        events.push_back("end");
        if (onEnd) onEnd();
    }
    void setProgressLabelText(const std::string& text) override {
        events.push_back(text);
        ++labels;
        if (onLabel) onLabel(text);
    }
    void reloadTable() override { events.push_back("reload"); }
    void enableProcessButton(bool enabled) override {
        events.push_back(enabled ? "enable" : "disable");
    }
    void markChanged() override { events.push_back("changed"); }
    WindowRef window() override { return {}; }

    std::vector<std::string> events;  ///< "start", "end", "reload", "enable", "changed", or a label
    int labels = 0;                   ///< how many labels were set
    std::function<void(const std::string&)> onLabel;
    std::function<void()> onEnd;
};

}  // namespace reelsweep::test
