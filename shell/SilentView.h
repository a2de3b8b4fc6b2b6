// SilentView: the view of a document that nobody watches.
//
// Thread rule: main thread, like every view.
#pragma once

#include "shell/DocumentView.h"

namespace reelsweep {

class SilentView final : public DocumentView {
public:
    void startProgress() override {}
    void endProgress() override {}
    void setProgressLabelText(const std::string&) override {}
    void reloadTable() override {}
    void enableProcessButton(bool) override {}
    void markChanged() override {}
    WindowRef window() override { return {}; }
};

}  // namespace reelsweep
