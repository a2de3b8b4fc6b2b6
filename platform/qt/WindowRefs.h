// WindowRefs: the numbers under which ports know the windows of Qt.
//
// Thread rule: main thread.
#pragma once

#include "platform/AlertPresenter.h"

class QWidget;

namespace reelsweep {

/// The number of a window, given at the first call and never again to another; none for null.
WindowRef windowRef(QWidget* window);
/// The window of that number; null when it is gone.
QWidget* windowOf(WindowRef reference);

}  // namespace reelsweep
