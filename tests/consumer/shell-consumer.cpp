// A program of somebody else's with documents and ports: tidies a file without any window and says
// what came of it. With --no-platform it forgets to install its ports first.
#include "platform/posix/CommandLinePlatform.h"
#include "shell/DocumentView.h"
#include "shell/QVFCPDoc.h"

#include <cstdio>
#include <string_view>

namespace {

class NoView final : public reelsweep::DocumentView {
public:
    void startProgress() override {}
    void endProgress() override {}
    void setProgressLabelText(const std::string&) override {}
    void reloadTable() override {}
    void enableProcessButton(bool) override {}
    void markChanged() override { changed = true; }
    reelsweep::WindowRef window() override { return {}; }

    bool changed = false;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    if (argv[1] != std::string_view("--no-platform"))
        reelsweep::Platform::install(reelsweep::commandLinePlatform());
    NoView view;
    reelsweep::QVFCPDoc document(view);
    if (!document.readFromURL(argv[1])) return 3;
    document.waitUntilPopulated();
    document.setAllSelected(true);
    document.startProcessing({"removeDisabledVideoClips"});
    std::printf("%zu sequences\n", document.changeLedger().sequences.size());
    return view.changed && document.runResult().delivered ? 0 : 1;
}
