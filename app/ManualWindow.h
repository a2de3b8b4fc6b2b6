// ManualWindow: the manual that comes with the program.
//
// Owner: itself; closing deletes it. Thread rule: main thread.
#pragma once

class QWidget;

namespace reelsweep {

/// Shows the manual over a window, or brings it to the front when it is open.
void showManual(const QWidget* over);

}  // namespace reelsweep
